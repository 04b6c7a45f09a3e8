#include "manualclock.h"
#include "scriptedprompt.h"
#include "soundplayer.h"
#include "tablecheck.h"
#include "tagactions.h"
#include "tagentry.h"
#include "taglist.h"
#include "taglisthost.h"
#include "tagwindow.h"
#include "tempstore.h"
#include "textcalendar.h"
#include "trashlist.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
class FakeHost final : public TagListHost
{
public:
    bool isEditorOpen() const override { return editorOpen; }
    void openEditor(int k) override { log(u"openEditor"_s, k); }
    void openEditorCopy(int k) override { log(u"openEditorCopy"_s, k); }
    bool isShown(int k) const override { return shown.contains(k); }
    void hideTag(int k) override { shown.removeAll(k), log(u"hideTag"_s, k); }
    void redisplayTag(int k) override { shown.append(k), log(u"redisplayTag"_s, k); }
    void tagTrashed(int k) override { log(u"tagTrashed"_s, k); }
    void tagRestored(int k) override { log(u"tagRestored"_s, k); }
    void tagDeletedForGood(int k) override { log(u"tagDeletedForGood"_s, k); }
    void stopMidi() override { calls << u"stopMidi"_s; }
    void restoreTrayIcon() override {}
    void log(const QString &what, int k) { calls << what + u' ' + QString::number(k); }
    bool editorOpen = false;
    QList<int> shown;
    QStringList calls;
};

template <class W> W *get(const QObject *parent, const char *name)
{
    W *w = parent->findChild<W *>(QLatin1String(name));
    if (!w)
        qFatal("no child %s", name);
    return w;
}

TagRecord makeTag(const QString &message, int kind = 0, const QTime &at = {})
{
    TagRecord t;
    t.setMessage(message);
    t.setByte(Tag::ScheduleKind, kind);
    t.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), at, Qt::UTC));
    t.setLong(Tag::BackColor, 0xFFFF00);
    t.setLong(Tag::PosX, 100);
    t.setLong(Tag::PosY, 80);
    return t;
}
const QString AskDelete = u"削除の確認"_s;
} // namespace

