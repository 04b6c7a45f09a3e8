#include "tagwire.h"

#include "cp932.h"
#include "scheduler.h"

#include <array>

using namespace Net::TagWire;

namespace TagWireMap {

namespace {

// One-character flags: the stored byte as one digit.
constexpr std::array<std::pair<int, int>, 13> Flags{{
    {Flag5, Tag::FontBold},
    {Flag6, Tag::FontItalic},
    {Flag7, Tag::FontUnderline},
    {Flag8, Tag::FontStrikeout},
    {Flag11, Tag::Look3D},
    {Flag12, Tag::Frame},
    {Flag13, Tag::FrameM},
    {Flag16, Tag::ScheduleKind},
    {Flag21, Tag::Transparent},
    {Flag22, Tag::TopMost},
    {Flag23, Tag::Blink},
    {Flag27, Tag::SoundFlag},
    {Flag28, Tag::OpenFileFlag},
}};

// Text32 holds what has no field of its own: PosX, PosY, MailFlag, FilePath.
constexpr int PosWidth = 8;
constexpr int MailAt = 2 * PosWidth;
constexpr int PathAt = MailAt + 1;

int number(const QString &text)
{
    return text.trimmed().toInt();
}

QString digit(int value)
{
    return QString::number(value).left(1);
}

QString dateText(const QDateTime &t)
{
    return t.date().toString(QStringLiteral("yyyy/MM/dd"));
}

QString timeText(const QDateTime &t)
{
    return t.time().toString(QStringLiteral("HH:mm"));
}

QDateTime dateTime(const QString &date, const QString &time)
{
    QDate d = QDate::fromString(date, QStringLiteral("yyyy/MM/dd"));
    if (!d.isValid())
        d = QDate(1900, 1, 1);
    QTime t = QTime::fromString(time, QStringLiteral("HH:mm"));
    if (!t.isValid())
        t = QTime(0, 0);
    return QDateTime(d, t);
}

QByteArray field(const QString &text, int width)
{
    return Cp932::toField(text, width);
}

} // namespace

Net::TagDatagram toDatagram(const TagRecord &tag)
{
    Net::TagDatagram w;
    w.setText(Attr32, tag.text(Tag::FontName));
    w.setText(Attr3, QString::number(tag.byte(Tag::FontSize)));
    for (const auto &[wire, stored] : Flags)
        w.setText(wire, digit(tag.byte(stored)));
    const QDateTime display = tag.date(Tag::DisplayDateTime);
    const QDateTime erase = tag.date(Tag::EraseDateTime);
    w.setText(Date9, dateText(display));
    w.setText(Time14, timeText(display));
    w.setText(Date10, dateText(erase));
    w.setText(Time15, timeText(erase));
    w.setText(Text17, QStringLiteral("%1%2")
                          .arg(tag.longValue(Tag::Width), -PosWidth)
                          .arg(tag.longValue(Tag::Height), -PosWidth));
    w.setText(Text18, QString::number(tag.byte(Tag::MonthlyDay)));
    for (int i = 0; i < 7; ++i)
        w.setText(Flags19, digit(tag.byte(Tag::WeekdayFlags, i)), i);
    w.setText(Time20, tag.text(Tag::EraseTime));
    w.setText(Text24, tag.text(Tag::SenderName));
    w.setText(Text25, QStringLiteral("%1%2")
                          .arg(quint32(tag.longValue(Tag::ForeColor)), 8, 16, QLatin1Char('0'))
                          .arg(quint32(tag.longValue(Tag::BackColor)), 8, 16, QLatin1Char('0'))
                          .toUpper());
    for (int i = 0; i < 6; ++i)
        w.setText(Flags26, digit(tag.byte(Tag::WeekOfMonthFlags, i)), i);
    w.setText(Sealed, QStringLiteral("0"));
    w.setText(Password, QString());
    w.setText(SenderIp, QString());
    const QByteArray text32 = field(QString::number(tag.longValue(Tag::PosX)), PosWidth) +
                              field(QString::number(tag.longValue(Tag::PosY)), PosWidth) +
                              field(digit(tag.byte(Tag::MailFlag)), 1) +
                              field(tag.text(Tag::FilePath), 206 - PathAt);
    w.setRaw(Text32, text32);
    // Cut at 1600 bytes, never inside a double-byte character.
    w.setText(Message, tag.message());
    return w;
}

TagRecord fromDatagram(const Net::TagDatagram &w)
{
    TagRecord tag;
    tag.setText(Tag::FontName, w.text(Attr32));
    tag.setByte(Tag::FontSize, qBound(0, number(w.text(Attr3)), 255));
    for (const auto &[wire, stored] : Flags)
        tag.setByte(stored, number(w.text(wire)));
    tag.setDate(Tag::DisplayDateTime, dateTime(w.text(Date9), w.text(Time14)));
    tag.setDate(Tag::EraseDateTime, dateTime(w.text(Date10), w.text(Time15)));
    const QByteArray size = w.rawText(Text17);
    tag.setLong(Tag::Width, number(Cp932::fromField(size.first(PosWidth))));
    tag.setLong(Tag::Height, number(Cp932::fromField(size.sliced(PosWidth))));
    tag.setByte(Tag::MonthlyDay, qBound(0, number(w.text(Text18)), 32));
    for (int i = 0; i < 7; ++i)
        tag.setByte(Tag::WeekdayFlags, number(w.text(Flags19, i)), i);
    tag.setText(Tag::EraseTime, w.text(Time20));
    tag.setText(Tag::SenderName, w.text(Text24));
    const QString colours = w.text(Text25);
    tag.setLong(Tag::ForeColor, qint32(colours.left(8).toUInt(nullptr, 16)));
    tag.setLong(Tag::BackColor, qint32(colours.mid(8, 8).toUInt(nullptr, 16)));
    for (int i = 0; i < 6; ++i)
        tag.setByte(Tag::WeekOfMonthFlags, number(w.text(Flags26, i)), i);
    tag.setByte(Tag::SealedFlag, w.text(Sealed) == u"1" ? 1 : 0);
    tag.setText(Tag::Password, w.text(Password));
    tag.setText(Tag::SenderAddress, w.text(SenderIp));
    const QByteArray text32 = w.rawText(Text32);
    tag.setLong(Tag::PosX, number(Cp932::fromField(text32.first(PosWidth))));
    tag.setLong(Tag::PosY, number(Cp932::fromField(text32.sliced(PosWidth, PosWidth))));
    tag.setByte(Tag::MailFlag, number(Cp932::fromField(text32.sliced(MailAt, 1))));
    tag.setText(Tag::FilePath, Cp932::fromField(text32.sliced(PathAt)));
    tag.setMessage(w.text(Message));
    return tag;
}

TagRecord receivedTag(const Net::TagDatagram &wire, const QString &senderName,
                      const QString &senderAddress)
{
    TagRecord tag = fromDatagram(wire);
    tag.setText(Tag::TagNumber, QString());
    tag.setStateMark(TagRecord::Live);
    tag.setText(Tag::ReceivedMark, QStringLiteral("1"));
    tag.setText(Tag::SenderName, senderName);
    tag.setText(Tag::SenderAddress, senderAddress);
    // Nothing the sender chose may start a program, send mail or play a file here.
    tag.setByte(Tag::OpenFileFlag, 0);
    tag.setByte(Tag::MailFlag, 0);
    tag.setByte(Tag::MailSent, 0);
    tag.setByte(Tag::SoundFlag, 0);
    tag.setText(Tag::FilePath, QString());
    if (!isHeldSealed(tag))
        tag.setText(Tag::Password, QString());
    return tag;
}

} // namespace TagWireMap
