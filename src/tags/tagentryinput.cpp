#include "tagentryinput.h"

#include "cp932.h"
#include "envrecord.h"
#include "oledate.h"
#include "prompt.h"
#include "tagrecord.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QDate NoDate(1900, 1, 1);

std::optional<InputFault> fault(const QString &message, const QString &control)
{
    return InputFault{message, control};
}

bool blank(const QString &text)
{
    return text.trimmed().isEmpty();
}

// Times compared as the four digits "hhmm", the way the rule is stated.
QString fourDigits(int hour, int minute)
{
    return u"%1%2"_s.arg(hour, 2, 10, QChar(u'0')).arg(minute, 2, 10, QChar(u'0'));
}

std::optional<InputFault> timeChecks(const TagEntryInput &in)
{
    if (in.hour < 0)
        return fault(u"表示時刻を選択して下さい。"_s, u"cmb_HH"_s);
    if (in.minute < 0)
        return fault(u"表示時刻を選択して下さい。"_s, u"cmb_MM"_s);
    const bool eraseHour = in.eraseHour >= 0;
    const bool eraseMinute = in.eraseMinute >= 0;
    if (eraseHour != eraseMinute)
        return fault(u"消去時刻を設定する時は、時・分の両方を指定して下さい。"_s,
                     eraseHour ? u"cmb_DMM"_s : u"cmb_DHH"_s);
    const bool sameDay = in.kind != 1 || blank(in.eraseDate) ||
                         TagEntryText::parseDate(in.eraseDate) == TagEntryText::parseDate(in.date);
    if (in.hasEraseTime() && sameDay &&
        !(fourDigits(in.eraseHour, in.eraseMinute) > fourDigits(in.hour, in.minute)))
        return fault(u"消去時刻は、表示時刻より先の時刻を指定して下さい。"_s, u"cmb_DHH"_s);
    const QString eraseControl = eraseHour ? u"cmb_DHH"_s : u"cmb_DMM"_s;
    if (in.openFile && (eraseHour || eraseMinute))
        return fault(u"タグの代りにファイルを開く時は閉じる時刻を設定できません。"_s, eraseControl);
    if (in.mail && (eraseHour || eraseMinute))
        return fault(u"タグの代りにメールを送る時は閉じる時刻を設定できません。"_s, eraseControl);
    return std::nullopt;
}

// The checks of a dated tag; sending adds the mail rule before the erase date's.
std::optional<InputFault> dateChecks(TagEntryInput &in, bool sending)
{
    // A date that cannot be read counts as none: storing it would lose the tag's day.
    const QDate shown = TagEntryText::parseDate(in.date);
    if (blank(in.date) || !shown.isValid())
        return fault(u"タグを表示する日を指定して下さい。"_s, u"txt_Date"_s);
    if (sending && in.mail && !blank(in.eraseDate))
        return fault(u"タグの替わりにメールを送り時は、消去日を指定することは出来ません。"_s,
                     u"txt_Ddate"_s);
    if (!blank(in.eraseDate)) {
        const QDate erase = TagEntryText::parseDate(in.eraseDate);
        if (!erase.isValid())
            return fault(u"消去日に正しい日付を指定して下さい。"_s, u"txt_Ddate"_s);
        if (shown > erase)
            return fault(u"消去日に表示日より過去の日付は指定できません。"_s, u"txt_Ddate"_s);
        if (shown == erase && !in.hasEraseTime())
            return fault(u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s,
                         in.eraseHour < 0 ? u"cmb_DHH"_s : u"cmb_DMM"_s);
    }
    if (auto f = timeChecks(in))
        return f;
    // An erase time alone means the same day.
    if (blank(in.eraseDate) && in.eraseHour >= 0)
        in.eraseDate = TagEntryText::formatDate(shown);
    return std::nullopt;
}

std::optional<InputFault> weeklyChecks(const TagEntryInput &in)
{
    if (!std::ranges::any_of(in.weekdays, [](bool on) { return on; }))
        return fault(u"少なくとも表示する曜日を一個所は指定して下さい。"_s, u"chk_Week0"_s);
    if (!std::ranges::any_of(in.weeks, [](bool on) { return on; }))
        return fault(u"少なくとも表示する週を一個所は指定して下さい。"_s, u"chk_No0"_s);
    return timeChecks(in);
}

std::optional<InputFault> monthlyChecks(const TagEntryInput &in)
{
    if (in.dayIndex < 0)
        return fault(u"表示する日を指定して下さい。"_s, u"cmb_Day"_s);
    return timeChecks(in);
}

QTime chosenTime(int hour, int minute)
{
    return QTime(qMax(hour, 0), qMax(minute, 0));
}

