#pragma once

#include "fixedrecord.h"

#include <QByteArray>
#include <QString>
#include <optional>

// The LAN datagrams: bytes on the wire <-> typed messages. Every length is checked
// before a field is read; anything malformed decodes to nullopt and is dropped.
namespace Net {

// The first byte of a datagram. Any other first byte starts a tag record.
enum Code : int
{
    Logout = 1,
    TagReceived = 2,
    PrivateChatRequest = 3,
    PrivateChatOk = 4,
    PrivateChatNg = 5,
    PrivateChatData = 6,
    PrivateChatLogout = 7,
    GlobalChatRequest = 8,
    Dummy = 9,
    OpeningConfirmation = 10,
    AbandonmentConfirmation = 11,
    GlobalChat = 0xFD,
    StartAnswer = 0xFE,
    StartRequest = 0xFF,
    TagData = -1, // not a byte: "any other"
};

inline constexpr int MaxDatagram = 3000;    // the receiver reads at most this
inline constexpr int TagRecordSize = 2000;  // a tag record is exactly this
inline constexpr int NameBytes = 32;        // UserName on the wire (16 kanji)
inline constexpr int VersionBytes = 16;     // "major.minor.revision"
inline constexpr int ChatTextBytes = 284;   // one chat message
inline constexpr int ChatNameColumn = 13;   // chat lines: name and padding
inline constexpr int ConfirmNameBytes = 32; // confirmations: the padded name
inline constexpr int LabelLength = 23;

// The code a datagram's first byte stands for (TagData for any other).
Code codeOf(unsigned char first);
// "[Pinboard Start Req  ] " ...: the 23-character log label of a code.
QString label(Code code);
// The label of a tag record being sent (not the receive label).
QString sendTagLabel();
// True when the send log puts ":" between the label and the payload.
bool sendLogHasColon(Code code);

// A decoded datagram. Which members are filled depends on the code.
struct Message
{
    Code code = TagData;
    QString name;      // start request/answer, chat requests, confirmations
    QString version;   // start request/answer
    QString text;      // chat line (name, padding, message), confirmation text, receipt
    QByteArray record; // TagData: the 2000 bytes
};

// Why a datagram was dropped; None when it decoded.
enum class Fault
{
    None,
    Empty,
    TooShort,
    TooLong,
    BadText,
    NoName
};
struct Decoded
{
    std::optional<Message> message;
    Fault fault = Fault::None;
};
// bytes as received, already cut at MaxDatagram.
Decoded decode(QByteArrayView bytes);

// True when bytes are well-formed CP932: every lead byte has a valid trail byte.
bool isWellFormedCp932(QByteArrayView bytes);

// Payloads as sent (the code byte first). Names are cut to NameBytes.
QByteArray startRequest(const QString &userName, const QString &version);
QByteArray startAnswer(const QString &userName, const QString &version);
QByteArray logout();
QByteArray nameOnly(Code code, const QString &userName); // codes 3, 4, 5, 7 and 8
QByteArray dummy();
// 2: the receiver of a tag answers with its name.
QByteArray tagReceived(const QString &userName);
// 0xFD and 6: the name, padding to the 13-byte column (at least one space), the
// text without a trailing CR LF. Empty when the text is longer than ChatTextBytes.
QByteArray chatLine(Code code, const QString &userName, const QString &text);
// 10 and 11: the name padded (or cut) to 32 bytes, then the tag's text.
QByteArray confirmation(Code code, const QString &userName, const QString &tagText);
// "major.minor.revision" without leading zeros.
QString programVersion();

// The 2000-byte tag record: fixed-width CP932 fields padded with spaces.
namespace TagWire {
enum Field
{
    TagId,
    State,
    Attr32,
    Attr3,
    Flag5,
    Flag6,
    Flag7,
    Flag8,
    Date9,
    Date10,
    Flag11,
    Flag12,
    Flag13,
    Time14,
    Time15,
    Flag16,
    Text17,
    Text18,
    Flags19,
    Time20,
    Flag21,
    Flag22,
    Flag23,
    Text24,
    Text25,
    Flags26,
    Flag27,
    Flag28,
    Sealed,
    Password,
    SenderIp,
    Text32,
    Message,
    FieldCount
};
} // namespace TagWire

class TagDatagram : public FixedRecord
{
public:
    static constexpr int Size = TagRecordSize;
    static Layout fields();
    // All fields blank, the identifier "00000", the state "0", the time 20 "00:00".
    TagDatagram();
};

} // namespace Net
