#include "oledate.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagentryinput.h"
#include "tagrecord.h"

#include <QTest>

using namespace Qt::StringLiterals;

using Change = std::function<void(TagEntryInput &)>;
Q_DECLARE_METATYPE(Change)

namespace {
// A dated tag that passes every check: 2024/05/01 10:00.
TagEntryInput dated()
{
    TagEntryInput in;
    in.message = u"会議"_s;
    in.kind = 1;
    in.date = u"2024/05/01"_s;
    in.hour = 10;
    in.minute = 0;
    return in;
}

const FileChecks Files{[](const QString &p) { return !p.contains(u"missing"_s); },
                       [](const QString &p) { return p.endsWith(u".pdf"_s); }};

QString kanji(int count)
{
    return QString(count, QChar(u'あ'));
}
} // namespace

class TestTagEntryInput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void storeChecks_data();
    void storeChecks();
    void storeRewrites();
    void sendChecks_data();
    void sendChecks();
    void roundTrip_data();
    void roundTrip();
};

void TestTagEntryInput::storeChecks_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("control");

    const QString tooLong = u"メッセージが長すぎます。漢字１４０００文字以内で入力して下さい。"_s;
    const QString sameDay = u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s;
    const QString both = u"消去時刻を設定する時は、時・分の両方を指定して下さい。"_s;
    const QString later = u"消去時刻は、表示時刻より先の時刻を指定して下さい。"_s;
    const QString noTime = u"表示時刻を選択して下さい。"_s;
    auto row = [](const char *name, Change c, const QString &m = {}, const QString &ctl = {}) {
        QTest::newRow(name) << c << m << ctl;
    };
    row("valid", [](TagEntryInput &) {});
    row("28000 bytes", [](TagEntryInput &in) { in.message = kanji(14000); });
    row(
        "28001 bytes", [](TagEntryInput &in) { in.message = kanji(14000) + u"x"_s; }, tooLong,
        u"txt_Message"_s);
    row(
        "line end counts CR LF", [](TagEntryInput &in) { in.message = kanji(13999) + u"x\n"_s; },
        tooLong, u"txt_Message"_s);
    row(
        "empty", [](TagEntryInput &in) { in.message.clear(); }, u"メッセージを指定して下さい。"_s,
        u"txt_Message"_s);
    row(
        "no date", [](TagEntryInput &in) { in.date = u"  "_s; },
        u"タグを表示する日を指定して下さい。"_s, u"txt_Date"_s);
    row(
        "date not a date", [](TagEntryInput &in) { in.date = u"2024/13/01"_s; },
        u"タグを表示する日を指定して下さい。"_s, u"txt_Date"_s);
    row(
        "erase not a date", [](TagEntryInput &in) { in.eraseDate = u"5月"_s; },
        u"消去日に正しい日付を指定して下さい。"_s, u"txt_Ddate"_s);
    row(
        "erase before display", [](TagEntryInput &in) { in.eraseDate = u"2024/04/30"_s; },
        u"消去日に表示日より過去の日付は指定できません。"_s, u"txt_Ddate"_s);
    row(
        "same day without time", [](TagEntryInput &in) { in.eraseDate = u"2024/5/1"_s; }, sameDay,
        u"cmb_DHH"_s);
    row(
        "same day, hour only",
        [](TagEntryInput &in) { in.eraseDate = u"2024/05/01"_s, in.eraseHour = 11; }, sameDay,
        u"cmb_DMM"_s);
    row(
        "display hour", [](TagEntryInput &in) { in.hour = -1; }, noTime, u"cmb_HH"_s);
    row(
        "display minute", [](TagEntryInput &in) { in.minute = -1; }, noTime, u"cmb_MM"_s);
    row(
        "erase hour only", [](TagEntryInput &in) { in.eraseHour = 11; }, both, u"cmb_DMM"_s);
    row(
        "erase minute only", [](TagEntryInput &in) { in.eraseMinute = 5; }, both, u"cmb_DHH"_s);
    row(
        "erase equals display",
        [](TagEntryInput &in) {
            in.eraseDate = u"2024/05/01"_s, in.eraseHour = 10, in.eraseMinute = 0;
        },
        later, u"cmb_DHH"_s);
    row("earlier time on a later day", [](TagEntryInput &in) {
        in.eraseDate = u"2024/05/02"_s, in.eraseHour = 9, in.eraseMinute = 0;
    });
    row(
        "open-file with erase time",
        [](TagEntryInput &in) {
            in.openFile = true, in.filePath = u"/d/a.pdf"_s, in.eraseHour = 11, in.eraseMinute = 0;
        },
        u"タグの代りにファイルを開く時は閉じる時刻を設定できません。"_s, u"cmb_DHH"_s);
    row(
        "mail with erase time",
        [](TagEntryInput &in) { in.mail = true, in.eraseHour = 11, in.eraseMinute = 0; },
        u"タグの代りにメールを送る時は閉じる時刻を設定できません。"_s, u"cmb_DHH"_s);
    row(
        "daily erase not after display",
        [](TagEntryInput &in) { in.kind = 2, in.eraseHour = 9, in.eraseMinute = 59; }, later,
        u"cmb_DHH"_s);
    row(
        "weekly without weekday", [](TagEntryInput &in) { in.kind = 3; },
        u"少なくとも表示する曜日を一個所は指定して下さい。"_s, u"chk_Week0"_s);
    row(
        "weekly without week", [](TagEntryInput &in) { in.kind = 3, in.weekdays[1] = true; },
        u"少なくとも表示する週を一個所は指定して下さい。"_s, u"chk_No0"_s);
    row(
        "weekly without time",
        [](TagEntryInput &in) { in.kind = 3, in.weekdays[1] = in.weeks[4] = true, in.hour = -1; },
        noTime, u"cmb_HH"_s);
    row(
        "monthly without day", [](TagEntryInput &in) { in.kind = 4; },
        u"表示する日を指定して下さい。"_s, u"cmb_Day"_s);
    row("monthly month end", [](TagEntryInput &in) { in.kind = 4, in.dayIndex = 31; });
    row("show now has no times", [](TagEntryInput &in) { in.kind = 0, in.hour = -1; });
    row(
        "sound file gone", [](TagEntryInput &in) { in.sound = true, in.filePath = u"missing"_s; },
        u"指定されたサウンドファイルが無くなっています。"_s, u"cmd_Sound"_s);
    row(
        "schedule before sound",
        [](TagEntryInput &in) { in.sound = true, in.filePath = u"missing"_s, in.hour = -1; },
        noTime, u"cmb_HH"_s);
    row("sound without file beeps", [](TagEntryInput &in) { in.sound = true; });
    row(
        "open-file without file", [](TagEntryInput &in) { in.openFile = true; },
        u"指定時刻に開くファイルを指定して下さい。"_s, u"txt_Sound"_s);
    row(
        "open-file without program",
        [](TagEntryInput &in) { in.openFile = true, in.filePath = u"/d/a.xyz"_s; },
        u"指定されたファイルには関連付けられたプログラムがありません。"_s, u"txt_Sound"_s);
}

