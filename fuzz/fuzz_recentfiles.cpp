// Pinboard.dt2 from untrusted bytes: no crash, and the lists read from a file the
// program wrote are the lists it wrote. A path CP932 cannot hold (bytes that did
// not decode) is written with '?', so such lists are only checked once settled.
#include "fuzzcheck.h"

#include "cp932.h"
#include "recentfiles.h"

namespace {

bool encodable(const RecentFiles &files)
{
    for (auto kind : {RecentFiles::Sound, RecentFiles::OpenFile}) {
        for (const QString &path : files.list(kind)) {
            if (!Cp932::canEncode(path))
                return false;
        }
    }
    return true;
}

bool same(const RecentFiles &a, const RecentFiles &b)
{
    return a.list(RecentFiles::Sound) == b.list(RecentFiles::Sound) &&
           a.list(RecentFiles::OpenFile) == b.list(RecentFiles::OpenFile);
}

RecentFiles rewritten(const RecentFiles &files)
{
    const QString path = fuzzPath("rewritten.dt2");
    FUZZ_CHECK(files.save(path));
    return RecentFiles::load(path);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = fuzzPath("Pinboard.dt2");
    fuzzWrite(path, QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    const RecentFiles parsed = RecentFiles::load(path);
    for (auto kind : {RecentFiles::Sound, RecentFiles::OpenFile})
        FUZZ_CHECK(parsed.list(kind).size() <= RecentFiles::MaxPerKind);

    const RecentFiles once = rewritten(parsed);
    if (encodable(parsed))
        FUZZ_CHECK(same(once, parsed));
    FUZZ_CHECK(same(rewritten(once), once));
    return 0;
}