QStringList numbered(int first, int last, const QString &unit)
{
    QStringList items;
    for (int i = first; i <= last; ++i)
        items << u"%1"_s.arg(i, 2, 10, QChar(u'0')) + unit;
    return items;
}

} // namespace

// The look's on/off switches and the byte field each is kept in.
constexpr std::pair<bool TagLook::*, int> LookFlags[] = {
    {&TagLook::bold, Tag::FontBold},           {&TagLook::italic, Tag::FontItalic},
    {&TagLook::underline, Tag::FontUnderline}, {&TagLook::strikeout, Tag::FontStrikeout},
    {&TagLook::look3d, Tag::Look3D},           {&TagLook::frame, Tag::Frame},
    {&TagLook::frameM, Tag::FrameM},           {&TagLook::transparent, Tag::Transparent},
    {&TagLook::topMost, Tag::TopMost},         {&TagLook::blink, Tag::Blink},
};

TagLook TagLook::fromRecord(const TagRecord &r)
{
    TagLook l{.fontName = r.text(Tag::FontName),
              .fontSize = r.byte(Tag::FontSize),
              .foreColor = r.longValue(Tag::ForeColor),
              .backColor = r.longValue(Tag::BackColor)};
    for (const auto &[flag, field] : LookFlags)
        l.*flag = r.byte(field) != 0;
    return l;
}

void TagLook::applyTo(TagRecord &r) const
{
    r.setText(Tag::FontName, fontName);
    r.setByte(Tag::FontSize, qBound(0, fontSize, 255));
    r.setLong(Tag::ForeColor, foreColor);
    r.setLong(Tag::BackColor, backColor);
    for (const auto &[flag, field] : LookFlags)
        r.setByte(field, this->*flag);
}

TagEntryInput fromRecord(const TagRecord &r)
{
    TagEntryInput in;
    in.message = TagEntryText::edited(r.message());
    in.look = TagLook::fromRecord(r);
    in.kind = r.kindNumber();
    const QDateTime display = r.date(Tag::DisplayDateTime);
    if (display.date() > NoDate)
        in.date = TagEntryText::formatDate(display.date());
    if (in.kind != 0) {
        in.hour = display.time().hour();
        in.minute = display.time().minute();
    }
    const QTime eraseTime = QTime::fromString(r.text(Tag::EraseTime), u"hh:mm"_s);
    if (eraseTime.isValid() && in.kind != 0) {
        in.eraseHour = eraseTime.hour();
        in.eraseMinute = eraseTime.minute();
    }
    const QDateTime erase = r.date(Tag::EraseDateTime);
    if (in.kind == 1 && erase.date() > NoDate) {
        in.eraseDate = TagEntryText::formatDate(erase.date());
        // A record from elsewhere may carry its erase time only in the date.
        if (!eraseTime.isValid() && erase.time() != QTime(0, 0)) {
            in.eraseHour = erase.time().hour();
            in.eraseMinute = erase.time().minute();
        }
    }
    const int day = r.byte(Tag::MonthlyDay);
    in.dayIndex = day >= 1 && day <= 32 ? day - 1 : -1;
    for (int i = 0; i < 7; ++i)
        in.weekdays[i] = r.byte(Tag::WeekdayFlags, i) != 0;
    for (int i = 0; i < 5; ++i)
        in.weeks[i] = r.byte(Tag::WeekOfMonthFlags, i + 1) != 0;
    in.sound = r.hasSoundOrAttachment();
    in.openFile = r.opensFile();
    in.mail = r.isMail();
    in.filePath = r.text(Tag::FilePath);
    in.sealed = r.isSealed();
    in.password = r.text(Tag::Password);
    in.x = r.longValue(Tag::PosX);
    in.y = r.longValue(Tag::PosY);
    return in;
}

TagEntryInput newTagInput(const TagRecord &base, const EnvRecord &env, const QDate &today)
{
    TagEntryInput in = fromRecord(base);
    in.date = TagEntryText::formatDate(today);
    const int kind = env.text(Env::DefaultScheduleKind).toInt();
    in.kind = kind >= 0 && kind <= 4 ? kind : 0;
    const QTime time =
        QTime::fromString(env.text(Env::DefaultDisplayTime), QStringLiteral("hh:mm:ss"));
    if (time.isValid()) {
        in.hour = time.hour();
        in.minute = time.minute();
    }
    return in;
}