// The windows' paths to the store and the scheduler, and what they tell the user; the
// rules behind them are pinned in taglogic.
class TestTagUi : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_entry.reset();
        m_data = std::make_unique<TempStore>();
        m_prompt = ScriptedPrompt();
        m_host = FakeHost();
        reopen(0);
    }

    // A fault keeps the dialog open with nothing stored; corrected, the tag is stored.
    void entryStoresANewTag()
    {
        m_entry->openNew();
        message()->setPlainText(u"会議\n3F"_s);
        check("opt_Sel1");
        get<QLineEdit>(m_entry.get(), "txt_Ddate")->setText(u"2024/05/01"_s);
        pick("cmb_HH", 10), pick("cmb_MM", 30);
        check("chk_Blink");
        get<QLineEdit>(m_entry.get(), "txt_Xadr")->setText(u"40"_s);
        QSignalSpy stored(m_entry.get(), &TagEntry::tagStored);
        click("Command1");
        QCOMPARE(m_prompt.shown,
                 QStringList{u"表示日と消去日が同じ時は、消去時刻も指定して下さい。"_s});
        QCOMPARE(m_prompt.titles, QStringList{Prompt::defaultTitle()});
        QCOMPARE(store().tagCount(), 0);
        pick("cmb_DHH", 12), pick("cmb_DMM", 1); // after "なし"
        click("Command1");
        QCOMPARE(m_prompt.shown.size(), 1);
        QCOMPARE(stored, QList<QVariantList>{{1}});
        const auto tag = store().readTag(1);
        const auto at = [](int h, int m) {
            return QDateTime(QDate(2024, 5, 1), QTime(h, m), Qt::UTC);
        };
        QCOMPARE(tag->tagNumber(), u"00001"_s);
        QCOMPARE(tag->message(), u"会議\r\n3F"_s);
        QCOMPARE(tag->byte(Tag::ScheduleKind), 1);
        QCOMPARE(tag->date(Tag::DisplayDateTime), at(10, 30));
        QCOMPARE(tag->date(Tag::EraseDateTime), at(11, 0));
        QCOMPARE(tag->byte(Tag::Blink) + tag->byte(Tag::Frame), 2);
        QCOMPARE(tag->longValue(Tag::PosX), 40);
        // Closing keeps the editor's size in twips.
        const int twips = m_entry->width() * 1440 / m_entry->logicalDpiX();
        QCOMPARE(store().readEnv()->longValue(Env::EntryWidth), twips);
    }

    // Editing keeps what the editor does not show; the erase time can be taken back.
    void entryEditsThenTrashes()
    {
        TagRecord t = makeTag(u"朝礼\r\n3F"_s, 3, QTime(8, 15));
        t.setByte(Tag::WeekdayFlags, 1, 1);
        t.setByte(Tag::WeekOfMonthFlags, 1, 2);
        t.setText(Tag::SenderName, u"総務"_s);
        t.setLong(Tag::Width, 240);
        t.setText(Tag::EraseTime, u"12:45"_s);
        QCOMPARE(add(t), 1);
        reopen(1);
        QVERIFY(!m_entry->isChanged());
        message()->setPlainText(u"朝礼は中止"_s);
        check("chk_Week5");
        QTest::keyClick(get<QComboBox>(m_entry.get(), "cmb_DHH"), Qt::Key_Home); // "なし"
        QCOMPARE(get<QComboBox>(m_entry.get(), "cmb_DMM")->currentIndex(), 0);
        click("Command1");
        QCOMPARE(store().tagCount(), 1);
        auto tag = store().readTag(1);
        QCOMPARE(tag->message(), u"朝礼は中止"_s);
        QCOMPARE(tag->byte(Tag::WeekdayFlags, 5), 1);
        QCOMPARE(tag->text(Tag::EraseTime), QString());
        QCOMPARE(tag->tagNumber(), u"00001"_s);
        QCOMPARE(tag->text(Tag::SenderName), u"総務"_s);
        QCOMPARE(tag->longValue(Tag::Width), 240);

        // A change is not thrown away unasked; Enter answers No to both questions.
        reopen(1);
        m_entry->show();
        message()->setPlainText(u"変更"_s);
        QSignalSpy trashed(m_entry.get(), &TagEntry::tagTrashed);
        m_prompt.answers = {false, true, false, true};
        click("cmd_Cancel");
        QVERIFY(m_entry->isVisible());
        click("cmd_Cancel");
        QVERIFY(!m_entry->isVisible());
        m_entry->show();
        click("cmd_Delete");
        QCOMPARE(store().readTag(1)->stateMark(), u"0"_s);
        QVERIFY(m_entry->isVisible());
        click("cmd_Delete");
        const QString discard =
            u"付箋の内容が更新されています。このまま更新内容を破棄して終了しても良いですか？"_s;
        const QString ask =
            u"現在編集を行っているタグをごみ箱に入れます。（削除する）。よろしいですか？"_s;
        QCOMPARE(m_prompt.shown, (QStringList{discard, discard, ask, ask}));
        QCOMPARE(m_prompt.titles,
                 (QStringList{u"終了確認"_s, u"終了確認"_s, AskDelete, AskDelete}));
        QCOMPARE(m_prompt.noByDefault, (QList<int>{0, 1, 2, 3}));
        tag = store().readTag(1);
        QCOMPARE(tag->stateMark() + tag->message(), u"D朝礼は中止"_s);
        QCOMPARE(trashed.count(), 1);
        QVERIFY(!m_entry->isVisible());
    }

    void entryInsertsACalendar()
    {
        m_entry->openNew();
        m_prompt.textAnswers = {u"2025/13"_s, u"2025/2"_s};
        for (int i = 0; i < 2; ++i)
            get<QAction>(m_entry.get(), "mnu_CalenderAny")->trigger();
        const QString ask =
            u"作成するカレンダーの年月を入力して下さい。\r\nyyyy/mm の形式で入力して下さい。"_s;
        QCOMPARE(m_prompt.shown,
                 (QStringList{
                     ask, u"入力された値が日付形式ではありません。年／月の形式で入力して下さい。"_s,
                     ask}));
        QCOMPARE(m_prompt.titles.first(), u"年月指定"_s);
        QCOMPARE(message()->toPlainText(), textCalendar(2025, 2));
    }

    // Plain text in the stored colours (COLORREF is 0x00BBGGRR); a drag is reported where
    // it ended; sizes from a damaged file stay on the screen.
    void windowShowsAndMoves()
    {
        TagRecord t = makeTag(u"<b>買い物</b>\r\nmilk"_s);
        EnvRecord env;
        env.setByte(Env::AutoPosition, 0);
        TagWindow w(7, t, env);
        QCOMPARE(w.label()->text(), u"<b>買い物</b>\nmilk"_s);
        QCOMPARE(w.label()->textFormat(), Qt::PlainText);
        QCOMPARE(w.backColor(), QColor(0, 255, 255));
        QCOMPARE(ColorRef::fromColor(QColor(0x12, 0x34, 0x56)), 0x563412);
        QSignalSpy moved(&w, &TagWindow::moved);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QTest::mousePress(w.label(), Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mouseMove(w.label(), QPoint(35, 25));
        QTest::mouseRelease(w.label(), Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(w.pos(), QPoint(130, 100));
        QCOMPARE(moved, (QList<QVariantList>{{7, QPoint(130, 100)}}));
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        for (int f : {Tag::Width, Tag::Height, Tag::PosX, Tag::PosY})
            t.setLong(f, -2147483647 - 1);
        w.refresh(t, env);
        QVERIFY(w.width() <= screen.width() && w.height() <= screen.height());
        QVERIFY(screen.contains(w.pos()));
    }

    void firstUrl_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, const QString &text, const QString &url) {
            QTest::newRow(name) << TagActions::firstUrl(text) << url;
        };
        row("none", u"ftp://a.jp www.b.jp"_s, QString());
        row("earliest wins", u"https://s.jp/?a=1&b then http://p.jp"_s, u"https://s.jp/?a=1&b"_s);
        row("end of sentence", u"See http://a.jp/p."_s, u"http://a.jp/p"_s);
        row("own brackets", u"http://w.org/F_(b)"_s, u"http://w.org/F_(b)"_s);
        row("bare scheme", u"http:// only"_s, QString());
    }

    void firstUrl() { compareGotWant<QString>(); }
    void listCommands()
    {
        fillLists();
        TagList list(store(), m_data->settings(), m_prompt, m_host);
        m_host.editorOpen = true;
        get<QAction>(&list, "List_Create")->trigger();
        QVERIFY(list.selectTag(2));
        get<QAction>(&list, "mnu_Update")->trigger();
        QCOMPARE(m_prompt.shown,
                 (QStringList{u"設定変更するメッセージが選択されていません。"_s,
                              u"登録画面が表示されています。終了させて下さい。"_s}));
        m_host.editorOpen = false;
        get<QAction>(&list, "mnu_Update")->trigger();
        get<QAction>(&list, "List_Create")->trigger();
        QCOMPARE(list.infoLabel()->text(), u"毎日、09:05 から\n表示されます。"_s);
        m_host.shown = {2};
        get<QAction>(&list, "List_Erase")->trigger();
        get<QAction>(&list, "List_Redisp")->trigger();
        QTest::keyClick(list.list(), Qt::Key_Delete);
        QCOMPARE(m_host.calls,
                 (QStringList{u"openEditor 2"_s, u"openEditorCopy 2"_s, u"hideTag 2"_s,
                              u"redisplayTag 2"_s, u"tagTrashed 2"_s}));
        QCOMPARE(mark(2), u"D"_s);
    }

    void trashCommands()
    {
        fillLists();
        TrashList trash(store(), m_data->settings(), m_prompt, m_host);
        get<QAction>(&trash, "List_MDelete")->trigger(); // nothing selected: no question
        QVERIFY(trash.selectTag(5));
        m_prompt.answers = {false, true, false, true};
        QTest::keyClick(trash.list(), Qt::Key_Delete);
        QCOMPARE(mark(5), u"D"_s);
        get<QAction>(&trash, "List_MDelete")->trigger();
        QVERIFY(trash.selectTag(7));
        get<QAction>(&trash, "List_Redisp")->trigger();
        QCOMPARE(mark(5) + mark(6) + mark(7), u"9D0"_s);
        get<QAction>(&trash, "mnu_AllDelete")->trigger();
        QCOMPARE(mark(6), u"D"_s);
        get<QAction>(&trash, "mnu_AllDelete")->trigger();
        QCOMPARE(mark(1) + mark(6), u"09"_s);
        QCOMPARE(trash.list()->count(), 0);
        const QString ask = u"現在選択されているタグをごみ箱から削除します。よろしいですか？"_s;
        const QString all = u"ごみ箱を空にします。元には戻せません、よろしいですか？"_s;
        QCOMPARE(m_prompt.shown, (QStringList{ask, ask, all, all}));
        QCOMPARE(m_prompt.titles, QStringList(4, AskDelete));
        QCOMPARE(m_prompt.noByDefault, (QList<int>{0, 1, 2, 3}));
        QCOMPARE(m_host.calls.join(u", "_s),
                 u"tagDeletedForGood 5, tagRestored 7, stopMidi, tagDeletedForGood 6"_s);
    }

