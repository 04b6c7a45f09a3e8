// The desktop on a real X server: tests/support/wm-run.sh gives each run a display of its
// own with openbox on it; xdotool moves windows and presses keys.
#include "desktopdisplay.h"
#include "hotkeys.h"
#include "manualclock.h"
#include "scriptedprompt.h"
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

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

using namespace Qt::StringLiterals;

namespace {
bool xdotool(const QStringList &args)
{
    return QProcess::execute(u"xdotool"_s, args) == 0;
}

// Another X client, holding a grab of its own.
class OtherClient
{
public:
    OtherClient() : m_conn(xcb_connect(nullptr, nullptr))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_conn)).data->root;
    }
    ~OtherClient() { xcb_disconnect(m_conn); }
    bool grab(quint16 mods, xcb_keysym_t sym)
    {
        xcb_key_symbols_t *syms = xcb_key_symbols_alloc(m_conn);
        xcb_keycode_t *codes = xcb_key_symbols_get_keycode(syms, sym);
        xcb_generic_error_t *error =
            codes && *codes != XCB_NO_SYMBOL
                ? xcb_request_check(m_conn,
                                    xcb_grab_key_checked(m_conn, 0, m_root, mods, codes[0],
                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC))
                : nullptr;
        const bool ok = codes && *codes != XCB_NO_SYMBOL && !error;
        free(error);
        free(codes);
        xcb_key_symbols_free(syms);
        return ok;
    }

private:
    xcb_connection_t *m_conn;
    xcb_window_t m_root = 0;
};
} // namespace

class TestXDesktop : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void topMostTagMovedAndBelowDialogs();
    void hotkeyGrabPressRelease();
};

void TestXDesktop::initTestCase()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs the xcb platform on an X server");
    if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
        QSKIP("xdotool is not installed");
}

// A scheduled, hence top-most, magenta tag: moved by the window manager, its place is
// stored; the program's message boxes still go above it, and so does one that is
// open when a second such tag comes due.
void TestXDesktop::topMostTagMovedAndBelowDialogs()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(u"Pinboard.dt1"_s));
    QVERIFY(store.writeEnv(EnvRecord()));
    TagRecord tag;
    tag.setMessage(u"会議"_s);
    tag.setByte(Tag::ScheduleKind, 1);
    tag.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc()));
    tag.setLong(Tag::BackColor, 0xFF00FF);
    tag.setLong(Tag::PosX, 100);
    tag.setLong(Tag::PosY, 100);
    tag.setLong(Tag::Width, 500);
    tag.setLong(Tag::Height, 400);
    QVERIFY(store.addTag(tag));
    ScriptedPrompt prompt;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59)));
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    TagWindow *w = main.display()->window(1);
    QVERIFY(QTest::qWaitForWindowExposed(w));
    QTRY_COMPARE(w->pos(), QPoint(100, 100));
    // The window manager says where a window ended up only once it is there.
    QVERIFY(xdotool({u"windowmove"_s, QString::number(w->winId()), u"330"_s, u"240"_s}));
    QTRY_COMPARE(w->pos(), QPoint(330, 240));
    QTRY_COMPARE(main.store().readTag(1)->longValue(Tag::PosX), 330);
    QCOMPARE(main.store().readTag(1)->longValue(Tag::PosY), 240);

    const QPoint inside(580, 440);
    const auto onScreen = [inside] {
        return QGuiApplication::primaryScreen()->grabWindow(0).toImage().pixelColor(inside);
    };
    QTRY_COMPARE(onScreen(), QColor(Qt::magenta));
    QMessageBox box(QMessageBox::Information, u"Pinboard"_s, u"確認"_s);
    box.show();
    box.move(inside - QPoint(box.width() / 2, box.height() / 2));
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    QTRY_VERIFY(onScreen() != QColor(Qt::magenta));
    tag.setLong(Tag::PosX, 400);
    QVERIFY(main.store().addTag(tag));
    main.scheduler()->tagChanged(2);
    QVERIFY(QTest::qWaitForWindowExposed(main.display()->window(2)));
    QTest::qWait(300);
    QVERIFY(onScreen() != QColor(Qt::magenta));
}

void TestXDesktop::hotkeyGrabPressRelease()
{
    constexpr xcb_keysym_t F12 = 0xffc9;
    constexpr quint16 XCtrlShift = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
    auto keys = Hotkeys::create();
    QVERIFY(keys->registerHotkey(3, Hotkeys::Ctrl | Hotkeys::Shift, 123));
    QVERIFY(keys->registerHotkey(1, Hotkeys::Alt, 112));
    QSignalSpy spy(keys.get(), &Hotkeys::triggered);
    QVERIFY(xdotool({u"key"_s, u"ctrl+shift+F12"_s}));
    QTRY_COMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toInt(), 3);
    // Only the registered combination: F12 with Ctrl alone is not it. With Num Lock on
    // the key still arrives.
    QVERIFY(xdotool({u"key"_s, u"ctrl+F12"_s, u"Num_Lock"_s, u"alt+F1"_s, u"Num_Lock"_s}));
    QTRY_COMPARE(spy.count(), 2);
    QCOMPARE(spy.last().first().toInt(), 1);
    // Given up, the key is free for another program.
    OtherClient other;
    QVERIFY(!other.grab(XCtrlShift, F12));
    keys->unregisterHotkey(3);
    QVERIFY(other.grab(XCtrlShift, F12));
}

QTEST_MAIN(TestXDesktop)
#include "tst_xdesktop.moc"
