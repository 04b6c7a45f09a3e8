#pragma once

#include "fixedrecord.h"

// Record 1 of Pinboard.dt1: every setting of the program (2057 bytes).
// Field indexes follow the layout table in offset order; docs/file-formats.md
// gives the meaning and default of each.
namespace Env {
enum Field
{
    NextTagNumber,
    Pad5,
    TagCount,
    UserName,
    NetHostName,
    NetLocalIp,
    DefaultFontName,
    DefaultFontBold,
    DefaultFontItalic,
    DefaultFontUnderline,
    DefaultFontStrikeout,
    DefaultFontSize,
    DefaultForeColor,
    DefaultBackColor,
    Default3D,
    DefaultFrame,
    DefaultFrameM,
    NetConfigured,
    TagListLeft,
    TagListTop,
    TagListWidth,
    TagListHeight,
    TrashListLeft,
    TrashListTop,
    TrashListWidth,
    TrashListHeight,
    EntryWidth,
    EntryHeight,
    LogEnabled,
    BroadcastAddress,
    BroadcastSequential,
    Reserved449,
    Pad687,
    ChatLeft,
    ChatTop,
    ChatWidth,
    ChatHeight,
    PrivateChatWidth,
    PrivateChatHeight,
    DefaultTopMost,
    DefaultBlink,
    DefaultWidth,
    DefaultHeight,
    DefaultTransparent,
    TagOpacity,
    ArrangeGap,
    ReceiptsWidth,
    ReceiptsHeight,
    UserSelectWidth,
    UserSelectHeight,
    ScmTop,
    NetTop,
    DatePickerLeft,
    DatePickerTop,
    HotkeyEnabled,
    SoundFolder,
    BackColor,
    ShowReceipts,
    CalendarMode,
    CalendarTopMost,
    OpenFileFolder,
    HotkeyKey,
    Pad1259,
    DefaultX,
    DefaultY,
    VersionCode,
    AutoPosition,
    OutlookMode,
    NetSound,
    ArrivalSound,
    Pad1571,
    ArrivalSoundChoice,
    Pad1574,
    CalendarLeft,
    CalendarTop,
    CalendarMiniLeft,
    CalendarMiniTop,
    CalendarOpacity,
    ScreenCopyDelay,
    ImageEditorWidth,
    ImageEditorHeight,
    HotkeyModifier,
    DefaultScheduleKind,
    DefaultDisplayTime,
    MailConfigured,
    SmtpServer,
    Pad1690,
    SmtpPort,
    SmtpTimeStep,
    SmtpFrom,
    AddressListLeft,
    AddressListTop,
    SendMailLeft,
    SendMailTop,
    PortNo,
    Reserved1782,
    ScreenCopyFormat,
    ScreenCopyTarget,
    ScreenCopyHideSelf,
    Pad1787,
    GroupListLeft,
    GroupListTop,
    NetAcceptOutside,
    ScreenCopyFolder,
    FieldCount
};
} // namespace Env

class EnvRecord : public FixedRecord
{
public:
    static constexpr int Size = 2057;
    static constexpr int BroadcastSlots = 17; // slots 0-15 are used; 16 is kept unused
    static constexpr int Hotkeys = 7;         // numbered 1-7
    static Layout fields();

    // A record holding the defaults of a fresh installation.
    EnvRecord();

    // Empty when the record can be used; otherwise why it cannot.
    QString problem() const;

    QString nextTagNumber() const { return text(Env::NextTagNumber); }
    int tagCount() const { return integer(Env::TagCount); }
    void setTagCount(int count) { setInteger(Env::TagCount, count); }
    QString versionCode() const { return text(Env::VersionCode); }
    void setVersionCode(const QString &code) { setText(Env::VersionCode, code); }
    QString userName() const { return text(Env::UserName); }
    quint16 portNo() const { return quint16(integer(Env::PortNo)); }
    void setPortNo(quint16 port) { setInteger(Env::PortNo, qint16(port)); }
    bool autoPosition() const { return byte(Env::AutoPosition) != 0; }

    // Broadcast target slot (0-16) as 4 address bytes packed big-end first; 0 = unused.
    quint32 broadcastAddress(int slot) const;
    void setBroadcastAddress(int slot, quint32 address);
    bool sequential(int slot) const { return text(Env::BroadcastSequential, slot) == u"1"; }
    void setSequential(int slot, bool on);

    // Hotkey n (1-7): Windows modifier flags (Alt 1, Ctrl 2, Shift 4) and virtual key.
    int hotkeyModifiers(int n) const { return byte(Env::HotkeyModifier, n); }
    int hotkeyKey(int n) const { return byte(Env::HotkeyKey, n); }
    bool hotkeyEnabled(int n) const { return text(Env::HotkeyEnabled, n - 1) == u"1"; }
};

// "a.b.c.d" as 4 bytes, big-end first; 0 when the text is not such an address.
quint32 parseDottedAddress(const QString &text);

// The running program's version as a VersionCode: "00" each for major, minor, revision.
QString programVersionCode();
// The oldest VersionCode that needs no conversion.
inline constexpr const char *FirstCurrentVersionCode = "000940";
