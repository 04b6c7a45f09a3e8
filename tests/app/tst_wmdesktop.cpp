// The desktop under a real window manager: tests/support/wm-run.sh gives each run a
// display of its own with openbox on it; xdotool asks it to move a window.
#include "desktopdisplay.h"
#include "editorhost.h"
#include "manualclock.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tagentry.h"
#include "tagmain.h"
#include "tagstore.h"
#include "tagwindow.h"

#include <QMessageBox>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {
const QColor Magenta(255, 0, 255);

// What the screen shows at p: whichever window is on top there.
QColor onScreen(const QPoint &p)
{
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage().pixelColor(p);
}

TagRecord scheduledTag(const QPoint &at)
{
    TagRecord t;
    t.setMessage(u"会議"_s);
    t.setByte(Tag::ScheduleKind, 1);
    t.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc()));
    t.setLong(Tag::BackColor, 0xFF00FF);
    t.setLong(Tag::PosX, at.x());
    t.setLong(Tag::PosY, at.y());
    t.setLong(Tag::Width, 500);
    t.setLong(Tag::Height, 400);
    return t;
}

template <typename W> W *topLevel()
{
    for (QWidget *top : QApplication::topLevelWidgets())
        if (auto *w = qobject_cast<W *>(top))
            return w;
    return nullptr;
}
} // namespace

class TestWmDesktop : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { m_main.reset(); }
    void movedTagIsStored();
    void dialogsStayAboveTopMostTags();
    void editorFromTheTrayTakesTheKeyboard();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
    std::unique_ptr<QTemporaryDir> m_dir;
    ScriptedPrompt m_prompt;
    std::unique_ptr<TagMain> m_main;
};

void TestWmDesktop::initTestCase()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs the xcb platform on an X server");
    if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
        QSKIP("xdotool is not installed");
}

// Each test on a fresh data file: one top-most scheduled tag at (100, 100).
void TestWmDesktop::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    TagStore store(m_dir->filePath(u"Pinboard.dt1"_s));
    QVERIFY(store.writeEnv(EnvRecord()));
    TagRecord tag = scheduledTag(QPoint(100, 100));
    QVERIFY(store.addTag(tag));
    m_main = std::make_unique<TagMain>(m_dir->path(), m_prompt, m_clock);
    QVERIFY(m_main->start());
    QVERIFY(QTest::qWaitForWindowExposed(m_main->display()->window(1)));
}

void TestWmDesktop::movedTagIsStored()
{
    TagWindow *w = m_main->display()->window(1);
    QTRY_COMPARE(w->pos(), QPoint(100, 100));
    // The window manager says where a window ended up only once it is there.
    QCOMPARE(QProcess::execute(u"xdotool"_s,
                               {u"windowmove"_s, QString::number(w->winId()), u"330"_s, u"240"_s}),
             0);
    QTRY_COMPARE(w->pos(), QPoint(330, 240));
    QTRY_COMPARE(m_main->store().readTag(1)->longValue(Tag::PosX), 330);
    QCOMPARE(m_main->store().readTag(1)->longValue(Tag::PosY), 240);
}

void TestWmDesktop::dialogsStayAboveTopMostTags()
{
    const QPoint inside(350, 300); // inside the tag and inside each dialog below
    QTRY_COMPARE(onScreen(inside), Magenta);
    m_main->editors()->openNew();
    QWidget *editor = topLevel<TagEntry>();
    QVERIFY(editor);
    editor->move(inside - QPoint(editor->width() / 2, editor->height() / 2));
    QVERIFY(QTest::qWaitForWindowExposed(editor));
    QTRY_VERIFY(onScreen(inside) != Magenta);
    // A tag that comes due while the editor is open goes up below it.
    TagRecord second = scheduledTag(QPoint(200, 150));
    QVERIFY(m_main->store().addTag(second));
    m_main->scheduler()->tagChanged(2);
    QVERIFY(QTest::qWaitForWindowExposed(m_main->display()->window(2)));
    QTest::qWait(300);
    QVERIFY(onScreen(inside) != Magenta);
    editor->close();
    QTRY_COMPARE(onScreen(inside), Magenta);
    // A message box is one of the program's windows as well.
    QMessageBox box(QMessageBox::Information, u"Pinboard"_s, u"確認"_s);
    box.show();
    box.move(inside - QPoint(box.width() / 2, box.height() / 2));
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    QTRY_VERIFY(onScreen(inside) != Magenta);
    QTest::qWait(300);
    QVERIFY(onScreen(inside) != Magenta);
}

void TestWmDesktop::editorFromTheTrayTakesTheKeyboard()
{
    // Another window has the keyboard, as when the user works elsewhere.
    QWidget elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    QTRY_VERIFY(elsewhere.isActiveWindow());
    m_main->trayMessage(TrayMessages::LeftDoubleClick, false);
    TagEntry *editor = topLevel<TagEntry>();
    QVERIFY(editor);
    QTRY_VERIFY(editor->isActiveWindow());
    QCOMPARE(QApplication::focusWidget()->objectName(), u"txt_Message"_s);
    QTest::keyClicks(QApplication::focusWidget(), u"memo"_s);
    QVERIFY(editor->isChanged());
}

QTEST_MAIN(TestWmDesktop)
#include "tst_wmdesktop.moc"
