#include "datagram.h"

#include "cp932.h"

#include <array>

namespace Net {

namespace {

struct LabelRow
{
    Code code;
    const char *label;
};

constexpr std::array<LabelRow, 15> Labels{{
    {StartRequest, "[Pinboard Start Req  ] "},
    {StartAnswer, "[Start Request Answer] "},
    {GlobalChat, "[Global Chat Data    ] "},
    {Logout, "[User Logout(End Prg)] "},
    {TagReceived, "[Tab Received Answer ] "},
    {PrivateChatRequest, "[Private Chat Request] "},
    {PrivateChatOk, "[Private Chat Req OK ] "},
    {PrivateChatNg, "[Private Chat Req NG ] "},
    {PrivateChatData, "[Private Chat Data   ] "},
    {PrivateChatLogout, "[Private Chat Logout ] "},
    {GlobalChatRequest, "[Global Chat Request ] "},
    {Dummy, "[Dummy Data Receive  ] "},
    {OpeningConfirmation, "[Opening Confirmation] "},
    {AbandonmentConfirmation, "[Abandonment Confirm ] "},
    {TagData, "[Tag Data Receive    ] "},
}};

bool isTrailByte(unsigned char b)
{
    return (b >= 0x40 && b <= 0x7E) || (b >= 0x80 && b <= 0xFC);
}

QByteArray nameBytes(const QString &userName)
{
    return Cp932::cut(Cp932::encode(userName), NameBytes);
}

Decoded dropped(Fault fault)
{
    return {std::nullopt, fault};
}

Decoded startMessage(Code code, QByteArrayView payload)
{
    const qsizetype tab = payload.indexOf('\t');
    const QByteArrayView name = tab < 0 ? payload : payload.first(tab);
    const QByteArrayView version = tab < 0 ? QByteArrayView() : payload.sliced(tab + 1);
    if (name.isEmpty())
        return dropped(Fault::NoName);
    if (name.size() > NameBytes || version.size() > VersionBytes)
        return dropped(Fault::TooLong);
    Message m;
    m.code = code;
    m.name = Cp932::decode(name);
    m.version = Cp932::decode(version);
    return {m, Fault::None};
}

} // namespace

Code codeOf(unsigned char first)
{
    for (const LabelRow &row : Labels) {
        if (row.code == int(first))
            return row.code;
    }
    return TagData;
}

QString label(Code code)
{
    for (const LabelRow &row : Labels) {
        if (row.code == code)
            return QString::fromLatin1(row.label);
    }
    return QString::fromLatin1(Labels.back().label);
}

QString sendTagLabel()
{
    return QStringLiteral("[Tag Data] ");
}

bool sendLogHasColon(Code code)
{
    return code != StartRequest && code != Logout && code != Dummy && code != TagData;
}

bool isWellFormedCp932(QByteArrayView bytes)
{
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        if (Cp932::isLeadByte(b)) {
            if (i + 1 >= bytes.size() || !isTrailByte(static_cast<unsigned char>(bytes[i + 1])))
                return false;
            ++i;
        } else if (b == 0x80 || b == 0xA0 || b >= 0xFD) {
            return false;
        }
    }
    return true;
}

Decoded decode(QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return dropped(Fault::Empty);
    if (bytes.size() > MaxDatagram)
        return dropped(Fault::TooLong);
    const Code code = codeOf(static_cast<unsigned char>(bytes[0]));
    if (code == TagData) {
        if (bytes.size() != TagRecordSize)
            return dropped(bytes.size() < TagRecordSize ? Fault::TooShort : Fault::TooLong);
        if (!isWellFormedCp932(bytes))
            return dropped(Fault::BadText);
        Message m;
        m.record = bytes.toByteArray();
        return {m, Fault::None};
    }
    const QByteArrayView payload = bytes.sliced(1);
    if (!isWellFormedCp932(payload))
        return dropped(Fault::BadText);
    Message m;
    m.code = code;
    switch (code) {
    case StartRequest:
    case StartAnswer:
        return startMessage(code, payload);
    case Logout:
        if (!payload.isEmpty())
            return dropped(Fault::TooLong);
        break;
    case PrivateChatRequest:
    case PrivateChatOk:
    case PrivateChatNg:
    case PrivateChatLogout:
    case GlobalChatRequest:
        if (payload.isEmpty())
            return dropped(Fault::NoName);
        if (payload.size() > NameBytes)
            return dropped(Fault::TooLong);
        m.name = Cp932::decode(payload);
        break;
    case Dummy:
        if (payload.size() > VersionBytes)
            return dropped(Fault::TooLong);
        m.text = Cp932::decode(payload);
        break;
    case GlobalChat:
    case PrivateChatData:
        if (payload.size() < ChatNameColumn)
            return dropped(Fault::TooShort);
        if (payload.size() > NameBytes + 1 + ChatTextBytes)
            return dropped(Fault::TooLong);
        m.text = Cp932::decode(payload);
        break;
    case OpeningConfirmation:
    case AbandonmentConfirmation:
        if (payload.size() < ConfirmNameBytes)
            return dropped(Fault::TooShort);
        m.name = Cp932::fromField(payload.first(ConfirmNameBytes));
        if (m.name.isEmpty())
            return dropped(Fault::NoName);
        m.text = Cp932::decode(payload.sliced(ConfirmNameBytes));
        break;
    case TagReceived:
        if (payload.isEmpty())
            return dropped(Fault::NoName);
        m.text = Cp932::decode(payload);
        break;
    case TagData:
        break;
    }
    return {m, Fault::None};
}

