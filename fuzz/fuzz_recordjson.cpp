// The JSON a user hands to "pinboard-cli load": no input crashes it, and a data
// file it writes dumps to JSON that loads back to the very same file.
#include "fuzzcheck.h"

#include "climain.h"

#include <QJsonDocument>

namespace {
// Each record slot is 32 KiB on disk; more tags only slow the run down.
constexpr int MaxTags = 64;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QJsonDocument doc = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (!doc.isObject())
        return 0;
    const QJsonObject object = doc.object();
    if (object.value(QLatin1String("env")).toObject().value(QLatin1String("TagCount")).toDouble() >
        MaxTags)
        return 0;

    const QString first = fuzzPath("first.dt1");
    const QString second = fuzzPath("second.dt1");
    QFile::remove(first);
    QString why;
    if (!Cli::load(object, first, &why)) {
        FUZZ_CHECK(!why.isEmpty());
        FUZZ_CHECK(!QFile::exists(first));
        return 0;
    }
    const auto dumped = Cli::dump(first, &why);
    FUZZ_CHECK(dumped);
    FUZZ_CHECK(Cli::load(*dumped, second, &why));
    FUZZ_CHECK(fuzzRead(first) == fuzzRead(second));
    const auto again = Cli::dump(second, &why);
    FUZZ_CHECK(again && *again == *dumped);
    return 0;
}