void TestTagEntryInput::storeChecks()
{
    QFETCH(Change, change);
    QFETCH(QString, message);
    QFETCH(QString, control);
    TagEntryInput in = dated();
    change(in);
    const auto fault = validateForStore(in, Files);
    QCOMPARE(fault.value_or(InputFault{}), (InputFault{message, control}));
}

void TestTagEntryInput::storeRewrites()
{
    TagEntryInput in = dated();
    in.eraseHour = 18;
    in.eraseMinute = 30;
    in.openFile = false;
    QVERIFY(!validateForStore(in, Files));
    QCOMPARE(in.eraseDate, u"2024/05/01"_s);

    TagEntryInput open = dated();
    open.openFile = true;
    open.filePath = u"/d/報告.pdf"_s;
    QVERIFY(!validateForStore(open, Files));
    QCOMPARE(open.message, u"/d/報告.pdf を開きます。"_s);
    QVERIFY(open.eraseDate.isEmpty());
}

void TestTagEntryInput::sendChecks_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("network");
    QTest::addColumn<QList<bool>>("answers");
    QTest::addColumn<int>("verdict");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("control");
    QTest::addColumn<QString>("sent"); // the message after the checks
    const int ok = int(SendVerdict::Ready), bad = int(SendVerdict::Fault),
              stop = int(SendVerdict::Stopped);
    auto row = [](const char *name, Change c, QList<bool> answers, int verdict,
                  const QString &m = {}, const QString &ctl = {}, bool network = true) {
        TagEntryInput in = dated();
        c(in);
        QTest::newRow(name) << c << network << answers << verdict << m << ctl << in.message;
    };
    const auto longText = [](TagEntryInput &in) { in.message = kanji(800) + u"x"_s; };
    row(
        "network not set up", [](TagEntryInput &) {}, {}, bad,
        u"ネットワークの設定が行われていないので利用できません。"_s, {}, false);
    row(
        "empty", [](TagEntryInput &in) { in.message.clear(); }, {}, bad,
        u"メッセージを指定して下さい。"_s, u"txt_Message"_s);
    row(
        "1600 bytes", [](TagEntryInput &in) { in.message = kanji(800); }, {}, ok);
    row("1601 bytes, No", longText, {false}, stop);
    QTest::newRow("1601 bytes, Yes") << Change(longText) << true << QList<bool>{true} << ok
                                     << QString() << QString() << kanji(800);
    QTest::newRow("cut keeps characters whole")
        << Change([](TagEntryInput &in) { in.message = kanji(799) + u"xあ"_s; }) << true
        << QList<bool>{true} << ok << QString() << QString() << kanji(799) + u"x"_s;
    row(
        "mail with erase date",
        [](TagEntryInput &in) { in.mail = true, in.eraseDate = u"2024/05/02"_s; }, {}, bad,
        u"タグの替わりにメールを送り時は、消去日を指定することは出来ません。"_s, u"txt_Ddate"_s);
    row(
        "erase before display", [](TagEntryInput &in) { in.eraseDate = u"2024/04/01"_s; }, {}, bad,
        u"消去日に表示日より過去の日付は指定できません。"_s, u"txt_Ddate"_s);
    row(
        "monthly without day", [](TagEntryInput &in) { in.kind = 4; }, {}, bad,
        u"表示する日を指定して下さい。"_s, u"cmb_Day"_s);
    row(
        "sound", [](TagEntryInput &in) { in.sound = true; }, {}, bad,
        u"他のコンピューターに送る時はサウンドファイルの指定は出来ません。"_s, u"chk_Sound"_s);
    row(
        "open-file", [](TagEntryInput &in) { in.openFile = true; }, {}, bad,
        u"他のコンピューターに送る時は、指定時刻に開くファイルを指定出来ません。"_s,
        u"chk_OpenFile"_s);
    row(
        "password without seal", [](TagEntryInput &in) { in.password = u"abc"_s; }, {}, bad,
        u"開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るをチェックして下さい。"_s,
        u"txt_PassWord"_s);
    row(
        "sealed with password", [](TagEntryInput &in) { in.password = u"abc"_s, in.sealed = true; },
        {}, ok);
}

