#include "hotkeys.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QString>
#include <map>

#include <windows.h>

// Hotkeys on Windows: RegisterHotKey for the thread's messages under a global
// atom "PINBOARDHOTKEY<id>"; WM_HOTKEY carries the atom back.
namespace {

class WinHotkeys final : public Hotkeys, public QAbstractNativeEventFilter
{
public:
    WinHotkeys() { qApp->installNativeEventFilter(this); }

    ~WinHotkeys() override
    {
        qApp->removeNativeEventFilter(this);
        unregisterAll();
    }

    bool registerHotkey(int id, int modifiers, int key) override
    {
        unregisterHotkey(id);
        if (!isValid(modifiers, key))
            return false;
        const std::wstring name = QStringLiteral("PINBOARDHOTKEY%1").arg(id).toStdWString();
        const ATOM atom = GlobalAddAtomW(name.c_str());
        if (atom == 0)
            return false;
        // Alt 1, Ctrl 2, Shift 4 are MOD_ALT, MOD_CONTROL and MOD_SHIFT as they stand.
        if (!RegisterHotKey(nullptr, atom, UINT(modifiers) | MOD_NOREPEAT, UINT(key))) {
            GlobalDeleteAtom(atom);
            return false;
        }
        m_atoms[id] = atom;
        return true;
    }

    void unregisterHotkey(int id) override
    {
        const auto it = m_atoms.find(id);
        if (it == m_atoms.end())
            return;
        UnregisterHotKey(nullptr, it->second);
        GlobalDeleteAtom(it->second);
        m_atoms.erase(it);
    }

    bool isRegistered(int id) const override { return m_atoms.count(id) != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) override
    {
        if (eventType != "windows_generic_MSG")
            return false;
        const MSG *msg = static_cast<const MSG *>(message);
        if (msg->message != WM_HOTKEY)
            return false;
        for (const auto &[id, atom] : m_atoms) {
            if (msg->wParam == WPARAM(atom)) {
                Q_EMIT triggered(id);
                return true;
            }
        }
        return false;
    }

private:
    std::map<int, ATOM> m_atoms;
};

} // namespace

std::unique_ptr<Hotkeys> Hotkeys::create()
{
    return std::make_unique<WinHotkeys>();
}
