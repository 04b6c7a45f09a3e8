#pragma once

#include "localaddress.h"
#include "netsetupinput.h"

#include <QDialog>

class Prompt;
class QCheckBox;
class QLineEdit;
class Settings;

// NetSetup: port, participant name and the 16 broadcast targets. OK checks the
// input in order, stores it in record 1 and reports settingsStored().
class NetSetup : public QDialog
{
    Q_OBJECT
public:
    NetSetup(Settings &settings, const LocalIdentity &local, Prompt &prompt,
             QWidget *parent = nullptr);

    NetSetupInput input() const;

Q_SIGNALS:
    void settingsStored();

private:
    void accept() override;

    Settings &m_settings;
    LocalIdentity m_local;
    Prompt &m_prompt;
    QLineEdit *m_port;
    QLineEdit *m_name;
    std::array<std::array<QLineEdit *, 4>, TargetSlots> m_octets{};
    std::array<QCheckBox *, TargetSlots> m_sequential{};
};
