#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <optional>

class Prompt;
class EnvRecord;
class TagRecord;

// The look of a tag as the editor's look controls hold it.
struct TagLook
{
    QString fontName;
    int fontSize = 0;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikeout = false;
    qint32 foreColor = 0; // COLORREF 0x00BBGGRR
    qint32 backColor = 0;
    bool look3d = false;
    bool frame = false;
    bool frameM = false;
    bool transparent = false;
    bool topMost = false;
    bool blink = false;

    static TagLook fromRecord(const TagRecord &record);
    void applyTo(TagRecord &record) const;
    bool operator==(const TagLook &) const = default;
};

// What the editor's controls hold, so the rules can be run without widgets.
struct TagEntryInput
{
    static constexpr int MaxMessageBytes = 28000; // 14000 double-byte characters
    static constexpr int MaxSendBytes = 1600;     // a tag sent to other computers
    static constexpr int MonthEndIndex = 31;      // cmb_Day's "月末"

    QString message; // "\n" line ends, as the text box holds it; stored with CR LF
    TagLook look;
    int kind = 0;      // opt_Sel: 0 show now, 1 on a date, 2 daily, 3 weekly, 4 monthly
    QString date;      // txt_Date, "yyyy/mm/dd"
    QString eraseDate; // txt_Ddate, "" = none
    // Combo indexes; -1 = nothing chosen.
    int hour = -1;
    int minute = -1;
    int eraseHour = -1;
    int eraseMinute = -1;
    int dayIndex = -1;              // cmb_Day: 0-30 the days 1-31, 31 month end
    std::array<bool, 7> weekdays{}; // chk_Week0-6, Sunday first
    std::array<bool, 5> weeks{};    // chk_No0-4: weeks 1-5 of the month
    bool sound = false;             // chk_Sound; with mail on, attach the file
    bool openFile = false;
    bool mail = false;
    QString filePath; // txt_Sound
    bool sealed = false;
    QString password;
    int x = 0;
    int y = 0;

    bool hasEraseTime() const { return eraseHour >= 0 && eraseMinute >= 0; }
    bool operator==(const TagEntryInput &) const = default;
};

TagEntryInput fromRecord(const TagRecord &record);
// The editor's start for a new tag made from base: dated today, with the default
// schedule kind and display time of env.
TagEntryInput newTagInput(const TagRecord &base, const EnvRecord &env, const QDate &today);
// Writes the controls into the record; fields the editor does not show (number,
// size, sender) stay as they are.
void applyTo(const TagEntryInput &in, TagRecord &record);

struct InputFault
{
    QString message;
    QString control; // objectName of the control to focus; empty for none
    bool operator==(const InputFault &) const = default;
};

struct FileChecks
{
    std::function<bool(const QString &)> exists;
    std::function<bool(const QString &)> hasAssociation;
};

// OK's checks in their fixed order, stopping at the first fault. With a file to
// open, the message becomes the file's name and " を開きます。"; an erase hour on a
// dated tag without an erase date takes the display date. nullopt when all passed.
std::optional<InputFault> validateForStore(TagEntryInput &in, const FileChecks &files);

enum class SendVerdict
{
    Ready,
    Fault,
    Stopped
};
struct SendCheck
{
    SendVerdict verdict = SendVerdict::Ready;
    InputFault fault; // when verdict is Fault
};

// The checks before a tag goes to other computers. A message over 1600 bytes is
// put to the user through prompt: Yes cuts it (in.message changes), No stops.
SendCheck validateForSend(TagEntryInput &in, bool networkReady, Prompt &prompt);

namespace TagEntryText {

// The message as stored (CR LF line ends) and back as the text box holds it.
QString stored(const QString &edited);
QString edited(const QString &stored);
qsizetype messageBytes(const QString &edited);
// text cut to at most bytes CP932 bytes of its stored form, never inside a
// double-byte character or a line end.
QString cut(const QString &edited, int bytes);
// lbl_Length: "残りﾊﾞｲﾄ数：" and the bytes left, formatted "0000".
QString remaining(const QString &edited);

// txt_Date's forms, "yyyy/mm/dd" or "yyyy/m/d"; invalid for anything else.
QDate parseDate(const QString &text);
QString formatDate(const QDate &date); // "yyyy/MM/dd"

QStringList hourItems();   // "00時" ... "23時"
QStringList minuteItems(); // "00分" ... "59分"
QStringList dayItems();    // "01日" ... "31日", "月末"

// What an insert menu (mnu_DateS ... mnu_TelText) puts at the caret; empty for
// an unknown name.
QString insertion(const QString &menuName, const QDateTime &now);
// The first days of the fourteen months mnu_Calender offers, this month first.
QList<QDate> calendarMonths(const QDate &today);
QString monthCaption(const QDate &month); // "yyyy年mm月"
// The month asked for by "yyyy/mm" (or a whole date); invalid when it is none.
QDate parseYearMonth(const QString &text);

} // namespace TagEntryText
