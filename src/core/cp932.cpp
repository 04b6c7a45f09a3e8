#include "cp932.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <optional>

namespace Cp932 {

namespace {
// ICU's "Shift_JIS" is the Windows code page 932 (0x8160 <-> U+FF5E, NEC rows).
constexpr const char *Name = "Shift_JIS";

// ICU's converter maps a few control codes the IBM way (U+001A as 0x7F, U+001C as
// 0x1A, U+007F as 0x1C); CP932 keeps all of 0x00-0x7F as they are, so runs of
// single-byte ASCII never go through it.
QByteArray encodeStrict(QStringView text, bool *ok)
{
    QByteArray bytes;
    bytes.reserve(text.size() * 2);
    QStringEncoder encoder(Name);
    for (qsizetype i = 0; i < text.size();) {
        qsizetype end = i;
        const bool ascii = text[i].unicode() < 0x80;
        while (end < text.size() && (text[end].unicode() < 0x80) == ascii)
            ++end;
        const QStringView run = text.sliced(i, end - i);
        if (ascii) {
            for (QChar c : run)
                bytes += char(c.unicode());
        } else {
            bytes += encoder.encode(run);
        }
        i = end;
    }
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
    QString text;
    text.reserve(bytes.size());
    std::optional<QStringDecoder>
        decoder; // made only for a text that needs it: opening one is slow
    for (qsizetype i = 0; i < bytes.size();) {
        // A run of whole characters of one kind: single-byte ASCII, or anything else
        // (a double-byte pair may have an ASCII-range trail byte, so pairs stay together).
        qsizetype end = i;
        const bool ascii = static_cast<unsigned char>(bytes[i]) < 0x80;
        while (end < bytes.size() && (static_cast<unsigned char>(bytes[end]) < 0x80) == ascii)
            end += (!ascii && isLeadByte(static_cast<unsigned char>(bytes[end]))) ? 2 : 1;
        // The decoder keeps a lead byte left alone at the very end for a next call
        // that never comes; show it, so a text cut inside a character does not shrink.
        const bool cutOff = end > bytes.size();
        end = qMin(end, bytes.size());
        const QByteArrayView run = bytes.sliced(i, end - i);
        if (ascii) {
            text += QLatin1String(run);
        } else {
            if (!decoder)
                decoder.emplace(Name);
            text += decoder->decode(run);
            if (cutOff)
                text += QChar::ReplacementCharacter;
        }
        i = end;
    }
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