void applyTo(const TagEntryInput &in, TagRecord &r)
{
    const int oldKind = r.kindNumber();
    const QDateTime oldDisplay = r.date(Tag::DisplayDateTime);
    const int oldMail = r.byte(Tag::MailFlag);

    r.setMessage(TagEntryText::stored(in.message));
    in.look.applyTo(r);
    r.setByte(Tag::ScheduleKind, in.kind);

    QDateTime display = OleDate::noDate();
    if (in.kind != 0) {
        const QDate date = TagEntryText::parseDate(in.date);
        display =
            QDateTime(date.isValid() ? date : NoDate, chosenTime(in.hour, in.minute), Qt::UTC);
    }
    r.setDate(Tag::DisplayDateTime, display);

    QDateTime erase = OleDate::noDate();
    const QDate eraseDate = TagEntryText::parseDate(in.eraseDate);
    if (in.kind == 1 && eraseDate.isValid())
        erase = QDateTime(eraseDate, chosenTime(in.eraseHour, in.eraseMinute), Qt::UTC);
    r.setDate(Tag::EraseDateTime, erase);
    r.setText(Tag::EraseTime, in.kind != 0 && in.hasEraseTime()
                                  ? chosenTime(in.eraseHour, in.eraseMinute).toString(u"hh:mm"_s)
                                  : QString());

    r.setByte(Tag::MonthlyDay, in.dayIndex < 0                               ? 0
                               : in.dayIndex >= TagEntryInput::MonthEndIndex ? 32
                                                                             : in.dayIndex + 1);
    for (int i = 0; i < 7; ++i)
        r.setByte(Tag::WeekdayFlags, in.weekdays[i], i);
    r.setByte(Tag::WeekOfMonthFlags, 0, 0);
    for (int i = 0; i < 5; ++i)
        r.setByte(Tag::WeekOfMonthFlags, in.weeks[i], i + 1);

    r.setByte(Tag::SoundFlag, in.sound);
    r.setByte(Tag::OpenFileFlag, in.openFile);
    r.setByte(Tag::MailFlag, in.mail);
    r.setText(Tag::FilePath, in.sound || in.openFile ? in.filePath : QString());
    r.setByte(Tag::SealedFlag, in.sealed);
    r.setText(Tag::Password, in.password);
    r.setLong(Tag::PosX, in.x);
    r.setLong(Tag::PosY, in.y);

    // A mail tag whose moment changed is to be sent again.
    if (in.kind != oldKind || display != oldDisplay || int(in.mail) != oldMail)
        r.setByte(Tag::MailSent, 0);
}

std::optional<InputFault> validateForStore(TagEntryInput &in, const FileChecks &files)
{
    if (in.openFile)
        in.message = in.filePath + u" を開きます。"_s;
    if (in.message.isEmpty())
        return fault(u"メッセージを指定して下さい。"_s, u"txt_Message"_s);
    if (TagEntryText::messageBytes(in.message) > TagEntryInput::MaxMessageBytes)
        return fault(u"メッセージが長すぎます。漢字１４０００文字以内で入力して下さい。"_s,
                     u"txt_Message"_s);
    std::optional<InputFault> scheduleFault;
    switch (in.kind) {
    case 1:
        scheduleFault = dateChecks(in, false);
        break;
    case 2:
        scheduleFault = timeChecks(in);
        break;
    case 3:
        scheduleFault = weeklyChecks(in);
        break;
    case 4:
        scheduleFault = monthlyChecks(in);
        break;
    default:
        break;
    }
    if (scheduleFault)
        return scheduleFault;
    if (in.sound && !blank(in.filePath) && !files.exists(in.filePath))
        return fault(u"指定されたサウンドファイルが無くなっています。"_s, u"cmd_Sound"_s);
    if (in.openFile) {
        if (blank(in.filePath))
            return fault(u"指定時刻に開くファイルを指定して下さい。"_s, u"txt_Sound"_s);
        if (!files.hasAssociation(in.filePath))
            return fault(u"指定されたファイルには関連付けられたプログラムがありません。"_s,
                         u"txt_Sound"_s);
    }
    return std::nullopt;
}

