// libFuzzer: any bytes from any address through the decoder, the dispatcher's
// rules and the log lines. The first four bytes are the source address.
#include "cp932.h"
#include "datagram.h"
#include "dispatchrule.h"
#include "netlog.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // One table for the whole run, as in the program: it must stay within its cap.
    static ParticipantTable table;
    if (size < 4)
        return 0;
    const quint32 from =
        quint32(data[0]) << 24 | quint32(data[1]) << 16 | quint32(data[2]) << 8 | data[3];
    const QByteArray bytes(reinterpret_cast<const char *>(data + 4),
                           qsizetype(std::min<size_t>(size - 4, Net::MaxDatagram)));
    const Net::Code code = bytes.isEmpty() ? Net::TagData : Net::codeOf(uchar(bytes[0]));
    const QStringList lines = NetLog::recvPair(
        QDateTime(), from, Net::label(code),
        Cp932::decode(QByteArrayView(bytes).sliced(bytes.isEmpty() ? 0 : 1)), bytes.size());
    if (lines.size() != 2 || lines[0].contains(u'\n') || lines[0].contains(u'\r'))
        std::abort();
    const Net::Decoded d = Net::decode(bytes);
    if (d.message.has_value() != (d.fault == Net::Fault::None))
        std::abort();
    if (!d.message)
        return 0;
    if (Cp932::byteLength(d.message->name) > Net::NameBytes ||
        (d.message->code == Net::TagData && d.message->record.size() != Net::TagRecordSize))
        std::abort();
    dispatchRule(*d.message, from, 0x0A4D0001, table);
    if (table.last() > ParticipantTable::Cap)
        std::abort();
    return 0;
}
