#include "oledate.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagentryinput.h"
#include "tagrecord.h"

#include <QTest>

using namespace Qt::StringLiterals;

using In = TagEntryInput;
using Change = std::function<void(In &)>;
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
    void storeChecks_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("control");

        const QString tooLong =
            u"メッセージが長すぎます。漢字１４０００文字以内で入力して下さい。"_s;
        const QString sameDay = u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s;
        const QString both = u"消去時刻を設定する時は、時・分の両方を指定して下さい。"_s;
        const QString later = u"消去時刻は、表示時刻より先の時刻を指定して下さい。"_s;
        const QString noTime = u"表示時刻を選択して下さい。"_s;
        auto row = [](const char *name, Change c, const QString &m = {}, const char *ctl = "") {
            QTest::newRow(name) << c << m << QString::fromLatin1(ctl);
        };
        // clang-format off
        row("valid", [](In &) {});
        row("28000 bytes", [](In &in) { in.message = kanji(14000); });
        row("28001 bytes", [](In &in) { in.message = kanji(14000) + u"x"_s; }, tooLong, "txt_Message");
        row("line end counts CR LF", [](In &in) { in.message = kanji(13999) + u"x\n"_s; }, tooLong, "txt_Message");
        row("empty", [](In &in) { in.message.clear(); }, u"メッセージを指定して下さい。"_s, "txt_Message");
        row("no date", [](In &in) { in.date = u"  "_s; }, u"タグを表示する日を指定して下さい。"_s, "txt_Date");
        row("date not a date", [](In &in) { in.date = u"2024/13/01"_s; }, u"タグを表示する日を指定して下さい。"_s, "txt_Date");
        row("erase not a date", [](In &in) { in.eraseDate = u"5月"_s; }, u"消去日に正しい日付を指定して下さい。"_s, "txt_Ddate");
        row("erase before display", [](In &in) { in.eraseDate = u"2024/04/30"_s; }, u"消去日に表示日より過去の日付は指定できません。"_s, "txt_Ddate");
        row("same day without time", [](In &in) { in.eraseDate = u"2024/5/1"_s; }, sameDay, "cmb_DHH");
        row("same day, hour only", [](In &in) { in.eraseDate = u"2024/05/01"_s, in.eraseHour = 11; }, sameDay, "cmb_DMM");
        row("display hour", [](In &in) { in.hour = -1; }, noTime, "cmb_HH");
        row("display minute", [](In &in) { in.minute = -1; }, noTime, "cmb_MM");
        row("erase hour only", [](In &in) { in.eraseHour = 11; }, both, "cmb_DMM");
        row("erase minute only", [](In &in) { in.eraseMinute = 5; }, both, "cmb_DHH");
        row("erase equals display", [](In &in) { in.eraseDate = u"2024/05/01"_s, in.eraseHour = 10, in.eraseMinute = 0; }, later, "cmb_DHH");
        row("earlier time on a later day", [](In &in) { in.eraseDate = u"2024/05/02"_s, in.eraseHour = 9, in.eraseMinute = 0; });
        row("open-file with erase time", [](In &in) { in.openFile = true, in.filePath = u"/d/a.pdf"_s, in.eraseHour = 11, in.eraseMinute = 0; }, u"タグの代りにファイルを開く時は閉じる時刻を設定できません。"_s, "cmb_DHH");
        row("mail with erase time", [](In &in) { in.mail = true, in.eraseHour = 11, in.eraseMinute = 0; }, u"タグの代りにメールを送る時は閉じる時刻を設定できません。"_s, "cmb_DHH");
        row("daily erase not after display", [](In &in) { in.kind = 2, in.eraseHour = 9, in.eraseMinute = 59; }, later, "cmb_DHH");
        row("weekly without weekday", [](In &in) { in.kind = 3; }, u"少なくとも表示する曜日を一個所は指定して下さい。"_s, "chk_Week0");
        row("weekly without week", [](In &in) { in.kind = 3, in.weekdays[1] = true; }, u"少なくとも表示する週を一個所は指定して下さい。"_s, "chk_No0");
        row("weekly without time", [](In &in) { in.kind = 3, in.weekdays[1] = in.weeks[4] = true, in.hour = -1; }, noTime, "cmb_HH");
        row("monthly without day", [](In &in) { in.kind = 4; }, u"表示する日を指定して下さい。"_s, "cmb_Day");
        row("monthly month end", [](In &in) { in.kind = 4, in.dayIndex = 31; });
        row("show now has no times", [](In &in) { in.kind = 0, in.hour = -1; });
        row("sound file gone", [](In &in) { in.sound = true, in.filePath = u"missing"_s; }, u"指定されたサウンドファイルが無くなっています。"_s, "cmd_Sound");
        row("schedule before sound", [](In &in) { in.sound = true, in.filePath = u"missing"_s, in.hour = -1; }, noTime, "cmb_HH");
        row("sound without file beeps", [](In &in) { in.sound = true; });
        row("open-file without file", [](In &in) { in.openFile = true; }, u"指定時刻に開くファイルを指定して下さい。"_s, "txt_Sound");
        row("open-file without program", [](In &in) { in.openFile = true, in.filePath = u"/d/a.xyz"_s; }, u"指定されたファイルには関連付けられたプログラムがありません。"_s, "txt_Sound");
        // clang-format on
    }

    void storeChecks()
    {
        QFETCH(Change, change);
        QFETCH(QString, message);
        QFETCH(QString, control);
        TagEntryInput in = dated();
        change(in);
        const auto fault = validateForStore(in, Files);
        QCOMPARE(fault.value_or(InputFault{}), (InputFault{message, control}));
    }

    void storeRewrites()
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

    void sendChecks_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<bool>("network");
        QTest::addColumn<QList<bool>>("answers");
        QTest::addColumn<int>("verdict");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("sent"); // the message after the checks; null: unchanged
        const int ok = int(SendVerdict::Ready), bad = int(SendVerdict::Fault),
                  stop = int(SendVerdict::Stopped);
        auto row = [](const char *name, Change c, QList<bool> answers, int verdict,
                      const QString &m = {}, const char *ctl = "", bool network = true,
                      const QString &sent = {}) {
            QTest::newRow(name) << c << network << answers << verdict << m
                                << QString::fromLatin1(ctl) << sent;
        };
        const auto longText = [](In &in) { in.message = kanji(800) + u"x"_s; };
        // clang-format off
        row("network not set up", [](In &) {}, {}, bad, u"ネットワークの設定が行われていないので利用できません。"_s, "", false);
        row("empty", [](In &in) { in.message.clear(); }, {}, bad, u"メッセージを指定して下さい。"_s, "txt_Message");
        row("1600 bytes", [](In &in) { in.message = kanji(800); }, {}, ok);
        row("1601 bytes, No", longText, {false}, stop);
        row("1601 bytes, Yes", longText, {true}, ok, {}, "", true, kanji(800));
        row("cut keeps characters whole", [](In &in) { in.message = kanji(799) + u"xあ"_s; }, {true}, ok, {}, "", true, kanji(799) + u"x"_s);
        row("mail with erase date", [](In &in) { in.mail = true, in.eraseDate = u"2024/05/02"_s; }, {}, bad, u"タグの替わりにメールを送り時は、消去日を指定することは出来ません。"_s, "txt_Ddate");
        row("erase before display", [](In &in) { in.eraseDate = u"2024/04/01"_s; }, {}, bad, u"消去日に表示日より過去の日付は指定できません。"_s, "txt_Ddate");
        row("monthly without day", [](In &in) { in.kind = 4; }, {}, bad, u"表示する日を指定して下さい。"_s, "cmb_Day");
        row("sound", [](In &in) { in.sound = true; }, {}, bad, u"他のコンピューターに送る時はサウンドファイルの指定は出来ません。"_s, "chk_Sound");
        row("open-file", [](In &in) { in.openFile = true; }, {}, bad, u"他のコンピューターに送る時は、指定時刻に開くファイルを指定出来ません。"_s, "chk_OpenFile");
        row("password without seal", [](In &in) { in.password = u"abc"_s; }, {}, bad, u"開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るをチェックして下さい。"_s, "txt_PassWord");
        row("sealed with password", [](In &in) { in.password = u"abc"_s, in.sealed = true; }, {}, ok);
        // clang-format on
    }

    void sendChecks()
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
        if (sent.isNull())
            sent = in.message;
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

    void roundTrip_data()
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
        QTest::newRow("month end")
            << Change([](TagEntryInput &in) { in.kind = 4, in.dayIndex = 31; }) << 32;
        QTest::newRow("day 1") << Change([](TagEntryInput &in) { in.kind = 4, in.dayIndex = 0; })
                               << 1;
    }

    void roundTrip()
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
};

QTEST_GUILESS_MAIN(TestTagEntryInput)
#include "tst_tagentryinput.moc"