void TestTagEntryInput::sendChecks()
{
    QFETCH(Change, change);
    QFETCH(bool, network);
    QFETCH(QList<bool>, answers);
    QFETCH(int, verdict);
    QFETCH(QString, message);
    QFETCH(QString, control);
    QFETCH(QString, sent);
    TagEntryInput in = dated();
    change(in);
    ScriptedPrompt prompt;
    prompt.answers = answers;
    const SendCheck check = validateForSend(in, network, prompt);
    QCOMPARE(int(check.verdict), verdict);
    QCOMPARE(check.fault, (InputFault{message, control}));
    QCOMPARE(in.message, sent);
    // The length question is asked exactly when an answer was scripted for it.
    const QStringList asked =
        answers.isEmpty()
            ? QStringList()
            : QStringList{
                  u"メッセージが長すぎます。漢字８００文字以上は切り捨てられます。\r\nよろしいですか？"_s};
    QCOMPARE(prompt.shown, asked);
    QCOMPARE(prompt.titles, answers.isEmpty() ? QStringList() : QStringList{u"送信確認"_s});
}

void TestTagEntryInput::roundTrip_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<int>("monthlyDay");
    QTest::newRow("dated") << Change([](TagEntryInput &in) {
        in.eraseDate = u"2024/05/02"_s, in.eraseHour = 8, in.eraseMinute = 15;
        in.look = {u"IPAGothic"_s, 14,   true,  false, true,  false, 0x0000FF,
                   0x80FFFF,       true, false, true,  false, true,  false};
        in.sealed = true, in.password = u"pw"_s, in.x = -20, in.y = 300;
    }) << 0;
    QTest::newRow("weekly") << Change([](TagEntryInput &in) {
        in.kind = 3, in.weekdays[0] = in.weekdays[6] = in.weeks[0] = in.weeks[4] = true;
        in.eraseHour = 23, in.eraseMinute = 59;
        in.openFile = true, in.filePath = u"/d/a.pdf"_s;
    }) << 0;
    QTest::newRow("month end") << Change([](TagEntryInput &in) { in.kind = 4, in.dayIndex = 31; })
                               << 32;
    QTest::newRow("day 1") << Change([](TagEntryInput &in) { in.kind = 4, in.dayIndex = 0; }) << 1;
}

void TestTagEntryInput::roundTrip()
{
    QFETCH(Change, change);
    QFETCH(int, monthlyDay);
    TagEntryInput in = dated();
    change(in);
    TagRecord r;
    applyTo(in, r);
    QCOMPARE(r.byte(Tag::MonthlyDay), monthlyDay);
    QCOMPARE(fromRecord(r), in);
}

QTEST_GUILESS_MAIN(TestTagEntryInput)
#include "tst_tagentryinput.moc"