QByteArray startRequest(const QString &userName, const QString &version)
{
    return '\xFF' + nameBytes(userName) + '\t' + Cp932::cut(Cp932::encode(version), VersionBytes);
}

QByteArray startAnswer(const QString &userName, const QString &version)
{
    QByteArray bytes = startRequest(userName, version);
    bytes[0] = '\xFE';
    return bytes;
}

QByteArray logout()
{
    return QByteArray(1, '\x01');
}

QByteArray nameOnly(Code code, const QString &userName)
{
    return char(code) + nameBytes(userName);
}

QByteArray dummy()
{
    return "\x09"
           "Dummy Send";
}

QByteArray tagReceived(const QString &userName)
{
    return char(TagReceived) + nameBytes(userName);
}

QByteArray chatLine(Code code, const QString &userName, const QString &text)
{
    QString message = text;
    if (message.endsWith(QLatin1String("\r\n")))
        message.chop(2);
    const QByteArray body = Cp932::encode(message);
    if (body.size() > ChatTextBytes)
        return {};
    const QByteArray name = nameBytes(userName);
    const qsizetype spaces = name.size() < ChatNameColumn - 1 ? ChatNameColumn - name.size() : 1;
    return char(code) + name + QByteArray(spaces, ' ') + body;
}

QByteArray confirmation(Code code, const QString &userName, const QString &tagText)
{
    return char(code) + Cp932::padded(Cp932::encode(userName), ConfirmNameBytes) +
           Cp932::encode(tagText);
}

QString programVersion()
{
    return QStringLiteral("%1.%2.%3")
        .arg(PINBOARD_VERSION_MAJOR)
        .arg(PINBOARD_VERSION_MINOR)
        .arg(PINBOARD_VERSION_PATCH);
}

namespace {
using T = FieldType;
constexpr FieldDef TagWireLayout[] = {
    {"TagId", 0, T::Text, 5},        {"State", 5, T::Text, 1},
    {"Attr32", 6, T::Text, 32},      {"Attr3", 38, T::Text, 3},
    {"Flag5", 41, T::Text, 1},       {"Flag6", 42, T::Text, 1},
    {"Flag7", 43, T::Text, 1},       {"Flag8", 44, T::Text, 1},
    {"Date9", 45, T::Text, 11},      {"Date10", 56, T::Text, 11},
    {"Flag11", 67, T::Text, 1},      {"Flag12", 68, T::Text, 1},
    {"Flag13", 69, T::Text, 1},      {"Time14", 70, T::Text, 5},
    {"Time15", 75, T::Text, 5},      {"Flag16", 80, T::Text, 1},
    {"Text17", 81, T::Text, 16},     {"Text18", 97, T::Text, 2},
    {"Flags19", 99, T::Text, 1, 7},  {"Time20", 106, T::Text, 5},
    {"Flag21", 111, T::Text, 1},     {"Flag22", 112, T::Text, 1},
    {"Flag23", 113, T::Text, 1},     {"Text24", 114, T::Text, 32},
    {"Text25", 146, T::Text, 16},    {"Flags26", 162, T::Text, 1, 6},
    {"Flag27", 168, T::Text, 1},     {"Flag28", 169, T::Text, 1},
    {"Sealed", 170, T::Text, 1},     {"Password", 171, T::Text, 8},
    {"SenderIp", 179, T::Text, 15},  {"Text32", 194, T::Text, 206},
    {"Message", 400, T::Text, 1600},
};
static_assert(std::size(TagWireLayout) == TagWire::FieldCount);
} // namespace

Layout TagDatagram::fields()
{
    return TagWireLayout;
}

TagDatagram::TagDatagram() : FixedRecord(fields(), Size)
{
    setText(TagWire::TagId, QStringLiteral("00000"));
    setText(TagWire::State, QStringLiteral("0"));
    setText(TagWire::Time20, QStringLiteral("00:00"));
}

} // namespace Net
