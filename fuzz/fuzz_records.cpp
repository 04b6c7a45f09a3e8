// TagRecord and EnvRecord from untrusted bytes: decoding never crashes, the bytes
// written back read as the same record, and every field's value survives a
// trip through the JSON form when the JSON loader accepts it.
#include "fuzzcheck.h"

#include "envrecord.h"
#include "recordjson.h"
#include "tagrecord.h"

namespace {

void checkJsonTrip(const FixedRecord &record, FixedRecord &fresh)
{
    const QJsonObject json = recordToJson(record);
    QString why;
    if (recordFromJson(json, fresh, &why))
        FUZZ_CHECK(recordToJson(fresh) == json);
    else
        FUZZ_CHECK(!why.isEmpty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(data, qsizetype(size));

    QString why;
    if (const auto tag = TagRecord::parse(bytes, &why)) {
        const QByteArray disk = tag->serialize();
        FUZZ_CHECK(disk == bytes.first(disk.size()));
        const auto again = TagRecord::parse(disk);
        FUZZ_CHECK(again && *again == *tag);
        (void)tag->message();
        TagRecord fresh;
        checkJsonTrip(*tag, fresh);
    } else {
        FUZZ_CHECK(!why.isEmpty());
    }

    EnvRecord env;
    if (env.setBytes(bytes.toByteArray())) {
        FUZZ_CHECK(env.bytes() == bytes.first(EnvRecord::Size));
        (void)env.problem();
        for (int slot = 0; slot < EnvRecord::BroadcastSlots; ++slot)
            (void)env.broadcastAddress(slot);
        EnvRecord again;
        FUZZ_CHECK(again.setBytes(env.bytes()) && again == env);
        EnvRecord fresh;
        checkJsonTrip(env, fresh);
    }
    return 0;
}
