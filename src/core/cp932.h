#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Every text stored or sent is CP932 (Windows Shift-JIS). These helpers are the
// only place that converts; limits are always counted in CP932 bytes.
namespace Cp932 {

// Characters CP932 cannot hold become '?'.
QByteArray encode(QStringView text);
// True when every character of text has a CP932 form.
bool canEncode(QStringView text);
QString decode(QByteArrayView bytes);
qsizetype byteLength(QStringView text);

// True when b starts a double-byte character.
constexpr bool isLeadByte(unsigned char b)
{
    return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC);
}

// The longest prefix of bytes that is at most n bytes and does not end in the
// middle of a double-byte character.
QByteArray cut(QByteArrayView bytes, qsizetype n);
// bytes cut to n and padded with spaces to exactly n.
QByteArray padded(QByteArrayView bytes, qsizetype n);
// text as a fixed field of n bytes: encoded, cut, padded with spaces.
QByteArray toField(QStringView text, qsizetype n);
// A fixed field read back: cut at the first NUL, trailing spaces removed, decoded.
QString fromField(QByteArrayView field);

} // namespace Cp932
