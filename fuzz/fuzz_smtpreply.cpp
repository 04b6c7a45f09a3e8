// SMTP replies from untrusted bytes. The first byte says how many times the rest
// is repeated (so the fuzzer reaches the size limits) and the next two where to
// split it. No crash, memory held stays under the limits, and the replies are
// the same whether the bytes come at once, in two pieces or one by one.
#include "fuzzcheck.h"

#include "smtpreplyreader.h"

#include <QList>

namespace {

struct Outcome
{
    QList<QList<QByteArray>> replies;
    qsizetype buffered = 0;
    bool operator==(const Outcome &) const = default;
};

constexpr qsizetype MaxHeld = SmtpReplyReader::MaxLineBytes + SmtpReplyReader::MaxReplyBytes;

void feed(SmtpReplyReader &reader, QByteArrayView piece, Outcome &out)
{
    QList<QByteArray> reply;
    while (reader.read(piece, &reply)) {
        qsizetype bytes = 0;
        for (const QByteArray &line : reply) {
            FUZZ_CHECK(line.size() <= SmtpReplyReader::MaxLineBytes);
            FUZZ_CHECK(!line.contains('\n'));
            bytes += line.size();
        }
        FUZZ_CHECK(bytes <= SmtpReplyReader::MaxReplyBytes);
        out.replies << reply;
        FUZZ_CHECK(reader.bufferedBytes() <= MaxHeld);
    }
    FUZZ_CHECK(piece.isEmpty());
    FUZZ_CHECK(reader.bufferedBytes() <= MaxHeld);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3)
        return 0;
    const int repeat = 1 + data[0] % 64;
    const QByteArray once(reinterpret_cast<const char *>(data + 3), qsizetype(size - 3));
    const QByteArray stream = once.repeated(repeat);
    const qsizetype split = stream.isEmpty() ? 0 : (data[1] << 8 | data[2]) % stream.size();

    SmtpReplyReader whole;
    Outcome a;
    feed(whole, stream, a);
    a.buffered = whole.bufferedBytes();

    SmtpReplyReader halves;
    Outcome b;
    feed(halves, QByteArrayView(stream).first(split), b);
    feed(halves, QByteArrayView(stream).sliced(split), b);
    b.buffered = halves.bufferedBytes();
    FUZZ_CHECK(a == b);

    if (stream.size() <= 3 * SmtpReplyReader::MaxLineBytes) {
        SmtpReplyReader bytes;
        Outcome c;
        for (qsizetype i = 0; i < stream.size(); ++i)
            feed(bytes, QByteArrayView(stream).sliced(i, 1), c);
        c.buffered = bytes.bufferedBytes();
        FUZZ_CHECK(a == c);
    }

    whole.clear();
    FUZZ_CHECK(whole.bufferedBytes() == 0);
    return 0;
}
