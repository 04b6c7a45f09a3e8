#pragma once

#include <QObject>
#include <QString>
#include <memory>

// System-wide hotkeys: a small registry of ids, each a modifier set and a key,
// that reports a press with triggered(id) whichever application has the focus.
// One implementation per platform, chosen by the build; create() gives it.
class Hotkeys : public QObject
{
    Q_OBJECT
public:
    // Modifier flags as the environment record keeps them.
    enum Modifier
    {
        Alt = 1,
        Ctrl = 2,
        Shift = 4
    };
    // Keys are the virtual-key codes of F1 (112) to F12 (123).
    static constexpr int F1 = 112;
    static constexpr int F12 = 123;

    // The platform's registry; on a display without global grabs, one whose
    // every registration fails.
    static std::unique_ptr<Hotkeys> create();

    ~Hotkeys() override;

    // False when the combination is taken (by another program, or is not a
    // modifier set and key we know); id is then not registered. An id already
    // registered is released first.
    virtual bool registerHotkey(int id, int modifiers, int key) = 0;
    virtual void unregisterHotkey(int id) = 0;
    virtual bool isRegistered(int id) const = 0;
    void unregisterAll();

    static bool isValid(int modifiers, int key)
    {
        return modifiers >= 1 && modifiers <= (Alt | Ctrl | Shift) && key >= F1 && key <= F12;
    }

Q_SIGNALS:
    void triggered(int id);

protected:
    static constexpr int MaxId = 7;
};

// The registry for displays that cannot grab keys for the whole desktop: every
// registration fails, so the user is told rather than left waiting for a key.
class UnavailableHotkeys final : public Hotkeys
{
public:
    bool registerHotkey(int, int, int) override { return false; }
    void unregisterHotkey(int) override {}
    bool isRegistered(int) const override { return false; }
};
