#include "nettags.h"

#include "netlog.h"
#include "prompt.h"
#include "scheduler.h"
#include "settings.h"
#include "tagstore.h"
#include "tagwire.h"

std::optional<int> ReceiveTag(const TagStore &store, const Net::TagDatagram &wire,
                              const QString &senderName, const QString &senderAddress,
                              QString *error)
{
    TagRecord tag = TagWireMap::receivedTag(wire, senderName, senderAddress);
    return store.addTag(tag, error);
}

ResultLines resultLines(const Net::Message &m)
{
    const bool opened = m.code == Net::OpeningConfirmation;
    return {opened ? QStringLiteral("以下に示す付箋が開封されました。")
                   : QStringLiteral("以下に示す付箋が開封せずに廃棄されました。"),
            m.name + (opened ? QStringLiteral("から開封確認が届きました。")
                             : QStringLiteral("から廃棄確認が届きました。")),
            m.text};
}

NetTags::NetTags(NetEndpoint &endpoint, const TagStore &store, const Settings &settings,
                 Prompt &prompt, QObject *parent)
    : QObject(parent), m_endpoint(endpoint), m_store(store), m_settings(settings), m_prompt(prompt)
{
    m_endpoint.setTagReceiver(this);
    m_endpoint.setConfirmationReceiver(this);
    m_monotonic.start();
}

NetTags::~NetTags()
{
    m_endpoint.setTagReceiver(nullptr);
    m_endpoint.setConfirmationReceiver(nullptr);
}

QString NetTags::senderName(const Net::TagDatagram &record, quint32 from) const
{
    const QString named = record.text(Net::TagWire::Text24);
    if (!named.isEmpty())
        return named;
    if (const int i = m_endpoint.participants().find(from))
        return m_endpoint.participants().at(i).name;
    return NetLog::AddrToText(from).trimmed();
}

// Confirmations go to field 31, but only inside the networks we listen to: a
// record cannot aim them at some other host. Otherwise they go where it came from.
QString NetTags::answerAddress(const Net::TagDatagram &record, quint32 from) const
{
    const quint32 stated = NetLog::TextToAddr(record.text(Net::TagWire::SenderIp));
    const quint32 to = stated != 0 && acceptsSource(m_endpoint.config(), stated) ? stated : from;
    return NetLog::AddrToText(to).trimmed();
}

void NetTags::receiveTag(const Net::TagDatagram &record, quint32 from)
{
    if (!m_tagGate.admit(from, m_monotonic.elapsed())) {
        qWarning().noquote() << "Pinboard: too many tags from" << NetLog::AddrToText(from).trimmed()
                             << "this minute; dropped unanswered";
        return;
    }
    QString error;
    const auto k =
        ReceiveTag(m_store, record, senderName(record, from), answerAddress(record, from), &error);
    if (!k) {
        // Not stored: no answer, so the sender is not told it arrived.
        qWarning().noquote() << "Pinboard: a tag from" << NetLog::AddrToText(from).trimmed()
                             << "was not stored:" << error;
        return;
    }
    if (record.text(Net::TagWire::Sealed) == u"1")
        Q_EMIT sealedArrived(*k);
    else
        Q_EMIT tagArrived(*k);
    m_endpoint.SendDatagram(from, Net::tagReceived(m_endpoint.config().userName),
                            Net::label(Net::TagReceived));
}

void NetTags::tagReceipt(const Net::Message &answer, quint32)
{
    if (m_settings.env().byte(Env::ShowReceipts) != 1)
        return;
    const QString line = answer.text + QStringLiteral(" Received");
    m_receipts.append(line);
    if (m_receipts.size() > MaxReceipts)
        m_receipts.removeFirst();
    Q_EMIT receiptAdded(line);
}

void NetTags::confirmation(const Net::Message &message, quint32 from)
{
    if (!m_confirmationGate.admit(from, m_monotonic.elapsed())) {
        qWarning().noquote() << "Pinboard: too many confirmations from"
                             << NetLog::AddrToText(from).trimmed() << "this minute; dropped";
        return;
    }
    Q_EMIT confirmationArrived(resultLines(message));
}

bool NetTags::rewrite(int k, const TagRecord &tag)
{
    QString error;
    if (m_store.writeTag(k, tag, &error))
        return true;
    m_prompt.warn(error);
    return false;
}

void NetTags::confirm(Net::Code code, const TagRecord &tag)
{
    const quint32 to = NetLog::TextToAddr(tag.text(Tag::SenderAddress));
    if (to == 0)
        return;
    m_endpoint.SendDatagram(
        to, Net::confirmation(code, m_endpoint.config().userName, tag.message()), Net::label(code));
}

NetTags::Opened NetTags::openSealed(int k)
{
    auto tag = m_store.readTag(k);
    if (!tag || !isHeldSealed(*tag))
        return Opened::Failed;
    const QString password = tag->text(Tag::Password);
    if (!password.isEmpty()) {
        const auto typed = m_prompt.askText(
            QStringLiteral("この付箋を開くにはパスワードが必要です。パスワードを入力して下さい。"),
            QStringLiteral("パスワード確認"));
        if (!typed)
            return Opened::Cancelled;
        if (*typed != password) {
            m_prompt.warn(QStringLiteral("パスワードが正しくありません。"));
            return Opened::WrongPassword;
        }
    }
    tag->setByte(Tag::SealedFlag, 0);
    tag->setText(Tag::Password, QString());
    if (!rewrite(k, *tag))
        return Opened::Failed;
    Q_EMIT sealedOpened(k);
    confirm(Net::OpeningConfirmation, *tag);
    return Opened::Opened;
}

bool NetTags::discardSealed(int k)
{
    auto tag = m_store.readTag(k);
    if (!tag || !isHeldSealed(*tag))
        return false;
    if (!m_prompt.askDestructive(tag->text(Tag::SenderName) +
                                     QStringLiteral("から送られた付箋を開かずに廃棄します。"
                                                    "よろしいですか？"),
                                 QStringLiteral("廃棄確認")))
        return false;
    tag->setStateMark(TagRecord::InTrash);
    tag->setByte(Tag::SealedFlag, 0);
    if (!rewrite(k, *tag))
        return false;
    Q_EMIT sealedDiscarded(k);
    confirm(Net::AbandonmentConfirmation, *tag);
    return true;
}
