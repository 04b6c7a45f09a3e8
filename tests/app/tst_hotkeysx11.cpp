#include "desktopdisplay.h"
#include "hotkeyplan.h"
#include "hotkeys.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "sysdesk.h"
#include "tagmain.h"
#include "tagstore.h"
#include "trayattach.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

using namespace Qt::StringLiterals;

// Real grabs on a real X server (Xvfb) without a tray, keys pressed with xdotool;
// Debian's trayer as the tray host that turns up late.
namespace {
bool press(const char *keys)
{
    return QProcess::execute(u"xdotool"_s, {u"key"_s, QString::fromLatin1(keys)}) == 0;
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
        const bool ok = codes && *codes != XCB_NO_SYMBOL &&
                        !xcb_request_check(
                            m_conn, xcb_grab_key_checked(m_conn, 0, m_root, mods, codes[0],
                                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        free(codes);
        xcb_key_symbols_free(syms);
        return ok;
    }

private:
    xcb_connection_t *m_conn;
    xcb_window_t m_root = 0;
};

constexpr xcb_keysym_t F1 = 0xffbe, F12 = 0xffc9;
constexpr int CtrlShift = Hotkeys::Ctrl | Hotkeys::Shift;
constexpr quint16 XCtrlShift = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
} // namespace

class TestHotkeysX11 : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void pressedKeyTriggers();
    void hotkeysOfRecordOne();
    void activeWindowToClipboard();
    void iconArrivesWhenTheTrayDoes();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 0))};
};

void TestHotkeysX11::initTestCase()
{
    if (QGuiApplication::platformName() != u"xcb")
        QSKIP("needs an X server (scripts/test runs this under xvfb-run)");
    if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
        QSKIP("xdotool is not installed (scripts/deps installs it)");
}

void TestHotkeysX11::pressedKeyTriggers()
{
    auto keys = Hotkeys::create();
    QVERIFY(keys->registerHotkey(3, CtrlShift, 123));
    QVERIFY(keys->registerHotkey(1, Hotkeys::Alt, 112));
    QSignalSpy spy(keys.get(), &Hotkeys::triggered);
    QVERIFY(press("ctrl+shift+F12"));
    QTRY_COMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toInt(), 3);
    // Only the registered combination: F12 with Ctrl alone is not it.
    QVERIFY(press("ctrl+F12"));
    // Pressing Num_Lock locks it on; pressing it again afterwards unlocks it.
    QVERIFY(press("Num_Lock") && press("alt+F1") && press("Num_Lock"));
    QTRY_COMPARE(spy.count(), 2);
    QCOMPARE(spy.last().first().toInt(), 1);
    // Given up, the key is free for another program.
    OtherClient other;
    QVERIFY(!other.grab(XCtrlShift, F12));
    keys->unregisterHotkey(3);
    QVERIFY(other.grab(XCtrlShift, F12));
}

// Registered from record 1 at start-up, one taken meanwhile by another program.
void TestHotkeysX11::hotkeysOfRecordOne()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    {
        TagMain first(dir.path(), prompt, m_clock);
        QVERIFY(first.start());
        HotkeyPlan::Picks picks;
        for (int n = 1; n <= HotkeyPlan::Count; ++n)
            picks[n - 1] = {CtrlShift, 111 + n};
        picks[HotkeyPlan::ClipTag - 1] = {CtrlShift, 123};
        QVERIFY(first.settings()
                    .change([&](EnvRecord &e) { HotkeyPlan::storePicks(e, picks, true); })
                    .isEmpty());
    }
    OtherClient other;
    QVERIFY(other.grab(XCtrlShift, F1 + 5)); // F6: hotkey 6
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QCOMPARE(prompt.shown, QStringList{HotkeyPlan::startUpConflictText(6)});
    for (int n = 1; n <= HotkeyPlan::Count; ++n)
        QCOMPARE(main.sys()->hotkeys().isRegistered(n), n != 6);
    const QString text = u"クリップボードから\n二行目"_s;
    QGuiApplication::clipboard()->setText(text);
    QVERIFY(press("ctrl+shift+F12"));
    QTRY_COMPARE(main.display()->shownTags().size(), 1);
    QCOMPARE(main.store().readTag(main.display()->shownTags().first())->message(), text);
    main.shutdown();
    QVERIFY(other.grab(XCtrlShift, F12)); // released
}

void TestHotkeysX11::activeWindowToClipboard()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QWidget window;
    QPalette pal = window.palette();
    pal.setColor(QPalette::Window, QColor(200, 30, 40));
    window.setPalette(pal);
    window.setAutoFillBackground(true);
    window.setGeometry(50, 60, 120, 80);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // No window manager here: we say which window is active, as one would.
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *conn = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(conn)).data->root;
    xcb_intern_atom_reply_t *atom =
        xcb_intern_atom_reply(conn, xcb_intern_atom(conn, 0, 18, "_NET_ACTIVE_WINDOW"), nullptr);
    QVERIFY(atom);
    const xcb_atom_t active = atom->atom;
    free(atom);
    const auto id = xcb_window_t(window.windowHandle()->winId());
    xcb_change_property(conn, XCB_PROP_MODE_REPLACE, root, active, XCB_ATOM_WINDOW, 32, 1, &id);
    xcb_flush(conn);
    QGuiApplication::clipboard()->clear();
    main.sys()->runAction(HotkeyPlan::WindowCopy);
    const QImage image = QGuiApplication::clipboard()->image();
    QCOMPARE(image.size(), window.size() * window.devicePixelRatio());
    QCOMPARE(image.pixelColor(image.width() / 2, image.height() / 2), QColor(200, 30, 40));
    xcb_delete_property(conn, root, active);
    xcb_flush(conn);
}

void TestHotkeysX11::iconArrivesWhenTheTrayDoes()
{
    const QString trayer = QStandardPaths::findExecutable(u"trayer"_s);
    if (trayer.isEmpty())
        QSKIP("trayer is not installed");
    QVERIFY2(!QSystemTrayIcon::isSystemTrayAvailable(), "this display already has a tray");
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    SystemClock clock;
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    QVERIFY(main.trayAttach()->isRetrying());
    main.trayAttach()->setIntervalMs(200);
    QProcess host;
    host.start(trayer, {u"--edge"_s, u"top"_s});
    QVERIFY(host.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!main.trayAttach()->isRetrying(), 15000);
    QVERIFY(QSystemTrayIcon::isSystemTrayAvailable());
    QVERIFY(main.trayIcon()->isVisible());
    QVERIFY(prompt.shown.isEmpty());
    main.shutdown();
    QVERIFY(main.trayIcon() == nullptr);
    host.terminate();
    host.waitForFinished();
}

QTEST_MAIN(TestHotkeysX11)
#include "tst_hotkeysx11.moc"
