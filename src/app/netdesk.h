#pragma once

#include "commlog.h"
#include "localaddress.h"
#include "netendpoint.h"

#include <QObject>
#include <QPointer>
#include <functional>

class Clock;
class EnvRecord;
class Prompt;
class QWidget;
class Settings;
class TagStore;

// Everything LAN in the running program: the endpoint with its log, and the
// participant list, settings and adapter windows.
class NetDesk : public QObject
{
    Q_OBJECT
public:
    using IdentitySource = std::function<LocalIdentity()>;

    NetDesk(const QString &logPath, TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock,
            IdentitySource identity, QObject *parent = nullptr);
    ~NetDesk() override;

    static QString notConfiguredText();

    // 0.0.0.0 in the program; tests put it on one loopback address.
    void setBindAddress(const QHostAddress &address) { m_bind = address; }

    // Start-up: the stored identity is checked against this host, then the
    // network starts. Nothing starts before the settings have been stored once.
    void startUp(const EnvRecord &env);
    // Configured, and this host is the one the settings were stored on.
    bool isUsable() const { return m_usable; }
    NetEndpoint &endpoint() { return m_endpoint; }
    CommLog &log() { return m_log; }

    void openGroupList(); // mnu_Group
    void retry();         // mnu_Retry_Net
    void showNetwork();   // mnu_ShowNetWork
    void openNetSetup();  // mnu_NetSet
    void logoutAndStop(); // exit

private:
    void settingsStored();
    NetConfig config(const EnvRecord &env) const;

    TagStore &m_store;
    Settings &m_settings;
    Prompt &m_prompt;
    IdentitySource m_identitySource;
    LocalIdentity m_identity;
    CommLog m_log;
    NetEndpoint m_endpoint;
    QHostAddress m_bind{QHostAddress::AnyIPv4};
    bool m_usable = false;
    QPointer<QWidget> m_groupList;
    QPointer<QWidget> m_setup;
    QPointer<QWidget> m_info;
};