private:
    TagStore &store() { return m_data->store; }
    QPlainTextEdit *message() const { return get<QPlainTextEdit>(m_entry.get(), "txt_Message"); }
    void click(const char *name) { get<QPushButton>(m_entry.get(), name)->click(); }
    void check(const char *name) { get<QAbstractButton>(m_entry.get(), name)->setChecked(true); }
    void pick(const char *name, int i) { get<QComboBox>(m_entry.get(), name)->setCurrentIndex(i); }
    int add(TagRecord t) { return store().addTag(t).value_or(0); }
    QString mark(int k) { return store().readTag(k)->stateMark(); }
    // A fresh editor, on stored tag k unless 0.
    void reopen(int k)
    {
        m_entry =
            std::make_unique<TagEntry>(store(), m_data->settings(), m_prompt, m_clock, m_sound);
        QVERIFY(!k || m_entry->openTag(k));
    }
    // Tags 1-4 live and daily at 09:05, 5-7 in the trash.
    void fillLists()
    {
        for (int i = 1; i <= 7; ++i) {
            TagRecord t = makeTag(u"tag %1"_s.arg(i), 2, QTime(9, 5));
            if (i > 4)
                t.setStateMark(TagRecord::InTrash);
            QCOMPARE(add(t), i);
        }
    }

    std::unique_ptr<TempStore> m_data;
    ScriptedPrompt m_prompt;
    FakeHost m_host;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 0))};
    SoundPlayer m_sound;
    std::unique_ptr<TagEntry> m_entry;
};

QTEST_MAIN(TestTagUi)
#include "tst_tagui.moc"
