#include "netdesk.h"

#include "bringup.h"
#include "chatreq.h"
#include "envrecord.h"
#include "frmnetwork.h"
#include "grouplist.h"
#include "netchat.h"
#include "netchatp.h"
#include "netlog.h"
#include "netsetup.h"
#include "prompt.h"
#include "rcvresult.h"
#include "resultform.h"
#include "sealedform.h"
#include "settings.h"
#include "tagactions.h"
#include "tagentryinput.h"
#include "tagstore.h"
#include "tagwire.h"
#include "userselct2.h"
#include "userselect.h"

#include <QDebug>

NetDesk::NetDesk(const QString &logPath, TagStore &store, Settings &settings, Prompt &prompt,
                 const Clock &clock, IdentitySource identity, QObject *parent)
    : QObject(parent), m_store(store), m_settings(settings), m_prompt(prompt),
      m_identitySource(std::move(identity)), m_log(logPath, clock),
      m_endpoint(m_log, clock, prompt), m_chat(m_endpoint, prompt), m_textSender(m_endpoint)
{
    connect(&m_chat, &ChatSession::globalLine, this, [this] {
        // A line heard while the window is closed opens it, so nothing said is missed.
        if (!m_netChat)
            openChat();
    });
    connect(&m_chat, &ChatSession::invited, this, [this](const QString &name) {
        // One invitation on screen at a time: a later one takes its place.
        delete m_chatRequest;
        auto *ask = new ChatReq(name);
        ask->setAttribute(Qt::WA_DeleteOnClose);
        connect(ask, &QDialog::accepted, this, &NetDesk::openChat);
        m_chatRequest = ask;
        bringUp(ask);
    });
    connect(&m_chat, &ChatSession::privateOpened, this, &NetDesk::openPrivate);
    connect(&m_chat, &ChatSession::privateClosed, this, [this] {
        if (m_netChatP)
            m_netChatP->close();
    });
}

NetDesk::~NetDesk()
{
    m_sealedWaiting.clear();
    delete m_groupList;
    delete m_setup;
    delete m_info;
    for (QPointer<QWidget> *w :
         {&m_userSelect, &m_receipts, &m_netChat, &m_netChatP, &m_partnerSelect, &m_chatRequest})
        delete *w;
    for (auto &[k, w] : m_sealed)
        delete w;
}

void NetDesk::attach()
{
    m_tags = std::make_unique<NetTags>(m_endpoint, m_store, m_settings, m_prompt);
    connect(m_tags.get(), &NetTags::tagArrived, this, &NetDesk::tagArrived);
    connect(m_tags.get(), &NetTags::sealedArrived, this, &NetDesk::raiseSealed);
    connect(m_tags.get(), &NetTags::sealedOpened, this, &NetDesk::sealedOpened);
    connect(m_tags.get(), &NetTags::sealedDiscarded, this, &NetDesk::sealedDiscarded);
    connect(m_tags.get(), &NetTags::receiptAdded, this, &NetDesk::showReceipt);
    connect(m_tags.get(), &NetTags::confirmationArrived, this, &NetDesk::showResult);
}

