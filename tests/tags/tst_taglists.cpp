#include "oledate.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "taglist.h"
#include "taglisthost.h"
#include "tagstore.h"
#include "tempstore.h"
#include "trashlist.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
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
    void restoreTrayIcon() override { calls << u"restoreTrayIcon"_s; }

    void log(const QString &what, int k) { calls << what + u' ' + QString::number(k); }
    bool editorOpen = false;
    QList<int> shown;
    QStringList calls;
};

QAction *action(QWidget &w, const char *name)
{
    auto *a = w.findChild<QAction *>(QLatin1String(name));
    if (!a)
        qFatal("no action %s", name);
    return a;
}
} // namespace

class TestTagLists : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Tags 1-4 live and daily, 5-7 in the trash and on a date.
    void init()
    {
        m_prompt = ScriptedPrompt();
        m_host = FakeHost();
        m_data = std::make_unique<TempStore>();
        m_store = &m_data->store;
        for (int i = 1; i <= 7; ++i) {
            TagRecord t;
            t.setByte(Tag::ScheduleKind, i <= 4 ? 2 : 1);
            t.setDate(Tag::DisplayDateTime, OleDate::parse(u"2024/05/01 09:05:00"_s));
            t.setMessage(u"tag %1\r\nsecond line"_s.arg(i));
            if (i > 4)
                t.setStateMark(TagRecord::InTrash);
            QCOMPARE(m_store->addTag(t), std::optional<int>(i));
        }
    }

    void editorCommands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("select");
        QTest::addColumn<bool>("editorOpen");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("called");
        const QString none = u"設定変更するメッセージが選択されていません。"_s;
        const QString open = u"登録画面が表示されています。終了させて下さい。"_s;
        // clang-format off
        QTest::newRow("change, none")              << u"mnu_Update"_s  << 0 << false << none << QString();
        QTest::newRow("copy, none, editor open")   << u"List_Create"_s << 0 << true  << none << QString();
        QTest::newRow("change, editor open")       << u"List_Update"_s << 2 << true  << open << QString();
        QTest::newRow("copy, editor open")         << u"mnu_Create"_s  << 2 << true  << open << QString();
        QTest::newRow("change")                    << u"mnu_Update"_s  << 3 << false << QString() << u"openEditor 3"_s;
        QTest::newRow("copy")                      << u"List_Create"_s << 2 << false << QString() << u"openEditorCopy 2"_s;
        QTest::newRow("double-click")              << u"double"_s      << 4 << false << QString() << u"openEditor 4"_s;
        QTest::newRow("double-click, editor open") << u"double"_s      << 4 << true  << open << QString();
        // clang-format on
    }

    void editorCommands()
    {
        QFETCH(QString, command);
        QFETCH(int, select);
        QFETCH(bool, editorOpen);
        QFETCH(QString, said);
        QFETCH(QString, called);
        TagList list(*m_store, settings(), m_prompt, m_host);
        m_host.editorOpen = editorOpen;
        if (select)
            QVERIFY(list.selectTag(select));
        if (command == u"double")
            Q_EMIT list.list()->itemDoubleClicked(list.list()->currentItem());
        else
            action(list, command.toLatin1().constData())->trigger();
        QCOMPARE(m_prompt.shown, said.isEmpty() ? QStringList() : QStringList{said});
        QCOMPARE(m_host.calls, called.isEmpty() ? QStringList() : QStringList{called});
    }

    void selectingShowsTheState()
    {
        m_host.shown = {2};
        TagList list(*m_store, settings(), m_prompt, m_host);
        QVERIFY(list.infoLabel()->text().isEmpty());
        QTest::mouseClick(list.list()->viewport(), Qt::LeftButton, {},
                          list.list()->visualItemRect(list.list()->item(1)).center());
        QCOMPARE(list.selectedTag(), 2);
        QCOMPARE(list.infoLabel()->text(), u"毎日、09:05 から\n表示されています。"_s);
        action(list, "List_Erase")->trigger();
        QCOMPARE(list.infoLabel()->text(), u"毎日、09:05 から\n表示されます。"_s);
        action(list, "List_Redisp")->trigger();
        QCOMPARE(m_host.calls, (QStringList{u"hideTag 2"_s, u"redisplayTag 2"_s}));
        QCOMPARE(list.infoLabel()->text(), u"毎日、09:05 から\n表示されています。"_s);

        TrashList trash(*m_store, settings(), m_prompt, m_host);
        QVERIFY(trash.selectTag(6));
        QCOMPARE(trash.infoLabel()->text(), u"2024/05/01 09:05 から\n表示されます。"_s);
    }

    void deleteFromTrash_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("yes");
        QTest::newRow("menu, yes") << u"List_MDelete"_s << true;
        QTest::newRow("pop-up, yes") << u"List_Delete"_s << true;
        QTest::newRow("menu, no") << u"List_MDelete"_s << false;
    }

    void deleteFromTrash()
    {
        QFETCH(QString, command);
        QFETCH(bool, yes);
        TrashList trash(*m_store, settings(), m_prompt, m_host);
        action(trash, command.toLatin1().constData())->trigger(); // nothing selected: no question
        QVERIFY(m_prompt.shown.isEmpty());
        QVERIFY(trash.selectTag(5) && trash.selectTag(7));
        QCOMPARE(trash.selectedTags(), (QList<int>{5, 7}));
        m_prompt.answers = {yes};
        action(trash, command.toLatin1().constData())->trigger();
        QCOMPARE(m_prompt.shown,
                 QStringList{u"現在選択されているタグをごみ箱から削除します。よろしいですか？"_s});
        QCOMPARE(m_prompt.titles, QStringList{u"削除の確認"_s});
        QCOMPARE(mark(5) + mark(6) + mark(7), yes ? u"9D9"_s : u"DDD"_s);
        QCOMPARE(trash.list()->count(), yes ? 1 : 3);
        QCOMPARE(m_host.calls.join(u", "_s),
                 yes ? u"tagDeletedForGood 5, tagDeletedForGood 7"_s : u""_s);
    }

    void emptyTrash_data()
    {
        QTest::addColumn<bool>("empty");
        QTest::addColumn<bool>("yes");
        QTest::newRow("yes") << false << true;
        QTest::newRow("no") << false << false;
        QTest::newRow("already empty, yes") << true << true;
    }

    void emptyTrash()
    {
        QFETCH(bool, empty);
        QFETCH(bool, yes);
        if (empty)
            QCOMPARE(TagOperations(*m_store, m_prompt).emptyTrash().size(), 3);
        TrashList trash(*m_store, settings(), m_prompt, m_host);
        m_prompt.answers = {yes};
        action(trash, "mnu_AllDelete")->trigger();
        QCOMPARE(m_prompt.shown,
                 QStringList{u"ごみ箱を空にします。元には戻せません、よろしいですか？"_s});
        QCOMPARE(m_prompt.titles, QStringList{u"削除の確認"_s});
        const QString deleted =
            u", tagDeletedForGood 5, tagDeletedForGood 6, tagDeletedForGood 7"_s;
        QCOMPARE(m_host.calls.join(u", "_s),
                 yes ? u"stopMidi"_s + (empty ? QString() : deleted) : u""_s);
        QCOMPARE(trash.list()->count(), yes || empty ? 0 : 3);
        QCOMPARE(mark(1) + mark(6), yes || empty ? u"09"_s : u"0D"_s);
    }

    void restoreSeveral()
    {
        TrashList trash(*m_store, settings(), m_prompt, m_host);
        trash.list()->setCurrentRow(0);
        QTest::mouseClick(trash.list()->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          trash.list()->visualItemRect(trash.list()->item(2)).center());
        QCOMPARE(trash.selectedTags(), (QList<int>{5, 7}));
        action(trash, "List_Redisp")->trigger();
        QCOMPARE(m_host.calls, (QStringList{u"tagRestored 5"_s, u"tagRestored 7"_s}));
        QCOMPARE(mark(5) + mark(6) + mark(7), u"0D0"_s);
        QCOMPARE(trash.list()->count(), 1);
        QVERIFY(m_prompt.shown.isEmpty());
        TagList list(*m_store, settings(), m_prompt, m_host);
        QCOMPARE(list.list()->count(), 6);
    }

    void popupOnARow()
    {
        TagList list(*m_store, settings(), m_prompt, m_host);
        list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&list));
        QWidget *viewport = list.list()->viewport();
        auto rightClick = [viewport](const QPoint &at) {
            QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
            QApplication::sendEvent(viewport, &event);
        };
        rightClick(QPoint(5, viewport->height() - 2)); // below the rows
        QVERIFY(!list.popupMenu()->isVisible());
        rightClick(list.list()->visualItemRect(list.list()->item(2)).center());
        QTRY_VERIFY(list.popupMenu()->isVisible());
        QCOMPARE(list.selectedTag(), 3);
        list.popupMenu()->close();
    }

    void keysAndFilter()
    {
        TagList list(*m_store, settings(), m_prompt, m_host);
        list.show();
        auto *filter = list.findChild<QLineEdit *>(u"txt_Filter"_s);
        QVERIFY(filter);
        QTest::keyClicks(filter, u"TAG 3"_s);
        QCOMPARE(list.list()->count(), 1);
        filter->clear();
        QCOMPARE(list.list()->count(), 4);

        QVERIFY(list.selectTag(2));
        QTest::keyClick(list.list(), Qt::Key_Return);
        QTest::keyClick(list.list(), Qt::Key_Delete);
        QCOMPARE(m_host.calls, (QStringList{u"openEditor 2"_s, u"tagTrashed 2"_s}));
        QCOMPARE(mark(2), u"D"_s);
        QTest::keyClick(list.list(), Qt::Key_Escape);
        QVERIFY(!list.isVisible());

        TrashList trash(*m_store, settings(), m_prompt, m_host);
        QVERIFY(trash.selectTag(5));
        m_prompt.answers = {true};
        QTest::keyClick(trash.list(), Qt::Key_Delete);
        QCOMPARE(m_prompt.noByDefault, QList<int>{0});
        QCOMPARE(m_host.calls.last(), u"tagDeletedForGood 5"_s);
    }

private:
    QString mark(int k) const { return m_store->readTag(k)->stateMark(); }

    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
    ScriptedPrompt m_prompt;
    FakeHost m_host;
};

QTEST_MAIN(TestTagLists)
#include "tst_taglists.moc"
