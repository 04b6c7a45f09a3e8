#pragma once

#include "fixedrecord.h"

#include <optional>

// Where a tag stands: listed ("0"), in the trash ("D"), its record free ("9"),
// or a mark this program never writes.
enum class TagState
{
    Live,
    InTrash,
    Free,
    Unknown
};

// The schedule kinds of field ScheduleKind; anything else is damaged data.
enum class ScheduleKind
{
    ShowNow = 0,
    OnDate = 1,
    Daily = 2,
    Weekly = 3,
    Monthly = 4
};

// One tag: a 456-byte fixed part, then the message as a 2-byte length and its
// CP932 bytes. Records 2 ... TagCount + 1 of Pinboard.dt1.
namespace Tag {
enum Field
{
    TagNumber,
    StateMark,
    FontName,
    FontBold,
    FontItalic,
    FontUnderline,
    FontStrikeout,
    FontSize,
    Pad43,
    ForeColor,
    BackColor,
    Look3D,
    Frame,
    FrameM,
    Pad55,
    Width,
    Height,
    ScheduleKind,
    Pad65,
    DisplayDateTime,
    MonthlyDay,
    WeekdayFlags,
    EraseTime,
    Transparent,
    TopMost,
    Blink,
    SenderName,
    EraseDateTime,
    WeekOfMonthFlags,
    SoundFlag,
    OpenFileFlag,
    PosX,
    PosY,
    MailFlag,
    ReceivedMark,
    Password,
    SenderAddress,
    SealedFlag,
    MailSent,
    FilePath,
    Pad453,
    FieldCount
};
} // namespace Tag

class TagRecord : public FixedRecord
{
public:
    static constexpr int FixedSize = 456;
    static constexpr int SlotSize = 32767;
    // The longest message the slot can hold after the fixed part and the length.
    static constexpr int MaxMessageBytes = SlotSize - FixedSize - 2;
    static Layout fields();

    // "0" in use, "D" in the trash, "9" deleted for good (the record is free).
    static constexpr const char *Live = "0";
    static constexpr const char *InTrash = "D";
    static constexpr const char *Deleted = "9";

    TagRecord();

    QString tagNumber() const { return text(Tag::TagNumber); }
    QString stateMark() const { return text(Tag::StateMark); }
    void setStateMark(const char *mark) { setText(Tag::StateMark, QString::fromLatin1(mark)); }
    bool isFree() const { return stateMark() == QLatin1String(Deleted); }
    TagState state() const;
    void setState(TagState state);
    bool isLive() const { return state() == TagState::Live; }

    // The raw kind byte; kind() is empty for a kind this program does not know.
    int kindNumber() const { return byte(Tag::ScheduleKind); }
    std::optional<ScheduleKind> kind() const;
    bool isScheduled() const { return kindNumber() != int(ScheduleKind::ShowNow); }

    // Came from another computer, with the sender's name kept.
    bool isReceived() const { return text(Tag::ReceivedMark) == u"1"; }
    bool isSealed() const { return byte(Tag::SealedFlag) == 1; }
    bool isMail() const { return byte(Tag::MailFlag) == 1; }
    bool opensFile() const { return byte(Tag::OpenFileFlag) == 1; }
    // The sound box: an alarm, or for a mail tag its attachment.
    bool hasSoundOrAttachment() const { return byte(Tag::SoundFlag) == 1; }
    bool mailSent() const { return byte(Tag::MailSent) == 1; }
    bool isTopMost() const { return byte(Tag::TopMost) == 1; }
    bool blinks() const { return byte(Tag::Blink) == 1; }
    bool isTransparent() const { return byte(Tag::Transparent) == 1; }
    bool hasLook3D() const { return byte(Tag::Look3D) == 1; }
    // The border in pixels: 3 for the thin-frame switch, which wins, 1 for the frame.
    int frameWidth() const { return byte(Tag::FrameM) == 1 ? 3 : byte(Tag::Frame) == 1 ? 1 : 0; }

    QString message() const;
    void setMessage(const QString &text);
    const QByteArray &messageBytes() const { return m_message; }
    void setMessageBytes(const QByteArray &bytes) { m_message = bytes; }

    // The record as it lies on disk: 458 + n bytes.
    QByteArray serialize() const;
    // Reads a record from the start of bytes; nullopt with a reason when the
    // bytes end early or the length points past the slot.
    static std::optional<TagRecord> parse(QByteArrayView bytes, QString *error = nullptr);

    bool operator==(const TagRecord &other) const
    {
        return FixedRecord::operator==(other) && m_message == other.m_message;
    }

private:
    struct Blank
    {
    };
    explicit TagRecord(Blank);
    TagRecord(QByteArray head, QByteArray message)
        : FixedRecord(fields(), std::move(head)), m_message(std::move(message))
    {
    }

    QByteArray m_message;
};
