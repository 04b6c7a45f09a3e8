#include "netsetupinput.h"

#include "cp932.h"
#include "envrecord.h"

namespace {

bool isDigits(const QString &s)
{
    if (s.isEmpty())
        return false;
    for (QChar c : s) {
        if (c < u'0' || c > u'9')
            return false;
    }
    return true;
}

// An octet box's value; a box that is not a number counts as too large.
int octetValue(const QString &s)
{
    const QString t = s.trimmed();
    if (!isDigits(t) || t.size() > 3)
        return 1000;
    return t.toInt();
}

QString box(int column, int row)
{
    return QStringLiteral("txt_IP%1_%2").arg(column + 1).arg(row);
}

NetSetupFault fault(const char16_t *message, const QString &control)
{
    return {QString::fromUtf16(message), control};
}

} // namespace

std::optional<NetSetupFault> validateNetSetup(const NetSetupInput &in)
{
    const QString port = in.port.trimmed();
    const QString portBox = QStringLiteral("txt_PortNo");
    if (port.isEmpty())
        return fault(u"ポート番号を指定して下さい。", portBox);
    if (!isDigits(port))
        return fault(u"ポート番号は、数値を指定して下さい。", portBox);
    // Counted without leading zeros, so "0999" is port 999 and refused like it.
    QString significant = port;
    while (significant.size() > 1 && significant.startsWith(u'0'))
        significant.remove(0, 1);
    if (significant.size() < 4)
        return fault(u"ポート番号は、４桁以上で指定して下さい。", portBox);
    if (significant.size() > 5 || significant.toInt() > 65535)
        return fault(u"ポート番号は、６５５３５以内で指定して下さい。", portBox);

    const QString name = in.userName.trimmed();
    const QString nameBox = QStringLiteral("txt_UserName");
    if (name.isEmpty())
        return fault(u"ユーザー名を指定して下さい。", nameBox);
    if (Cp932::byteLength(name) > UserNameBytes)
        return fault(u"ユーザー名が長すぎます。漢字１６文字以内で入力して下さい。", nameBox);

    bool anyRow = false;
    for (int row = 0; row < TargetSlots; ++row) {
        const auto &o = in.octets[std::size_t(row)];
        int filled = 0;
        for (const QString &s : o)
            filled += !s.trimmed().isEmpty();
        if (filled == 0)
            continue;
        // 254 and 255 are refused in the first two octets, as the message says.
        for (int c = 0; c < 2; ++c) {
            if (!o[std::size_t(c)].trimmed().isEmpty() && octetValue(o[std::size_t(c)]) >= 254)
                return fault(u"アドレスに２５４以上の値は指定できません。", box(c, row));
        }
        for (int c = 2; c < 4; ++c) {
            if (!o[std::size_t(c)].trimmed().isEmpty() && octetValue(o[std::size_t(c)]) > 255)
                return fault(u"アドレスに２５５以上の値は指定できません。", box(c, row));
        }
        if (filled < 4) {
            int empty = 0;
            while (!o[std::size_t(empty)].trimmed().isEmpty())
                ++empty;
            return fault(u"アドレスは、全て入力して下さい。", box(empty, row));
        }
        // A network (x.y.z.0) or 0.x.y.z is no target; zeros inside are ordinary.
        for (int c : {0, 3}) {
            if (octetValue(o[std::size_t(c)]) == 0)
                return fault(u"アドレスに０は指定できません。", box(c, row));
        }
        anyRow = true;
    }
    if (!anyRow)
        return fault(u"ブロードキャストアドレスを、少なくとも１個所は指定して下さい。", box(0, 0));
    for (int row = 0; row < TargetSlots; ++row) {
        const auto &o = in.octets[std::size_t(row)];
        if (in.sequential[std::size_t(row)] && !o[3].trimmed().isEmpty() && octetValue(o[3]) != 255)
            return fault(u"シーケンシャル送信を行う場合は、２５５を指定して下さい。", box(3, row));
    }
    return std::nullopt;
}

NetSetupInput netSetupFromEnv(const EnvRecord &env, const LocalIdentity &local)
{
    NetSetupInput in;
    in.userName = env.userName();
    if (env.byte(Env::NetConfigured) != 1) {
        in.port = QStringLiteral("12222");
        if (local.address) {
            const quint32 a = (local.address & 0xFFFFFF00u) | 0xFFu;
            for (int c = 0; c < 4; ++c)
                in.octets[0][std::size_t(c)] = QString::number((a >> (24 - 8 * c)) & 0xFF);
        }
        return in;
    }
    in.port = QString::number(env.portNo());
    for (int row = 0; row < TargetSlots; ++row) {
        const quint32 a = env.broadcastAddress(row);
        in.sequential[std::size_t(row)] = env.sequential(row);
        if (a == 0)
            continue;
        for (int c = 0; c < 4; ++c)
            in.octets[std::size_t(row)][std::size_t(c)] =
                QString::number((a >> (24 - 8 * c)) & 0xFF);
    }
    return in;
}

void storeNetSetup(const NetSetupInput &in, const LocalIdentity &local, EnvRecord &env)
{
    env.setPortNo(quint16(in.port.trimmed().toUInt()));
    // A TAB would end the name early in every start request.
    env.setText(Env::UserName, in.userName.trimmed().replace(u'\t', u' '));
    for (int row = 0; row < TargetSlots; ++row) {
        const auto &o = in.octets[std::size_t(row)];
        quint32 a = 0;
        if (!o[0].trimmed().isEmpty()) {
            for (int c = 0; c < 4; ++c)
                a = (a << 8) | quint32(octetValue(o[std::size_t(c)]));
        }
        env.setBroadcastAddress(row, a);
        env.setSequential(row, a != 0 && in.sequential[std::size_t(row)]);
    }
    env.setText(Env::NetHostName, local.hostName);
    env.setText(Env::NetLocalIp, local.addressText());
    env.setByte(Env::NetConfigured, 1);
}