SendCheck validateForSend(TagEntryInput &in, bool networkReady, Prompt &prompt)
{
    const auto refuse = [](std::optional<InputFault> f) {
        return SendCheck{SendVerdict::Fault, std::move(*f)};
    };
    if (!networkReady)
        return refuse(fault(u"ネットワークの設定が行われていないので利用できません。"_s, {}));
    if (in.message.isEmpty())
        return refuse(fault(u"メッセージを指定して下さい。"_s, u"txt_Message"_s));
    if (TagEntryText::messageBytes(in.message) > TagEntryInput::MaxSendBytes) {
        if (!prompt.ask(u"メッセージが長すぎます。漢字８００文字以上は切り捨てられます。\r\n"
                        u"よろしいですか？"_s,
                        u"送信確認"_s))
            return {SendVerdict::Stopped, {}};
        in.message = TagEntryText::cut(in.message, TagEntryInput::MaxSendBytes);
    }
    std::optional<InputFault> scheduleFault;
    if (in.kind == 1)
        scheduleFault = dateChecks(in, true);
    else if (in.kind == 3)
        scheduleFault = weeklyChecks(in);
    else if (in.kind == 4)
        scheduleFault = monthlyChecks(in);
    if (scheduleFault)
        return refuse(scheduleFault);
    if (in.sound)
        return refuse(fault(u"他のコンピューターに送る時はサウンドファイルの指定は出来ません。"_s,
                            u"chk_Sound"_s));
    if (in.openFile)
        return refuse(
            fault(u"他のコンピューターに送る時は、指定時刻に開くファイルを指定出来ません。"_s,
                  u"chk_OpenFile"_s));
    if (!in.password.isEmpty() && !in.sealed)
        return refuse(fault(u"開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るを"
                            u"チェックして下さい。"_s,
                            u"txt_PassWord"_s));
    return {};
}

namespace TagEntryText {

QString stored(const QString &edited)
{
    QString text = edited;
    text.replace(u"\r\n"_s, u"\n"_s);
    text.replace(u'\n', u"\r\n"_s);
    return text;
}

QString edited(const QString &stored)
{
    QString text = stored;
    text.replace(u"\r\n"_s, u"\n"_s);
    return text;
}

qsizetype messageBytes(const QString &text)
{
    return Cp932::byteLength(stored(text));
}

QString cut(const QString &text, int bytes)
{
    QString out = Cp932::decode(Cp932::cut(Cp932::encode(stored(text)), bytes));
    if (out.endsWith(u'\r'))
        out.chop(1);
    return edited(out);
}

QString remaining(const QString &text)
{
    const qsizetype left = TagEntryInput::MaxMessageBytes - messageBytes(text);
    const QString digits = u"%1"_s.arg(qAbs(left), 4, 10, QChar(u'0'));
    return u"残りﾊﾞｲﾄ数："_s + (left < 0 ? u"-"_s + digits : digits);
}

QDate parseDate(const QString &text)
{
    const QString t = text.trimmed();
    QDate d = QDate::fromString(t, u"yyyy/MM/dd"_s);
    if (!d.isValid())
        d = QDate::fromString(t, u"yyyy/M/d"_s);
    return d;
}

QString formatDate(const QDate &date)
{
    return date.toString(u"yyyy/MM/dd"_s);
}

QStringList hourItems()
{
    return numbered(0, 23, u"時"_s);
}

QStringList minuteItems()
{
    return numbered(0, 59, u"分"_s);
}

QStringList dayItems()
{
    return numbered(1, 31, u"日"_s) << u"月末"_s;
}

QString insertion(const QString &menuName, const QDateTime &now)
{
    static const std::pair<const char16_t *, const char16_t *> stamps[] = {
        {u"mnu_DateS", u"yyyy/MM/dd"},
        {u"mnu_DateL", u"yyyy年MM月dd日"},
        {u"mnu_TimeS", u"HH:mm:ss"},
        {u"mnu_TimeL", u"HH時mm分ss秒"},
        {u"mnu_DateTimeS", u"yyyy/MM/dd HH:mm:ss"},
        {u"mnu_DateTimeL", u"yyyy年MM月dd日 HH時mm分ss秒"},
    };
    for (const auto &[name, format] : stamps) {
        if (menuName == QStringView(name))
            return u" "_s + now.toString(QString::fromUtf16(format));
    }
    if (menuName == u"mnu_TelCall")
        return u" から電話がありました。改めて電話をかけます。"_s;
    if (menuName == u"mnu_TelReq")
        return u" から電話がありました。折り返し電話を下さい。"_s;
    if (menuName == u"mnu_TelText")
        return u" から電話がありました。"_s;
    return {};
}

QList<QDate> calendarMonths(const QDate &today)
{
    const QDate first(today.year(), today.month(), 1);
    QList<QDate> months;
    for (int i = 0; i < 14; ++i)
        months << first.addMonths(i);
    return months;
}

QString monthCaption(const QDate &month)
{
    return month.toString(u"yyyy年MM月"_s);
}

QDate parseYearMonth(const QString &text)
{
    QDate d = parseDate(text);
    if (!d.isValid())
        d = parseDate(text.trimmed() + u"/1"_s);
    return d.isValid() ? QDate(d.year(), d.month(), 1) : QDate();
}

} // namespace TagEntryText
