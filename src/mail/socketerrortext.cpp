#include "socketerrortext.h"

#include "prompt.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QSysInfo>
#include <QTimer>

#include <algorithm>
#include <iterator>

namespace {
struct CodeText
{
    int code;
    const char16_t *text;
};

constexpr CodeText Texts[] = {
    {10004, u"呼び出しが取り消された。"},
    {10013, u"指定されたアドレスは、ブロードキャストパケットの送信をサポートしていない。"},
    {10014, u"32ビットインターネットアドレス指定に誤りがあります。"},
    {10022, u"関数の呼び出し順番に誤りがある。"},
    {10024, u"利用可能なファイル番号が存在しない。"},
    {10035, u"このソケットはノンブロッキング型である。"},
    {10036, u"ブロッキング呼び出し進行中。"},
    {10037, u"ノンブロッキング型の処理を処理中。"},
    {10038, u"ソケット以外を指定した。"},
    {10039, u"リモートアドレスが指定されていない。"},
    {10040, u"データがバッファより大きいので切りつめられた。"},
    {10041, u"ソケットは指定されたプロトコルをサポートしていない。"},
    {10042, u"プロトコルのオプションに誤りがある。"},
    {10043, u"指定されたプロトコルはサポートされていない。"},
    {10044, u"指定されたソケットタイプはサポートされていない。"},
    {10045, u"指定されたソケットがサポートしていない操作である。"},
    {10046, u"指定されたアドレスファミリがサポートされていない。"},
    {10047, u"指定されたプロトコルでは、指定されたアドレスファミリがサポートされていない。"},
    {10048, u"指定されたアドレスは使用中。"},
    {10049, u"指定されたアドレスは使用できない。"},
    {10050, u"ネットワークがダウンしている。"},
    {10051, u"リモートホストのネットワークに接続できない。"},
    {10052, u"ネットワークから切断された。"},
    {10053, u"ネットワーク不良で接続が中止された。"},
    {10054, u"リモートホストから切断された。"},
    {10055, u"バッファ領域不足。"},
    {10056, u"ソケットはすでに接続されている。"},
    {10057, u"ソケットが接続されていない。"},
    {10058, u"ソケットがシャットダウンされている。"},
    {10060, u"接続処理タイムアウト。"},
    {10061, u"接続が拒否された。"},
    {10064, u"リモートホストがダウンしている。"},
    {10065, u"ホストへのルートが存在しない。"},
    {10067, u"プロセスが多すぎます。"},
    {10091, u"ネットワークサブシステムに通信するための準備ができていない。"},
    {10092, u"指定されたバージョンがサポートされていない。"},
    {10093, u"WSAStartup関数を呼び出していないか、失敗しています。"},
    {11001, u"ホストが見つからない。"},
    {11002, u"権限があるホストが見つからない。"},
    {11003, u"修復不可能なエラーが発生した。"},
    {11004, u"データレコードの型が要求されていない。"},
};
} // namespace

QString SocketErrorText(int code)
{
    const auto *found = std::find_if(std::begin(Texts), std::end(Texts),
                                     [code](const CodeText &t) { return t.code == code; });
    if (found == std::end(Texts))
        return u'(' + QString::number(code) + u')';
    return QString::fromUtf16(found->text);
}

int winsockCode(QAbstractSocket::SocketError error)
{
    using E = QAbstractSocket::SocketError;
    switch (error) {
    case E::ConnectionRefusedError:
    case E::ProxyConnectionRefusedError:
        return 10061;
    case E::RemoteHostClosedError:
    case E::ProxyConnectionClosedError:
        return 10054;
    case E::HostNotFoundError:
    case E::ProxyNotFoundError:
        return 11001;
    case E::SocketAccessError:
        return 10013;
    case E::SocketResourceError:
        return 10055;
    case E::SocketTimeoutError:
    case E::ProxyConnectionTimeoutError:
        return 10060;
    case E::DatagramTooLargeError:
        return 10040;
    case E::NetworkError:
        return 10050;
    case E::AddressInUseError:
        return 10048;
    case E::SocketAddressNotAvailableError:
        return 10049;
    case E::UnsupportedSocketOperationError:
        return 10045;
    case E::UnfinishedSocketOperationError:
        return 10036;
    case E::OperationError:
        return 10022;
    case E::TemporaryError:
        return 10035;
    default:
        return -1;
    }
}

QString GetLocalComputerName(Prompt &prompt)
{
    const QString name = QSysInfo::machineHostName().left(32);
    if (name.isEmpty())
        prompt.warn(QStringLiteral("コンピュータ名を取得できませんでした。"));
    return name;
}

void ResolveHost(const QString &name, QObject *context, std::function<void(quint32)> done)
{
    QHostAddress dotted;
    if (dotted.setAddress(name) && dotted.protocol() == QAbstractSocket::IPv4Protocol) {
        QTimer::singleShot(0, context, [done, a = dotted.toIPv4Address()] { done(a); });
        return;
    }
    QHostInfo::lookupHost(name, context, [done](const QHostInfo &info) {
        for (const QHostAddress &a : info.addresses()) {
            if (a.protocol() == QAbstractSocket::IPv4Protocol)
                return done(a.toIPv4Address());
        }
        done(InaddrNone);
    });
}
