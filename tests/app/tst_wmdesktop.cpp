// The desktop under a real window manager: tests/common/wm-run.sh gives each run a
// display of its own with openbox on it, and xdotool moves the real pointer.
#include "clock.h"
#include "desktopdisplay.h"
#include "editorhost.h"
#include "manualclock.h"
#include "prompt.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tagentry.h"
#include "tagmain.h"
#include "tagstore.h"
#include "tagwindow.h"

#include <QMessageBox>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {
const QColor Magenta(255, 0, 255);

bool xdo(const QStringList &args)
{
    return QProcess::execute(QStringLiteral("xdotool"), args) == 0;
}

QString num(int v)
{
    return QString::number(v);
}

// What the screen shows at p: whichever window is on top there.
QColor onScreen(const QPoint &p)
{
    const QImage shot = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    return shot.pixelColor(p);
}

TagRecord scheduledTag(const QPoint &at)
{
    TagRecord t;
    t.setMessage(QStringLiteral("会議"));
    t.setByte(Tag::ScheduleKind, 1);
    t.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc()));
    t.setLong(Tag::BackColor, 0xFF00FF);
    t.setLong(Tag::PosX, at.x());
    t.setLong(Tag::PosY, at.y());
    t.setLong(Tag::Width, 500);
    t.setLong(Tag::Height, 400);
    return t;
}
} // namespace

class TestWmDesktop : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void draggedTagIsStored();
    void dialogsStayAboveTopMostTags();
    void editorFromTheTrayTakesTheKeyboard();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ScriptedPrompt> m_prompt;
    std::unique_ptr<TagMain> m_main;
};

void TestWmDesktop::initTestCase()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs the xcb platform on an X server");
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
        QSKIP("xdotool is not installed");
}

void TestWmDesktop::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_prompt = std::make_unique<ScriptedPrompt>();
    TagStore store(m_dir->filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(store.writeEnv(EnvRecord())); // scheduled tags top-most by default
    TagRecord t = scheduledTag(QPoint(100, 100));
    QVERIFY(store.addTag(t));
    m_main = std::make_unique<TagMain>(m_dir->path(), *m_prompt, m_clock);
    QVERIFY(m_main->start());
    TagWindow *w = m_main->display()->window(1);
    QVERIFY(w);
    QVERIFY(QTest::qWaitForWindowExposed(w));
}

void TestWmDesktop::cleanup()
{
    m_main.reset();
    m_prompt.reset();
    m_dir.reset();
}

void TestWmDesktop::draggedTagIsStored()
{
    TagWindow *w = m_main->display()->window(1);
    QTRY_COMPARE(w->pos(), QPoint(100, 100));
    // A user's drag: press, travel with a rest on the way, release.
    QSignalSpy pressed(w, &TagWindow::pressed);
    QVERIFY(xdo({QStringLiteral("mousemove"), num(150), num(150)}));
    QTest::qWait(100);
    QVERIFY(xdo({QStringLiteral("mousedown"), num(1)}));
    QTRY_COMPARE(pressed.size(), 1);
    QTest::qWait(100);
    for (int step = 1; step <= 4; ++step) {
        QVERIFY(xdo({QStringLiteral("mousemove"), num(150 + 40 * step), num(150 + 25 * step)}));
        QTest::qWait(step == 2 ? 700 : 150);
    }
    QVERIFY(xdo({QStringLiteral("mouseup"), num(1)}));
    // The window manager moves the window and tells where only once the drag is over.
    QTRY_VERIFY(w->pos() != QPoint(100, 100));
    QTest::qWait(200);
    const QPoint dropped = w->pos();
    QTRY_COMPARE(m_main->store().readTag(1)->longValue(Tag::PosX), dropped.x());
    QCOMPARE(m_main->store().readTag(1)->longValue(Tag::PosY), dropped.y());

    // Whatever moves it, the place it ends up at is kept.
    QVERIFY(xdo({QStringLiteral("windowmove"), num(int(w->winId())), num(330), num(240)}));
    QTRY_COMPARE(w->pos(), QPoint(330, 240));
    QTRY_COMPARE(m_main->store().readTag(1)->longValue(Tag::PosX), 330);
    QCOMPARE(m_main->store().readTag(1)->longValue(Tag::PosY), 240);
}

void TestWmDesktop::dialogsStayAboveTopMostTags()
{
    const QPoint inside(350, 300); // inside the tag and inside each dialog below
    QTRY_COMPARE(onScreen(inside), Magenta);

    m_main->editors()->openNew();
    QWidget *editor = nullptr;
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *top : windows)
        if (qobject_cast<TagEntry *>(top))
            editor = top;
    QVERIFY(editor);
    editor->move(inside - QPoint(editor->width() / 2, editor->height() / 2));
    QVERIFY(QTest::qWaitForWindowExposed(editor));
    QTRY_VERIFY(onScreen(inside) != Magenta);

    // A tag that comes due while the editor is open goes up below it.
    TagRecord second = scheduledTag(QPoint(200, 150));
    QVERIFY(m_main->store().addTag(second));
    m_main->scheduler()->tagChanged(2);
    TagWindow *w2 = m_main->display()->window(2);
    QVERIFY(w2);
    QVERIFY(QTest::qWaitForWindowExposed(w2));
    QTest::qWait(300);
    QVERIFY(onScreen(inside) != Magenta);
    editor->close();
    QTRY_COMPARE(onScreen(inside), Magenta);

    // A message box is one of the program's windows as well.
    QMessageBox box(QMessageBox::Information, QStringLiteral("Pinboard"), QStringLiteral("確認"));
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
    elsewhere.setWindowTitle(QStringLiteral("elsewhere"));
    elsewhere.show();
    elsewhere.activateWindow();
    QTRY_VERIFY(elsewhere.isActiveWindow());
    m_main->trayMessage(TrayMessages::LeftDoubleClick, false);
    TagEntry *editor = nullptr;
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *top : windows)
        if (auto *e = qobject_cast<TagEntry *>(top))
            editor = e;
    QVERIFY(editor);
    QTRY_VERIFY(editor->isActiveWindow());
    QCOMPARE(QApplication::focusWidget()->objectName(), QStringLiteral("txt_Message"));
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("memo"));
    QVERIFY(editor->isChanged());
}

QTEST_MAIN(TestWmDesktop)
#include "tst_wmdesktop.moc"
