#include "envrecord.h"

#include <QRegularExpression>
#include <array>

namespace {
using T = FieldType;
constexpr std::array<FieldDef, Env::FieldCount> EnvFields{{
    {"NextTagNumber", 0, T::Text, 5},
    {"", 5, T::Pad, 1},
    {"TagCount", 6, T::Integer},
    {"UserName", 8, T::Text, 32},
    {"NetHostName", 40, T::Text, 32},
    {"NetLocalIp", 72, T::Text, 15},
    {"DefaultFontName", 87, T::Text, 32},
    {"DefaultFontBold", 119, T::Byte},
    {"DefaultFontItalic", 120, T::Byte},
    {"DefaultFontUnderline", 121, T::Byte},
    {"DefaultFontStrikeout", 122, T::Byte},
    {"DefaultFontSize", 123, T::Byte},
    {"DefaultForeColor", 124, T::Long},
    {"DefaultBackColor", 128, T::Long},
    {"Default3D", 132, T::Byte},
    {"DefaultFrame", 133, T::Byte},
    {"DefaultFrameM", 134, T::Byte},
    {"NetConfigured", 135, T::Byte},
    {"TagListLeft", 136, T::Long},
    {"TagListTop", 140, T::Long},
    {"TagListWidth", 144, T::Long},
    {"TagListHeight", 148, T::Long},
    {"TrashListLeft", 152, T::Long},
    {"TrashListTop", 156, T::Long},
    {"TrashListWidth", 160, T::Long},
    {"TrashListHeight", 164, T::Long},
    {"EntryWidth", 168, T::Long},
    {"EntryHeight", 172, T::Long},
    {"LogEnabled", 176, T::Byte},
    {"BroadcastAddress", 177, T::Text, 15, EnvRecord::BroadcastSlots},
    {"BroadcastSequential", 432, T::Text, 1, EnvRecord::BroadcastSlots},
    {"Reserved449", 449, T::Text, 238},
    {"", 687, T::Pad, 1},
    {"ChatLeft", 688, T::Integer},
    {"ChatTop", 690, T::Integer},
    {"ChatWidth", 692, T::Integer},
    {"ChatHeight", 694, T::Integer},
    {"PrivateChatWidth", 696, T::Integer},
    {"PrivateChatHeight", 698, T::Integer},
    {"DefaultTopMost", 700, T::Byte},
    {"DefaultBlink", 701, T::Byte},
    {"DefaultWidth", 702, T::Integer},
    {"DefaultHeight", 704, T::Integer},
    {"DefaultTransparent", 706, T::Integer},
    {"TagOpacity", 708, T::Integer},
    {"ArrangeGap", 710, T::Integer},
    {"ReceiptsWidth", 712, T::Integer},
    {"ReceiptsHeight", 714, T::Integer},
    {"UserSelectWidth", 716, T::Long},
    {"UserSelectHeight", 720, T::Long},
    {"ScmTop", 724, T::Byte},
    {"NetTop", 725, T::Byte},
    {"DatePickerLeft", 726, T::Integer},
    {"DatePickerTop", 728, T::Integer},
    {"HotkeyEnabled", 730, T::Text, 1, EnvRecord::Hotkeys},
    {"SoundFolder", 737, T::Text, 255},
    {"BackColor", 992, T::Byte},
    {"ShowReceipts", 993, T::Byte},
    {"CalendarMode", 994, T::Text, 1},
    {"CalendarTopMost", 995, T::Text, 1},
    {"OpenFileFolder", 996, T::Text, 255},
    {"HotkeyKey", 1251, T::Byte, 0, EnvRecord::Hotkeys + 1},
    {"", 1259, T::Pad, 1},
    {"DefaultX", 1260, T::Integer},
    {"DefaultY", 1262, T::Integer},
    {"VersionCode", 1264, T::Text, 6},
    {"AutoPosition", 1270, T::Byte},
    {"OutlookMode", 1271, T::Byte},
    {"NetSound", 1272, T::Byte},
    {"ArrivalSound", 1273, T::Text, 298},
    {"", 1571, T::Pad, 1},
    {"ArrivalSoundChoice", 1572, T::Integer},
    {"", 1574, T::Pad, 2},
    {"CalendarLeft", 1576, T::Long},
    {"CalendarTop", 1580, T::Long},
    {"CalendarMiniLeft", 1584, T::Long},
    {"CalendarMiniTop", 1588, T::Long},
    {"CalendarOpacity", 1592, T::Long},
    {"ScreenCopyDelay", 1596, T::Long},
    {"ImageEditorWidth", 1600, T::Long},
    {"ImageEditorHeight", 1604, T::Long},
    {"HotkeyModifier", 1608, T::Byte, 0, EnvRecord::Hotkeys + 1},
    {"DefaultScheduleKind", 1616, T::Text, 1},
    {"DefaultDisplayTime", 1617, T::Text, 8},
    {"MailConfigured", 1625, T::Byte},
    {"SmtpServer", 1626, T::Text, 64},
    {"", 1690, T::Pad, 2},
    {"SmtpPort", 1692, T::Long},
    {"SmtpTimeStep", 1696, T::Long},
    {"SmtpFrom", 1700, T::Text, 64},
    {"AddressListLeft", 1764, T::Long},
    {"AddressListTop", 1768, T::Long},
    {"SendMailLeft", 1772, T::Long},
    {"SendMailTop", 1776, T::Long},
    {"PortNo", 1780, T::Integer},
    {"Reserved1782", 1782, T::Integer},
    {"ScreenCopyFormat", 1784, T::Text, 1},
    {"ScreenCopyTarget", 1785, T::Text, 1},
    {"ScreenCopyHideSelf", 1786, T::Byte},
    {"", 1787, T::Pad, 1},
    {"GroupListLeft", 1788, T::Long},
    {"GroupListTop", 1792, T::Long},
    {"NetAcceptOutside", 1796, T::Text, 1},
    {"ScreenCopyFolder", 1797, T::Text, 260},
}};
static_assert(EnvFields.back().end() == EnvRecord::Size);
} // namespace