void NetDesk::openUserSelect(const TagRecord &record, QWidget *parent)
{
    if (m_userSelect) {
        bringUp(m_userSelect);
        return;
    }
    Net::TagDatagram wire = TagWireMap::toDatagram(record);
    // The editor's seal check box and password preset the dialog's.
    wire.setText(Net::TagWire::Sealed,
                 record.isSealed() ? QStringLiteral("1") : QStringLiteral("0"));
    wire.setText(Net::TagWire::Password, record.text(Tag::Password));
    auto *dialog = new UserSelect(m_endpoint, m_prompt, wire, parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
    m_userSelect = dialog;
    bringUp(dialog);
}

void NetDesk::sendTag(int k, QWidget *parent)
{
    QString error;
    const auto tag = m_store.readTag(k, &error);
    if (!tag) {
        m_prompt.warn(error);
        return;
    }
    TagEntryInput in = fromRecord(*tag);
    // The send checks of the editor, as if it had been opened on this tag.
    const SendCheck check = validateForSend(in, m_usable, m_prompt);
    if (check.verdict == SendVerdict::Fault)
        m_prompt.warn(check.fault.message);
    if (check.verdict != SendVerdict::Ready)
        return;
    TagRecord record = *tag;
    record.setMessage(TagEntryText::stored(in.message));
    openUserSelect(record, parent);
}

TagRecord NetDesk::tagFromText(const QString &text) const
{
    const EnvRecord &env = m_settings.env();
    TagRecord record = TagActions::newTag(env);
    // Stored with CR LF line ends, however the text came.
    record.setMessage(TagEntryText::stored(text));
    return record;
}

void NetDesk::chooseAndSendText(const QString &text)
{
    if (!m_usable) {
        m_prompt.inform(notConfiguredText());
        return;
    }
    openUserSelect(tagFromText(text));
}

bool NetDesk::sendTextAsTag(const QString &text, const QList<quint32> &recipients)
{
    if (!m_usable || !m_endpoint.isStarted() || m_textSender.isBusy())
        return false;
    Net::TagDatagram wire = TagWireMap::toDatagram(tagFromText(text));
    sealForSending(wire, false, QString(), NetLog::AddrToText(m_endpoint.config().localIp),
                   m_endpoint.config().userName);
    return m_textSender.start(wire, recipients);
}

void NetDesk::openChat()
{
    if (!m_usable) {
        m_prompt.inform(notConfiguredText());
        return;
    }
    if (!m_netChat) {
        auto *chat = new NetChat(m_chat);
        chat->setAttribute(Qt::WA_DeleteOnClose);
        m_netChat = chat;
    }
    bringUp(m_netChat);
}

void NetDesk::startPrivateChat()
{
    if (!m_usable) {
        m_prompt.inform(notConfiguredText());
        return;
    }
    if (m_chat.PrivateChatState() != PrivateChat::Idle) {
        m_prompt.inform(ChatSession::alreadyChattingText());
        return;
    }
    if (!m_partnerSelect) {
        auto *select = new UserSelct2(m_endpoint, m_chat, m_prompt);
        select->setAttribute(Qt::WA_DeleteOnClose);
        m_partnerSelect = select;
    }
    bringUp(m_partnerSelect);
}

void NetDesk::openPrivate(const QString &caption)
{
    delete m_netChatP;
    auto *chat = new NetChatP(m_chat, caption);
    chat->setAttribute(Qt::WA_DeleteOnClose);
    m_netChatP = chat;
    bringUp(chat);
}

void NetDesk::raiseStoredSealed(const QList<int> &ks)
{
    if (!m_tags)
        return;
    for (int k : ks)
        raiseSealed(k);
}

void NetDesk::raiseSealed(int k)
{
    std::erase_if(m_sealed, [](const auto &entry) { return entry.second.isNull(); });
    if (!m_sealed.contains(k) && int(m_sealed.size()) >= MaxSealedForms) {
        if (!m_sealedWaiting.contains(k))
            m_sealedWaiting.append(k);
        return;
    }
    QPointer<QWidget> &slot = m_sealed[k];
    if (!slot) {
        const auto tag = m_store.readTag(k);
        if (!tag) {
            m_sealed.erase(k);
            return;
        }
        auto *form = new SealedForm(*m_tags, k, *tag);
        form->setAttribute(Qt::WA_DeleteOnClose);
        // A closed form makes room for the next sealed tag that waits.
        connect(form, &QObject::destroyed, this, [this] {
            if (!m_sealedWaiting.isEmpty())
                QMetaObject::invokeMethod(
                    this,
                    [this] {
                        if (!m_sealedWaiting.isEmpty())
                            raiseSealed(m_sealedWaiting.takeFirst());
                    },
                    Qt::QueuedConnection);
        });
        slot = form;
    }
    bringUp(slot);
}

void NetDesk::showReceipt(const QString &line)
{
    if (!m_receipts) {
        auto *list = new RcvResult;
        list->setAttribute(Qt::WA_DeleteOnClose);
        m_receipts = list;
    }
    static_cast<RcvResult *>(m_receipts.data())->addLine(line);
    bringUp(m_receipts);
}

void NetDesk::showResult(const ResultLines &lines)
{
    m_results.removeAll(QPointer<QWidget>());
    if (m_results.size() >= MaxResultForms) {
        qWarning().noquote() << "Pinboard: a confirmation was dropped;" << MaxResultForms
                             << "are on screen";
        return;
    }
    auto *form = new ResultForm(lines);
    m_results.append(form);
    form->setAttribute(Qt::WA_DeleteOnClose);
    bringUp(form);
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
