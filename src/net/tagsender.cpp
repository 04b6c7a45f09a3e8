#include "tagsender.h"

#include "cp932.h"
#include "netendpoint.h"
#include "participants.h"

TagSender::TagSender(NetEndpoint &endpoint, QObject *parent) : QObject(parent), m_endpoint(endpoint)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(PauseMs);
    connect(&m_pause, &QTimer::timeout, this, &TagSender::step);
}

bool TagSender::start(const Net::TagDatagram &record, const QList<quint32> &recipients)
{
    if (isBusy())
        return false;
    m_record = record.bytes();
    m_logText = Cp932::decode(record.rawText(Net::TagWire::Message));
    m_to = recipients;
    m_index = 0;
    m_phase = 0;
    m_cancelled = false;
    if (m_to.isEmpty()) {
        end();
        return true;
    }
    step();
    return true;
}

void TagSender::cancel()
{
    if (isBusy())
        m_cancelled = true;
}

void TagSender::step()
{
    const quint32 to = m_to.at(m_index);
    if (m_phase < 2) {
        // The dummies let the path to a host not talked to lately settle first.
        m_endpoint.SendDatagram(to, Net::dummy());
        ++m_phase;
        m_pause.start();
        return;
    }
    m_endpoint.SendDatagram(to, m_record, Net::sendTagLabel(), m_logText);
    Q_EMIT recipientDone(m_index);
    m_phase = 0;
    if (++m_index >= m_to.size() || m_cancelled) {
        end();
        return;
    }
    step();
}

void TagSender::end()
{
    const int served = m_index;
    const bool cancelled = m_cancelled && m_index < m_to.size();
    m_index = -1;
    m_to.clear();
    Q_EMIT finished(served, cancelled);
}

namespace {
std::optional<QString> checkRows(const ParticipantTable &table, const QList<int> &rows,
                                 const QString &none, const QString &unselected)
{
    if (table.last() == 0)
        return none;
    if (rows.isEmpty())
        return unselected;
    for (int row : rows) {
        if (row < 1 || row > table.last() || table.at(row).name.isEmpty())
            return QStringLiteral("このユーザーは、プログラムを終了しました。");
    }
    return std::nullopt;
}
} // namespace

std::optional<QString> checkTagRecipients(const ParticipantTable &table, const QList<int> &rows,
                                          bool sealed, const QString &password)
{
    if (auto fault = checkRows(table, rows, QStringLiteral("タグを送るユーザーがいません。"),
                               QStringLiteral("タグを送るユーザーを選択して下さい。")))
        return fault;
    if (!password.trimmed().isEmpty() && !sealed)
        return QStringLiteral("開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るを"
                              "チェックして下さい。");
    return std::nullopt;
}

std::optional<QString> checkChatPartner(const ParticipantTable &table, const QList<int> &rows)
{
    return checkRows(table, rows, QStringLiteral("チャットを行うユーザーがいません。"),
                     QStringLiteral("チャットを行うユーザーを選択して下さい。"));
}

void sealForSending(Net::TagDatagram &record, bool sealed, const QString &password,
                    const QString &localIpText, const QString &userName)
{
    using namespace Net::TagWire;
    record.setText(TagId, QStringLiteral("00000"));
    record.setText(State, QStringLiteral("0"));
    record.setText(Sealed, sealed ? QStringLiteral("1") : QStringLiteral("0"));
    record.setText(Password, password.left(8));
    record.setText(SenderIp, localIpText.trimmed());
    record.setText(Text24, userName);
}