Layout EnvRecord::fields()
{
    return EnvFields;
}

EnvRecord::EnvRecord() : FixedRecord(EnvFields, Size)
{
    setText(Env::NextTagNumber, QStringLiteral("00001"));
    setText(Env::DefaultFontName, QStringLiteral("ＭＳ Ｐゴシック"));
    setByte(Env::DefaultFontSize, 10);
    setLong(Env::DefaultForeColor, 0x000000);
    setLong(Env::DefaultBackColor, 0x80FFFF); // pale yellow (0x00BBGGRR)
    setByte(Env::DefaultFrame, 1);
    setInteger(Env::DefaultWidth, 200);
    setInteger(Env::DefaultHeight, 120);
    setInteger(Env::TagOpacity, 80);
    setInteger(Env::ArrangeGap, 8);
    setByte(Env::ScmTop, 1);
    setByte(Env::NetTop, 1);
    setByte(Env::BackColor, 15);
    setByte(Env::ShowReceipts, 1);
    setText(Env::CalendarMode, QStringLiteral("0"));
    setText(Env::CalendarTopMost, QStringLiteral("0"));
    setInteger(Env::DefaultX, 100);
    setInteger(Env::DefaultY, 100);
    setText(Env::VersionCode, programVersionCode());
    setByte(Env::AutoPosition, 1);
    setByte(Env::NetSound, 1);
    setLong(Env::CalendarOpacity, 100);
    setText(Env::DefaultScheduleKind, QStringLiteral("0"));
    setLong(Env::SmtpPort, 25);
    setLong(Env::SmtpTimeStep, 1);
    setInteger(Env::PortNo, 12222);
    setText(Env::ScreenCopyFormat, QStringLiteral("0"));
    setText(Env::ScreenCopyTarget, QStringLiteral("0"));
}

QString EnvRecord::problem() const
{
    static const QRegularExpression sixDigits(QStringLiteral("^[0-9]{6}$"));
    static const QRegularExpression fiveDigits(QStringLiteral("^[0-9]{5}$"));
    if (!sixDigits.match(versionCode()).hasMatch())
        return QStringLiteral("VersionCode is not six digits");
    if (!fiveDigits.match(nextTagNumber()).hasMatch())
        return QStringLiteral("NextTagNumber is not five digits");
    if (tagCount() < 0)
        return QStringLiteral("TagCount is negative");
    return {};
}

quint32 EnvRecord::broadcastAddress(int slot) const
{
    return parseDottedAddress(text(Env::BroadcastAddress, slot));
}

quint32 parseDottedAddress(const QString &text)
{
    const QStringList parts = text.split(u'.');
    if (parts.size() != 4)
        return 0;
    quint32 address = 0;
    for (const QString &part : parts) {
        bool ok = false;
        const uint octet = part.toUInt(&ok);
        if (!ok || octet > 255)
            return 0;
        address = (address << 8) | octet;
    }
    return address;
}

void EnvRecord::setBroadcastAddress(int slot, quint32 address)
{
    const QString dotted = address == 0 ? QString()
                                        : QStringLiteral("%1.%2.%3.%4")
                                              .arg(address >> 24)
                                              .arg((address >> 16) & 0xFF)
                                              .arg((address >> 8) & 0xFF)
                                              .arg(address & 0xFF);
    setText(Env::BroadcastAddress, dotted, slot);
}

void EnvRecord::setSequential(int slot, bool on)
{
    setText(Env::BroadcastSequential, on ? QStringLiteral("1") : QStringLiteral("0"), slot);
}

QString programVersionCode()
{
    return QStringLiteral("%1%2%3")
        .arg(PINBOARD_VERSION_MAJOR, 2, 10, QLatin1Char('0'))
        .arg(PINBOARD_VERSION_MINOR, 2, 10, QLatin1Char('0'))
        .arg(PINBOARD_VERSION_PATCH, 2, 10, QLatin1Char('0'));
}
