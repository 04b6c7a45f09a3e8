// Pinboard.dt4 from untrusted bytes. The first byte picks a tag (0-3), the rest
// is the file. No crash; what is read for the tag and written back reads the
// same, unless a value has blanks or quotes at its ends (the reader drops
// those, as the profile functions do); new values read back as written; other
// tags' settings never change; a removed section is gone.
#include "fuzzcheck.h"

#include "cp932.h"
#include "mailsettingsfile.h"

#include <array>

namespace {

constexpr int Tags = 4;

bool settles(const QString &value)
{
    if (value.isEmpty())
        return true;
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t' || c == u'\v'; };
    const QChar first = value.front();
    const QChar last = value.back();
    return !blank(first) && !blank(last) && first != u'"' && first != u'\'' &&
           Cp932::canEncode(value) && Cp932::encode(value).size() <= MailSettingsFile::ValueLimit;
}

bool settles(const TagMailSettings &s)
{
    const QString tab(QLatin1Char('\t'));
    return settles(s.subject) && settles(s.to.join(tab)) && settles(s.cc.join(tab)) &&
           settles(s.bcc.join(tab));
}

bool holdsLineBreak(const TagMailSettings &s)
{
    const QString all = s.subject + s.to.join(u' ') + s.cc.join(u' ') + s.bcc.join(u' ');
    return all.contains(u'\r') || all.contains(u'\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const int k = data[0] % Tags;
    const QByteArray bytes(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    const QString path = fuzzPath("Pinboard.dt4");
    fuzzWrite(path, bytes);
    const MailSettingsFile file(path);
    std::array<TagMailSettings, Tags> before;
    for (int t = 0; t < Tags; ++t)
        before[t] = file.read(t);

    const TagMailSettings mine = before[k];
    if (holdsLineBreak(mine)) {
        FUZZ_CHECK(!file.write(k, mine));
        FUZZ_CHECK(fuzzRead(path) == bytes);
    } else {
        FUZZ_CHECK(file.write(k, mine));
        FUZZ_CHECK(file.hasSection(k));
        if (settles(mine))
            FUZZ_CHECK(file.read(k) == mine);
    }
    for (int t = 0; t < Tags; ++t) {
        if (t != k)
            FUZZ_CHECK(file.read(t) == before[t]);
    }

    // New values, so keys missing from the file get added.
    const TagMailSettings fresh{QStringLiteral("件名 %1").arg(k),
                                {QStringLiteral("a@example.com"), QStringLiteral("b@example.com")},
                                {},
                                {QStringLiteral("c@example.com")}};
    FUZZ_CHECK(file.write(k, fresh));
    FUZZ_CHECK(file.read(k) == fresh);
    for (int t = 0; t < Tags; ++t) {
        if (t != k)
            FUZZ_CHECK(file.read(t) == before[t]);
    }

    FUZZ_CHECK(file.remove(k));
    FUZZ_CHECK(!file.hasSection(k));
    FUZZ_CHECK(file.read(k) == TagMailSettings());
    for (int t = 0; t < Tags; ++t) {
        if (t != k)
            FUZZ_CHECK(file.read(t) == before[t]);
    }
    return 0;
}
