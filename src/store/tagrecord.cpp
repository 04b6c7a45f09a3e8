#include "tagrecord.h"

#include "cp932.h"

#include <array>

namespace {
using T = FieldType;
constexpr std::array<FieldDef, Tag::FieldCount> TagFields{{
    {"TagNumber", 0, T::Text, 5},
    {"StateMark", 5, T::Text, 1},
    {"FontName", 6, T::Text, 32},
    {"FontBold", 38, T::Byte},
    {"FontItalic", 39, T::Byte},
    {"FontUnderline", 40, T::Byte},
    {"FontStrikeout", 41, T::Byte},
    {"FontSize", 42, T::Byte},
    {"", 43, T::Pad, 1},
    {"ForeColor", 44, T::Long},
    {"BackColor", 48, T::Long},
    {"Look3D", 52, T::Byte},
    {"Frame", 53, T::Byte},
    {"FrameM", 54, T::Byte},
    {"", 55, T::Pad, 1},
    {"Width", 56, T::Long},
    {"Height", 60, T::Long},
    {"ScheduleKind", 64, T::Byte},
    {"", 65, T::Pad, 3},
    {"DisplayDateTime", 68, T::Date},
    {"MonthlyDay", 76, T::Byte},
    {"WeekdayFlags", 77, T::Byte, 0, 7},
    {"EraseTime", 84, T::Text, 5},
    {"Transparent", 89, T::Byte},
    {"TopMost", 90, T::Byte},
    {"Blink", 91, T::Byte},
    {"SenderName", 92, T::Text, 32},
    {"EraseDateTime", 124, T::Date},
    {"WeekOfMonthFlags", 132, T::Byte, 0, 6},
    {"SoundFlag", 138, T::Byte},
    {"OpenFileFlag", 139, T::Byte},
    {"PosX", 140, T::Long},
    {"PosY", 144, T::Long},
    {"MailFlag", 148, T::Byte},
    {"ReceivedMark", 149, T::Text, 1},
    {"Password", 150, T::Text, 8},
    {"SenderAddress", 158, T::Text, 15},
    {"SealedFlag", 173, T::Byte},
    {"MailSent", 174, T::Byte},
    {"FilePath", 175, T::Text, 278},
    {"", 453, T::Pad, 3},
}};
static_assert(TagFields.back().end() == TagRecord::FixedSize);
} // namespace

Layout TagRecord::fields()
{
    return TagFields;
}

TagRecord::TagRecord(Blank) : FixedRecord(TagFields, FixedSize)
{
    setStateMark(Live);
}

// Clearing a record converts every text field: done once, then copied.
TagRecord::TagRecord()
    : TagRecord([] {
          static const TagRecord blank{Blank{}};
          return blank;
      }())
{
}

QString TagRecord::message() const
{
    return Cp932::decode(m_message);
}

void TagRecord::setMessage(const QString &text)
{
    m_message = Cp932::cut(Cp932::encode(text), MaxMessageBytes);
}

QByteArray TagRecord::serialize() const
{
    QByteArray out = bytes();
    out.resize(FixedSize + 2);
    LE::setInt16(out, FixedSize, qint16(quint16(m_message.size())));
    out += m_message;
    return out;
}

std::optional<TagRecord> TagRecord::parse(QByteArrayView bytes, QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<TagRecord> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    if (bytes.size() < FixedSize + 2)
        return fail(QStringLiteral("record ends after %1 of %2 bytes")
                        .arg(bytes.size())
                        .arg(FixedSize + 2));
    const int length = quint16(uchar(bytes[FixedSize]) | uchar(bytes[FixedSize + 1]) << 8);
    if (length > MaxMessageBytes)
        return fail(QStringLiteral("message length %1 points past the record slot").arg(length));
    if (bytes.size() < FixedSize + 2 + length)
        return fail(QStringLiteral("message of %1 bytes is cut short at %2")
                        .arg(length)
                        .arg(bytes.size() - FixedSize - 2));
    return TagRecord(bytes.first(FixedSize).toByteArray(),
                     bytes.sliced(FixedSize + 2, length).toByteArray());
}

TagState TagRecord::state() const
{
    const QString mark = stateMark();
    if (mark == QLatin1String(Live))
        return TagState::Live;
    if (mark == QLatin1String(InTrash))
        return TagState::InTrash;
    if (mark == QLatin1String(Deleted))
        return TagState::Free;
    return TagState::Unknown;
}

void TagRecord::setState(TagState state)
{
    switch (state) {
    case TagState::Live:
        setStateMark(Live);
        break;
    case TagState::InTrash:
        setStateMark(InTrash);
        break;
    case TagState::Free:
        setStateMark(Deleted);
        break;
    case TagState::Unknown:
        break;
    }
}

std::optional<ScheduleKind> TagRecord::kind() const
{
    const int k = kindNumber();
    if (k < int(ScheduleKind::ShowNow) || k > int(ScheduleKind::Monthly))
        return std::nullopt;
    return ScheduleKind(k);
}
