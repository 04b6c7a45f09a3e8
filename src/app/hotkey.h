#pragma once

#include "hotkeyplan.h"

#include <QDialog>

class Hotkeys;
class Prompt;
class QComboBox;
class Settings;

// The form HotKey: a modifier combination and a function key for each of the
// seven actions. 登録 registers them all and keeps them in record 1; leaving
// the form any other way switches the hotkeys off.
class HotKey : public QDialog
{
    Q_OBJECT
public:
    HotKey(Hotkeys &hotkeys, Settings &settings, Prompt &prompt, QWidget *parent = nullptr);

    HotkeyPlan::Picks picks() const;
    void setPicks(const HotkeyPlan::Picks &picks);
    QComboBox *modifierBox(int action) const { return m_mods[action - 1]; }
    QComboBox *keyBox(int action) const { return m_keys[action - 1]; }

    // cmd_Entry
    void entry();

    void done(int result) override;

private:
    Hotkeys &m_hotkeys;
    Settings &m_settings;
    Prompt &m_prompt;
    std::array<QComboBox *, HotkeyPlan::Count> m_mods{};
    std::array<QComboBox *, HotkeyPlan::Count> m_keys{};
    bool m_completed = false;
};
