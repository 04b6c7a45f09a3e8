#pragma once

#include "chatsession.h"
#include "commlog.h"
#include "localaddress.h"
#include "netendpoint.h"
#include "nettags.h"
#include "tagsender.h"

#include <QObject>
#include <QPointer>
#include <functional>
#include <map>
#include <memory>

class Clock;
class EnvRecord;
class Prompt;
class QWidget;
class Settings;
class TagRecord;
class TagStore;

// Everything LAN in the running program: the endpoint with its log, and the
// participant list, settings and adapter windows.
class NetDesk : public QObject
{
    Q_OBJECT
public:
    using IdentitySource = std::function<LocalIdentity()>;

    NetDesk(const QString &logPath, TagStore &store, Settings &settings, Prompt &prompt,
            const Clock &clock, IdentitySource identity, QObject *parent = nullptr);
    ~NetDesk() override;

    static QString notConfiguredText();
    // Windows the LAN may open at once; more wait (sealed tags) or are dropped
    // (confirmations), so no peer can bury the desktop.
    static constexpr int MaxSealedForms = 20;
    static constexpr int MaxResultForms = 10;

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

    // Tags, receipts, sealed tags and chat; the settings are read for the
    // receipts switch and the defaults of a tag made from text.
    void attach();
    NetTags *tags() const { return m_tags.get(); }
    ChatSession &chat() { return m_chat; }

    // cmd_AddNet: the editor's checks have passed; UserSelect sends record.
    void openUserSelect(const TagRecord &record, QWidget *parent = nullptr);
    // 他のｺﾝﾋﾟｭｰﾀに送る: stored tag k, after the editor's send checks.
    void sendTag(int k, QWidget *parent = nullptr);
    // Sends text as a new tag (the current default look, shown at once) to the
    // participants at recipients, with the same dummies and pauses as UserSelect
    // and no dialog. False when the network is not usable or another such send
    // is still running.
    bool sendTextAsTag(const QString &text, const QList<quint32> &recipients);
    // The same text as a tag with the current default look, to the participants
    // the user picks in UserSelect (hotkey 5).
    void chooseAndSendText(const QString &text);
    TagRecord tagFromText(const QString &text) const;

    void openChat();         // mnu_Chat
    void startPrivateChat(); // mnu_PrvChat
    // The sealed tags left in the store by the last run get their windows again.
    void raiseStoredSealed(const QList<int> &ks);

Q_SIGNALS:
    // A tag came in and was stored (k), or a sealed one was opened: the desktop
    // evaluates and shows it.
    void tagArrived(int k);
    void sealedOpened(int k);
    void sealedDiscarded(int k);

private:
    void raiseSealed(int k);
    void showReceipt(const QString &line);
    void showResult(const ResultLines &lines);
    void openPrivate(const QString &caption);

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
    std::unique_ptr<NetTags> m_tags;
    ChatSession m_chat;
    TagSender m_textSender;
    QPointer<QWidget> m_userSelect;
    QPointer<QWidget> m_receipts;
    QPointer<QWidget> m_netChat;
    QPointer<QWidget> m_netChatP;
    QPointer<QWidget> m_partnerSelect;
    QPointer<QWidget> m_chatRequest;
    std::map<int, QPointer<QWidget>> m_sealed;
    // Sealed tags beyond MaxSealedForms wait here for a form to close.
    QList<int> m_sealedWaiting;
    QList<QPointer<QWidget>> m_results;
};
