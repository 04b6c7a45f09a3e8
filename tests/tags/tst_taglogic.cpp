#include "oledate.h"
#include "scriptedprompt.h"
#include "tablecheck.h"
#include "tagentryinput.h"
#include "taglistmodel.h"
#include "tagoperations.h"
#include "tagplacement.h"
#include "tempstore.h"
#include "testfiles.h"
#include "twips.h"

#include <QDir>
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
// Primary screen above a 40-pixel task bar, a second one to its right.
const QList<QRect> One{{0, 0, 1280, 760}};
const QList<QRect> Two{{0, 0, 1280, 760}, {1280, 0, 1920, 1080}};
using Points = QList<QPoint>;
TagRecord makeTag(int kind, const QString &message)
{
    TagRecord t;
    t.setByte(Tag::ScheduleKind, kind);
    t.setMessage(message);
    t.setDate(Tag::DisplayDateTime, OleDate::parse(u"2024/05/01 10:00:00"_s));
    t.setText(Tag::SenderName, u"鈴木"_s);
    return t;
}
} // namespace

// The tag rules without a screen: the editor's input checks, where tags go, and
// trash, restore, delete, copy and the list rows over a store of their own.
class TestTagLogic : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_data = std::make_unique<TempStore>();
        m_prompt = ScriptedPrompt();
        m_ops = std::make_unique<TagOperations>(store(), m_prompt);
    }

    void trashAndRestore()
    {
        add(u"one"_s), add(u"two"_s);
        const TagRecord before = *store().readTag(1);
        QVERIFY(m_ops->trash(1));
        QCOMPARE(store().readTag(1)->state(), TagState::InTrash);
        QVERIFY(!m_ops->trash(1));   // already there
        QVERIFY(!m_ops->restore(2)); // not in the trash
        QCOMPARE(m_prompt.shown.size(), 2);
        QVERIFY(m_ops->restore(1));
        QCOMPARE(*store().readTag(1), before);
    }

    void deleteForGoodWipesTheRecord()
    {
        TagRecord t;
        t.setMessage(u"secret-text\r\nmore"_s);
        t.setText(Tag::Password, u"pw123"_s);
        t.setDate(Tag::EraseDateTime, OleDate::parse(u"2024/05/02 10:00:00"_s));
        QCOMPARE(m_ops->addNew(t), std::optional<int>(1));
        QVERIFY(m_ops->trash(1) && m_ops->deleteForGood(1));
        const TagRecord freed = *store().readTag(1);
        QCOMPARE(freed.state(), TagState::Free);
        QCOMPARE(freed.tagNumber(), u"00001"_s);
        QCOMPARE(freed.date(Tag::DisplayDateTime), OleDate::clearedDate());
        QCOMPARE(freed.date(Tag::EraseDateTime), OleDate::clearedDate());
        QVERIFY(freed.message().isEmpty() && freed.text(Tag::Password).isEmpty());
        QVERIFY(!fileBytes(store().file().path()).contains("more")); // nor in the rest of the slot
        QVERIFY(!m_ops->trash(1));                                   // a free record stays free
    }

    void emptyTrashFreesRecordsForNewTags()
    {
        add(u"a"_s, true), add(u"b"_s), add(u"c"_s, true), add(u"d"_s, true);
        QCOMPARE(m_ops->emptyTrash(), (QList<int>{1, 3, 4}));
        QCOMPARE(store().readTag(2)->state(), TagState::Live);
        QVERIFY(m_prompt.shown.isEmpty());
        // New tags take the free records, in order, with new numbers.
        QCOMPARE(QList<int>({add(u"x"_s), add(u"y"_s), add(u"z"_s), add(u"w"_s)}),
                 (QList<int>{1, 3, 4, 5}));
        QCOMPARE(store().tagCount(), 5);
        QCOMPARE(store().readTag(1)->message(), u"x"_s);
        QCOMPARE(store().readTag(2)->message(), u"b"_s);
        QCOMPARE(store().readTag(1)->tagNumber(), u"00005"_s);
        QCOMPARE(store().readTag(3)->tagNumber(), u"00006"_s);
    }

    void copyForgetsWhereItCameFrom()
    {
        add(u"from afar"_s, true);
        TagRecord t = *store().readTag(1);
        t.setText(Tag::ReceivedMark, u"1"_s);
        t.setText(Tag::SenderAddress, u"10.0.0.9"_s);
        t.setByte(Tag::MailSent, 1);
        QVERIFY(m_ops->store(1, t));
        const auto copy = m_ops->copyOf(1);
        QVERIFY(copy);
        QCOMPARE(copy->message(), u"from afar"_s);
        QCOMPARE(copy->state(), TagState::Live);
        QVERIFY(copy->tagNumber().isEmpty() && !copy->isReceived() && !copy->mailSent());
        QVERIFY(copy->text(Tag::SenderName).isEmpty() && copy->text(Tag::SenderAddress).isEmpty());
    }

    void failuresReachTheUser()
    {
        add(u"a"_s);
        // A directory where the file was: every read and write fails.
        QVERIFY(QFile::remove(store().file().path()));
        QVERIFY(QDir().mkdir(store().file().path()));
        TagRecord t;
        QVERIFY(!m_ops->read(1));
        QVERIFY(!m_ops->store(1, t));
        QVERIFY(!m_ops->addNew(t));
        QVERIFY(!m_ops->trash(1));
        QCOMPARE(m_prompt.shown.size(), 4);
        QVERIFY2(!m_prompt.shown.contains(QString()), "every failure says why");
    }

    // Written in place: addNew would reuse the record marked "9".
    void listRowsFollowTheStateMark()
    {
        EnvRecord env;
        env.setTagCount(5);
        QVERIFY(store().writeEnv(env));
        const QList<std::pair<const char *, TagRecord>> stored{{"0", makeTag(0, u"a\r\nb"_s)},
                                                               {"D", makeTag(2, u"trashed"_s)},
                                                               {"9", makeTag(1, u"gone"_s)},
                                                               {"0", makeTag(3, u"last"_s)},
                                                               {"D", makeTag(1, u"t2"_s)}};
        for (int k = 1; k <= 5; ++k) {
            TagRecord t = stored[k - 1].second;
            t.setStateMark(stored[k - 1].first);
            QVERIFY(store().writeTag(k, t));
        }
        const TagListModel model(store(), m_data->settings());
        QCOMPARE(model.rows(TagListModel::View::Live),
                 (QList<TagListRow>{{1, u"『すぐに表示』 a"_s}, {4, u"『毎週表示　』 last"_s}}));
        QCOMPARE(
            model.rows(TagListModel::View::Trash),
            (QList<TagListRow>{{2, u"『毎日表示　』 trashed"_s}, {5, u"『指定日表示』 t2"_s}}));
    }

    void listRowText_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, int kind, const QString &message,
                            const QString &want) {
            QTest::newRow(name) << TagListModel::rowText(makeTag(kind, message)) << want;
        };
        row("first line", 4, u"会議\r\n3F"_s, u"『毎月表示　』 会議"_s);
        row("bare LF stays", 2, u"x\ny\rz"_s, u"『毎日表示　』 x\ny"_s);
        row("empty", 0, QString(), u"『すぐに表示』 "_s);
        row("unknown kind", 7, u"odd"_s, u"odd"_s);
    }

    void listRowText() { compareGotWant<QString>(); }
    // flags: m mail tag, s mail sent, v window shown, t in the trash.
    void listDescribe_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, int kind, const char *flags, const QString &want) {
            const QByteArray f(flags);
            TagRecord t = makeTag(kind, u"m"_s);
            t.setByte(Tag::MailFlag, f.contains('m'));
            t.setByte(Tag::MailSent, f.contains('s'));
            QTest::newRow(name) << (f.contains('t')
                                        ? TagListModel::describeTrashed(t)
                                        : TagListModel::describeLive(t, f.contains('v')))
                                << want;
        };
        const QString from = u"2024/05/01 10:00 から\n"_s;
        const QString now = u"すぐに表示指定ですが、現在は"_s;
        row("trash: mail", 1, "mst", from + u"表示されます。"_s);
        row("mail sent", 1, "msv", from + u"E-Mailで送信しました。"_s);
        row("now, hidden", 0, "", now + u"非表示です。"_s);
        row("now, shown", 0, "v", u"表示されています。"_s);
        row("trash: now", 0, "vt", now + u"削除されています。"_s);
    }

    void listDescribe() { compareGotWant<QString>(); }
    void listGeometryInTwips()
    {
        const TagListModel model(store(), m_data->settings());
        QCOMPARE(model.storedGeometry(TagListModel::View::Trash, 96, 96), std::nullopt);
        QVERIFY(model.storeGeometry(TagListModel::View::Trash, QRect(10, 20, 500, 300), 96, 120));
        const EnvRecord env = *store().readEnv();
        QCOMPARE(env.longValue(Env::TrashListLeft), 150);
        QCOMPARE(env.longValue(Env::TrashListHeight), 3600);
        QCOMPARE(env.longValue(Env::TagListWidth), 0);
        QCOMPARE(model.storedGeometry(TagListModel::View::Trash, 144, 96), QRect(15, 16, 750, 240));
        QCOMPARE(twipsToPixels(1000, 96), 67); // rounded, not cut
    }

    void storeChecks_data()
    {
        gotWantColumns<QString>(); // "message @control"
        const QString tooLong =
            u"メッセージが長すぎます。漢字１４０００文字以内で入力して下さい。"_s;
        const QString sameDay = u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s;
        const QString both = u"消去時刻を設定する時は、時・分の両方を指定して下さい。"_s;
        const QString later = u"消去時刻は、表示時刻より先の時刻を指定して下さい。"_s;
        const QString noTime = u"表示時刻を選択して下さい。"_s;
        auto row = [](const char *name, Change c, const QString &m = {}, const char *ctl = "") {
            TagEntryInput in = dated();
            c(in);
            const InputFault f = validateForStore(in, Files).value_or(InputFault{});
            QTest::newRow(name) << f.message + u" @"_s + f.control
                                << m + u" @"_s + QLatin1String(ctl);
        };
        // clang-format off
        row("valid", [](In &) {});
        row("28000 bytes", [](In &in) { in.message = kanji(14000); });
        row("28001 bytes", [](In &in) { in.message = kanji(14000) + u"x"_s; }, tooLong, "txt_Message");
        row("line end counts CR LF", [](In &in) { in.message = kanji(13999) + u"x\n"_s; }, tooLong, "txt_Message");
        row("empty", [](In &in) { in.message.clear(); }, u"メッセージを指定して下さい。"_s, "txt_Message");
        row("date not a date", [](In &in) { in.date = u"2024/13/01"_s; }, u"タグを表示する日を指定して下さい。"_s, "txt_Date");
        row("erase not a date", [](In &in) { in.eraseDate = u"5月"_s; }, u"消去日に正しい日付を指定して下さい。"_s, "txt_Ddate");
        row("erase before display", [](In &in) { in.eraseDate = u"2024/04/30"_s; }, u"消去日に表示日より過去の日付は指定できません。"_s, "txt_Ddate");
        row("same day without time", [](In &in) { in.eraseDate = u"2024/5/1"_s; }, sameDay, "cmb_DHH");
        row("same day, hour only", [](In &in) { in.eraseDate = u"2024/05/01"_s, in.eraseHour = 11; }, sameDay, "cmb_DMM");
        row("display hour", [](In &in) { in.hour = -1; }, noTime, "cmb_HH");
        row("erase hour only", [](In &in) { in.eraseHour = 11; }, both, "cmb_DMM");
        row("erase equals display", [](In &in) { in.eraseDate = u"2024/05/01"_s, in.eraseHour = 10, in.eraseMinute = 0; }, later, "cmb_DHH");
        row("earlier time on a later day", [](In &in) { in.eraseDate = u"2024/05/02"_s, in.eraseHour = 9, in.eraseMinute = 0; });
        row("open-file with erase time", [](In &in) { in.openFile = true, in.filePath = u"/d/a.pdf"_s, in.eraseHour = 11, in.eraseMinute = 0; }, u"タグの代りにファイルを開く時は閉じる時刻を設定できません。"_s, "cmb_DHH");
        row("mail with erase time", [](In &in) { in.mail = true, in.eraseHour = 11, in.eraseMinute = 0; }, u"タグの代りにメールを送る時は閉じる時刻を設定できません。"_s, "cmb_DHH");
        row("daily erase not after display", [](In &in) { in.kind = 2, in.eraseHour = 9, in.eraseMinute = 59; }, later, "cmb_DHH");
        row("weekly without weekday", [](In &in) { in.kind = 3; }, u"少なくとも表示する曜日を一個所は指定して下さい。"_s, "chk_Week0");
        row("weekly without week", [](In &in) { in.kind = 3, in.weekdays[1] = true; }, u"少なくとも表示する週を一個所は指定して下さい。"_s, "chk_No0");
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

    void storeChecks() { compareGotWant<QString>(); }
    // An erase time alone erases on the display day; opening a file says so in the message.
    void storeRewrites()
    {
        TagEntryInput in = dated(), open = dated();
        in.eraseHour = 18, in.eraseMinute = 30;
        QVERIFY(!validateForStore(in, Files));
        QCOMPARE(in.eraseDate, u"2024/05/01"_s);
        open.openFile = true, open.filePath = u"/d/報告.pdf"_s;
        QVERIFY(!validateForStore(open, Files));
        QCOMPARE(open.message, u"/d/報告.pdf を開きます。"_s);
        QVERIFY(open.eraseDate.isEmpty());
    }

    void sendChecks_data()
    {
        // "<verdict> <message> @<control>", the message sent (null: unchanged) and the
        // question asked; the length question is asked exactly when an answer is scripted.
        gotWantColumns<QStringList>();
        const int ok = int(SendVerdict::Ready), bad = int(SendVerdict::Fault),
                  stop = int(SendVerdict::Stopped);
        auto row =
            [](const char *name, Change c, QList<bool> answers, int verdict, const QString &m = {},
               const char *ctl = "", bool network = true, const QString &sent = {}) {
                TagEntryInput in = dated();
                c(in);
                const QString before = in.message;
                ScriptedPrompt prompt;
                prompt.answers = answers;
                const SendCheck check = validateForSend(in, network, prompt);
                const QString ask =
                    u"メッセージが長すぎます。漢字８００文字以上は切り捨てられます。\r\n"
                    u"よろしいですか？ 送信確認"_s;
                QTest::newRow(name)
                    << QStringList{u"%1 %2 @%3"_s.arg(int(check.verdict))
                                       .arg(check.fault.message, check.fault.control),
                                   in.message,
                                   prompt.shown.join(u' ') + u' ' + prompt.titles.join(u' ')}
                    << QStringList{u"%1 %2 @%3"_s.arg(verdict).arg(m, QLatin1String(ctl)),
                                   sent.isNull() ? before : sent, answers.isEmpty() ? u" "_s : ask};
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
        row("monthly without day", [](In &in) { in.kind = 4; }, {}, bad, u"表示する日を指定して下さい。"_s, "cmb_Day");
        row("sound", [](In &in) { in.sound = true; }, {}, bad, u"他のコンピューターに送る時はサウンドファイルの指定は出来ません。"_s, "chk_Sound");
        row("open-file", [](In &in) { in.openFile = true; }, {}, bad, u"他のコンピューターに送る時は、指定時刻に開くファイルを指定出来ません。"_s, "chk_OpenFile");
        row("password without seal", [](In &in) { in.password = u"abc"_s; }, {}, bad, u"開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るをチェックして下さい。"_s, "txt_PassWord");
        row("sealed with password", [](In &in) { in.password = u"abc"_s, in.sealed = true; }, {}, ok);
        // clang-format on
    }

    void sendChecks() { compareGotWant<QStringList>(); }
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
    void place_data()
    {
        gotWantColumns<QRect>();
        const auto row = [](const char *name, QRect wanted, const QList<QRect> &areas, bool on,
                            QRect placed) {
            QTest::newRow(name) << placeTag(wanted, areas, on) << placed;
        };
        // clang-format off
        row("off: partly off stays", {1200, 700, 200, 120}, One, false, {1200, 700, 200, 120});
        row("on: inside stays", {100, 100, 200, 120}, One, true, {100, 100, 200, 120});
        row("on: off the right", {1200, 100, 200, 120}, One, true, {1080, 100, 200, 120});
        row("on: off the top left", {-50, -20, 200, 120}, One, true, {0, 0, 200, 120});
        row("on: over the task bar", {100, 700, 200, 120}, One, true, {100, 640, 200, 120});
        row("on: too big is shrunk", {100, 100, 2000, 900}, One, true, {0, 0, 1280, 760});
        row("on: mostly on the second", {1200, 100, 300, 120}, Two, true, {1280, 100, 300, 120});
        row("gone screen, off", {4000, 200, 200, 120}, Two, false, {1080, 200, 200, 120});
        row("second screen gone", {2000, 900, 200, 120}, One, false, {1080, 640, 200, 120});
        row("no size yet", {50, 60, 0, 0}, One, true, {50, 60, 0, 0});
        row("no screens at all", {-500, 9000, 200, 120}, {}, true, {-500, 9000, 200, 120});
        // clang-format on
    }

    void place() { compareGotWant<QRect>(); }
    void bounded_data()
    {
        gotWantColumns<QRect>();
        // x, y, width, height as read from the file
        const auto row = [](const char *name, QList<qint64> v, const QList<QRect> &areas,
                            QRect want) {
            QTest::newRow(name) << boundedGeometry(v[0], v[1], v[2], v[3], areas) << want;
        };
        const qint64 big = 2147483647, small = -2147483647 - 1;
        // clang-format off
        row("100000 square", {0, 0, 100000, 100000}, One, {0, 0, 1280, 760});
        row("near +2^31", {big, big, big, big}, Two, {3199, 1079, 3200, 1080});
        row("near -2^31", {small, small, small, small}, Two, {0, 0, 0, 0});
        row("partly off stays", {1200, 700, 200, 120}, One, {1200, 700, 200, 120});
        row("no screens", {big, 5, 90, 90}, {}, {639, 5, 90, 90});
        // clang-format on
    }

    void bounded() { compareGotWant<QRect>(); }
    void arrange_data()
    {
        gotWantColumns<Points>();
        // The third does not fit below the second and opens the next column.
        const QList<QSize> three{{200, 100}, {150, 100}, {100, 100}};
        const QRect low(0, 0, 1000, 300);
        const auto row = [](const char *name, Corner c, const QList<QSize> &sizes, QRect area,
                            int gap, const Points &want) {
            QTest::newRow(name) << arrangeTags(c, sizes, area, gap) << want;
        };
        // clang-format off
        row("top left", Corner::TopLeft, three, low, 10, {{10, 10}, {10, 120}, {220, 10}});
        row("bottom right", Corner::BottomRight, three, low, 10, {{790, 190}, {840, 80}, {680, 190}});
        row("second screen", Corner::BottomRight, three, {1280, 40, 1920, 1000}, 8, {{2992, 932}, {3042, 824}, {3092, 716}});
        row("taller than the area", Corner::TopLeft, {{100, 400}, {100, 50}}, low, 10, {{10, 10}, {120, 10}});
        row("out of columns", Corner::TopLeft, QList<QSize>(5, {200, 100}), {0, 0, 400, 300}, 10, {{10, 10}, {10, 120}, {10, 10}, {10, 120}, {10, 10}});
        row("none", Corner::TopRight, {}, low, 10, {});
        // clang-format on
    }

    void arrange() { compareGotWant<Points>(); }
    void grow_data()
    {
        gotWantColumns<QSize>();
        const auto row = [](const char *name, QSize stored, QSize fitted, QSize want) {
            QTest::newRow(name) << grownToFit(stored, fitted, One.first().size()) << want;
        };
        row("text fits: kept", {200, 100}, {150, 80}, {200, 100});
        row("more lines: taller", {200, 40}, {150, 90}, {200, 90});
        row("up to the work area", {200, 40}, {1600, 900}, {1280, 760});
        row("sized to text stays", {0, 0}, {320, 90}, {0, 0});
        row("width only", {200, 0}, {320, 90}, {320, 0});
        row("wider than the area", {1500, 40}, {100, 90}, {1500, 90});
    }

    void grow() { compareGotWant<QSize>(); }
    void cascade_data()
    {
        gotWantColumns<QPoint>();
        const QSize tag(200, 120);
        const auto row = [](const char *name, QPoint start, QSize size, const Points &taken,
                            QPoint want) {
            QTest::newRow(name) << cascadeTag(start, size, taken, One.first()) << want;
        };
        // Corners one step apart down to the lowest that keeps a tag above the task bar.
        const auto diagonal = [](QPoint from, int count) {
            Points p;
            for (int i = 0; i < count; ++i)
                p << from + QPoint(24 * i, 24 * i);
            return p;
        };
        const Points chain = diagonal({100, 100}, 23); // the last at 628 + 120 = 748
        // clang-format off
        row("nothing there", {100, 100}, tag, {}, {100, 100});
        row("the default taken", {100, 100}, tag, {{100, 100}}, {124, 124});
        row("a step off is free", {100, 100}, tag, {{124, 76}}, {100, 100});
        row("bottom: from the top", {100, 100}, tag, chain, {0, 0});
        row("next column", {100, 100}, tag, chain + diagonal({0, 0}, 27), {24, 0});
        row("start off the area", {2000, 100}, tag, {}, {0, 0});
        row("wider than the area", {100, 100}, {1500, 100}, {{100, 100}}, {100, 100});
        // clang-format on
    }

    void cascade() { compareGotWant<QPoint>(); }

private:
    int add(const QString &message, bool trashed = false)
    {
        TagRecord t = makeTag(2, message);
        const int k = m_ops->addNew(t).value_or(0);
        if (trashed && k)
            (void)m_ops->trash(k);
        return k;
    }
    TagStore &store() { return m_data->store; }

    std::unique_ptr<TempStore> m_data;
    ScriptedPrompt m_prompt;
    std::unique_ptr<TagOperations> m_ops;
};

QTEST_GUILESS_MAIN(TestTagLogic)
#include "tst_taglogic.moc"
