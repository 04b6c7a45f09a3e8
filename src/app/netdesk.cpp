#include "netdesk.h"

#include "envrecord.h"
#include "frmnetwork.h"
#include "grouplist.h"
#include "netsetup.h"
#include "prompt.h"
#include "settings.h"
#include "tagstore.h"

namespace {
void bringUp(QWidget *w)
{
    w->show();
    w->raise();
    w->activateWindow();
}
} // namespace

NetDesk::NetDesk(const QString &logPath, TagStore &store, Settings &settings, Prompt &prompt, const Clock &clock,
                 IdentitySource identity, QObject *parent)
    : QObject(parent), m_store(store), m_settings(settings), m_prompt(prompt), m_identitySource(std::move(identity)),
      m_log(logPath, clock), m_endpoint(m_log, clock, prompt)
{
}

NetDesk::~NetDesk()
{
    delete m_groupList;
    delete m_setup;
    delete m_info;
}

QString NetDesk::notConfiguredText()
{
    return QStringLiteral("ネットワークの設定が行われていないので利用できません。");
}

void NetDesk::startUp(const EnvRecord &env)
{
    m_log.setEnabled(env.byte(Env::LogEnabled) != 0);
    if (env.byte(Env::NetConfigured) != 1)
        return;
    m_identity = m_identitySource();
    if (identityChanged(env, m_identity)) {
        m_prompt.inform(QStringLiteral(
            "ネットワークの設定が変更された為、ネットワークの設定を今回は確立しません。"));
        return;
    }
    m_usable = true;
    m_endpoint.StartNetwork(config(env));
}

NetConfig NetDesk::config(const EnvRecord &env) const
{
    NetConfig c = netConfigFrom(env, m_identity.address);
    c.bindAddress = m_bind;
    return c;
}

void NetDesk::openGroupList()
{
    if (!m_usable) {
        m_prompt.inform(notConfiguredText());
        return;
    }
    if (!m_groupList) {
        auto *list = new GroupList(m_endpoint);
        list->setAttribute(Qt::WA_DeleteOnClose);
        m_groupList = list;
    }
    bringUp(m_groupList);
}

void NetDesk::retry()
{
    if (!m_usable) {
        m_prompt.inform(notConfiguredText());
        return;
    }
    m_endpoint.RestartNetwork(config(m_settings.env()));
}

void NetDesk::showNetwork()
{
    if (!m_info) {
        auto *info = new FrmNetwork;
        info->setAttribute(Qt::WA_DeleteOnClose);
        m_info = info;
    }
    bringUp(m_info);
}

void NetDesk::openNetSetup()
{
    if (!m_setup) {
        const LocalIdentity local = m_identitySource();
        if (local.address == 0)
            m_prompt.inform(QStringLiteral("ネットワーク環境が正しくありません。"));
        auto *setup = new NetSetup(m_settings, local, m_prompt);
        setup->setAttribute(Qt::WA_DeleteOnClose);
        connect(setup, &NetSetup::settingsStored, this, [this, local] {
            m_identity = local;
            settingsStored();
        });
        m_setup = setup;
    }
    bringUp(m_setup);
}

void NetDesk::settingsStored()
{
    // The settings now belong to this host: the LAN entries work from here on.
    m_usable = true;
    m_endpoint.setSettingsSaved();
    m_endpoint.RestartNetwork(config(m_settings.env()));
}

void NetDesk::logoutAndStop()
{
    m_endpoint.logoutAndStop();
}
