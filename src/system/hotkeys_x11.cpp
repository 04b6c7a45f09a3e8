#include "hotkeys.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QList>
#include <map>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

// Hotkeys on X11: a passive grab of the key on the root window, for the plain
// modifiers and again with NumLock and CapsLock on, since a grab matches the
// modifier state exactly. A grab another client holds fails with BadAccess.
namespace {

constexpr xcb_keysym_t KeysymF1 = 0xffbe;
constexpr xcb_keysym_t KeysymNumLock = 0xff7f;
constexpr quint16 Relevant = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;

quint16 xcbModifiers(int flags)
{
    quint16 mask = 0;
    if (flags & Hotkeys::Alt)
        mask |= XCB_MOD_MASK_1;
    if (flags & Hotkeys::Ctrl)
        mask |= XCB_MOD_MASK_CONTROL;
    if (flags & Hotkeys::Shift)
        mask |= XCB_MOD_MASK_SHIFT;
    return mask;
}

class X11Hotkeys final : public Hotkeys, public QAbstractNativeEventFilter
{
public:
    explicit X11Hotkeys(xcb_connection_t *connection) : m_conn(connection)
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_conn)).data->root;
        m_symbols = xcb_key_symbols_alloc(m_conn);
        m_numLock = numLockMask();
        qApp->installNativeEventFilter(this);
    }

    ~X11Hotkeys() override
    {
        qApp->removeNativeEventFilter(this);
        unregisterAll();
        xcb_key_symbols_free(m_symbols);
    }

    bool registerHotkey(int id, int modifiers, int key) override
    {
        unregisterHotkey(id);
        if (!isValid(modifiers, key))
            return false;
        Grab grab{xcbModifiers(modifiers), keycodes(KeysymF1 + xcb_keysym_t(key - F1))};
        if (grab.keycodes.isEmpty())
            return false;
        QList<std::pair<quint16, xcb_keycode_t>> done;
        for (xcb_keycode_t code : grab.keycodes) {
            for (quint16 extra : variants()) {
                const quint16 mods = grab.modifiers | extra;
                xcb_generic_error_t *error = xcb_request_check(
                    m_conn, xcb_grab_key_checked(m_conn, 0, m_root, mods, code, XCB_GRAB_MODE_ASYNC,
                                                 XCB_GRAB_MODE_ASYNC));
                if (error) {
                    free(error);
                    for (const auto &[m, c] : done)
                        xcb_ungrab_key(m_conn, c, m_root, m);
                    xcb_flush(m_conn);
                    return false;
                }
                done.append({mods, code});
            }
        }
        m_grabs[id] = grab;
        return true;
    }

    void unregisterHotkey(int id) override
    {
        const auto it = m_grabs.find(id);
        if (it == m_grabs.end())
            return;
        for (xcb_keycode_t code : it->second.keycodes)
            for (quint16 extra : variants())
                xcb_ungrab_key(m_conn, code, m_root, it->second.modifiers | extra);
        xcb_flush(m_conn);
        m_grabs.erase(it);
    }

    bool isRegistered(int id) const override { return m_grabs.count(id) != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        if (eventType != "xcb_generic_event_t")
            return false;
        auto *event = static_cast<xcb_generic_event_t *>(message);
        if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
            return false;
        auto *press = reinterpret_cast<xcb_key_press_event_t *>(event);
        if (press->event != m_root)
            return false;
        const quint16 mods = press->state & Relevant;
        for (const auto &[id, grab] : m_grabs) {
            if (grab.modifiers == mods && grab.keycodes.contains(press->detail)) {
                Q_EMIT triggered(id);
                return true;
            }
        }
        return false;
    }

private:
    struct Grab
    {
        quint16 modifiers = 0;
        QList<xcb_keycode_t> keycodes;
    };

    QList<quint16> variants() const
    {
        return {0, XCB_MOD_MASK_LOCK, m_numLock, quint16(m_numLock | XCB_MOD_MASK_LOCK)};
    }

    QList<xcb_keycode_t> keycodes(xcb_keysym_t sym) const
    {
        QList<xcb_keycode_t> codes;
        xcb_keycode_t *found = xcb_key_symbols_get_keycode(m_symbols, sym);
        for (xcb_keycode_t *c = found; c && *c != XCB_NO_SYMBOL; ++c)
            if (!codes.contains(*c))
                codes.append(*c);
        free(found);
        return codes;
    }

    // The modifier bit NumLock sets; Mod2 on nearly every keymap.
    quint16 numLockMask() const
    {
        const QList<xcb_keycode_t> numLock = keycodes(KeysymNumLock);
        xcb_get_modifier_mapping_reply_t *reply =
            xcb_get_modifier_mapping_reply(m_conn, xcb_get_modifier_mapping(m_conn), nullptr);
        quint16 mask = XCB_MOD_MASK_2;
        if (reply) {
            const xcb_keycode_t *map = xcb_get_modifier_mapping_keycodes(reply);
            const int perModifier = reply->keycodes_per_modifier;
            for (int m = 0; m < 8; ++m)
                for (int i = 0; i < perModifier; ++i)
                    if (numLock.contains(map[m * perModifier + i]))
                        mask = quint16(1u << m);
            free(reply);
        }
        return mask;
    }

    xcb_connection_t *m_conn;
    xcb_window_t m_root = 0;
    xcb_key_symbols_t *m_symbols = nullptr;
    quint16 m_numLock = XCB_MOD_MASK_2;
    std::map<int, Grab> m_grabs;
};

} // namespace

std::unique_ptr<Hotkeys> Hotkeys::create()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return std::make_unique<UnavailableHotkeys>();
    return std::make_unique<X11Hotkeys>(x11->connection());
}
