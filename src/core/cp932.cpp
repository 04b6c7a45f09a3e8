#include "cp932.h"

#include <QStringDecoder>
#include <QStringEncoder>

namespace Cp932 {

namespace {
// ICU's "Shift_JIS" is the Windows code page 932 (0x8160 <-> U+FF5E, NEC rows).
constexpr const char *Name = "Shift_JIS";

QByteArray encodeStrict(QStringView text, bool *ok)
{
    QStringEncoder encoder(Name);
    QByteArray bytes = encoder.encode(text);
    *ok = !encoder.hasError();
    return bytes;
}
} // namespace

QByteArray encode(QStringView text)
{
    bool ok = false;
    QByteArray bytes = encodeStrict(text, &ok);
    if (ok)
        return bytes;
    // Rare path: redo character by character so one stray character costs one '?'.
    bytes.clear();
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype len = (text[i].isHighSurrogate() && i + 1 < text.size()) ? 2 : 1;
        bool charOk = false;
        const QByteArray one = encodeStrict(text.mid(i, len), &charOk);
        bytes += charOk ? one : QByteArray("?");
        i += len;
    }
    return bytes;
}

bool canEncode(QStringView text)
{
    bool ok = false;
    encodeStrict(text, &ok);
    return ok;
}

QString decode(QByteArrayView bytes)
{
    QStringDecoder decoder(Name);
    QString text = decoder.decode(bytes);
    // The decoder keeps a lead byte at the very end for a next call that never
    // comes; show it, so a text cut inside a character does not silently shrink.
    qsizetype i = 0;
    while (i < bytes.size())
        i += isLeadByte(static_cast<unsigned char>(bytes[i])) ? 2 : 1;
    if (i > bytes.size())
        text += QChar::ReplacementCharacter;
    return text;
}

qsizetype byteLength(QStringView text)
{
    return encode(text).size();
}

QByteArray cut(QByteArrayView bytes, qsizetype n)
{
    if (bytes.size() <= n)
        return bytes.toByteArray();
    qsizetype end = 0;
    while (end < n) {
        const qsizetype step = isLeadByte(static_cast<unsigned char>(bytes[end])) ? 2 : 1;
        if (end + step > n)
            break;
        end += step;
    }
    return bytes.first(end).toByteArray();
}

QByteArray padded(QByteArrayView bytes, qsizetype n)
{
    QByteArray field = cut(bytes, n);
    field.append(n - field.size(), ' ');
    return field;
}

QByteArray toField(QStringView text, qsizetype n)
{
    return padded(encode(text), n);
}

QString fromField(QByteArrayView field)
{
    const qsizetype nul = field.indexOf('\0');
    if (nul >= 0)
        field = field.first(nul);
    qsizetype end = field.size();
    while (end > 0 && field[end - 1] == ' ')
        --end;
    return decode(field.first(end));
}

} // namespace Cp932
