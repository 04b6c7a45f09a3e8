// pinboard-cli net-send and net-listen as separate processes on loopback.
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::StringLiterals;

class TestNetCli : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sendAndListen();
    void usageErrors();

private:
    QByteArray run(const QString &args, int *status = nullptr);
    QTemporaryDir m_empty;
};

// args with the data folder after the command, split at blanks.
QByteArray TestNetCli::run(const QString &args, int *status)
{
    QStringList list = args.split(u' ');
    list.insert(1, m_empty.path());
    QProcess p;
    p.start(QStringLiteral(PINBOARD_CLI), list);
    p.waitForFinished(10000);
    if (status)
        *status = p.exitCode();
    return p.readAllStandardOutput() + p.readAllStandardError();
}

void TestNetCli::sendAndListen()
{
    QUdpSocket probe;
    QVERIFY(probe.bind(QHostAddress(u"127.0.0.9"_s), 0));
    const QString port = QString::number(probe.localPort());
    probe.close();
    QProcess listen;
    listen.start(QStringLiteral(PINBOARD_CLI),
                 {u"net-listen"_s, m_empty.path(), u"--port"_s, port, u"--bind"_s, u"127.0.0.9"_s,
                  u"--seconds"_s, u"3"_s});
    QVERIFY(listen.waitForReadyRead(5000));
    QCOMPARE(listen.readLine(), "listening on 127.0.0.9:" + port.toLatin1() + "\n");
    const QString send =
        u"net-send --to 127.0.0.9 --bind 127.0.0.8 --port "_s + port + u" --type "_s;
    int status = -1;
    QCOMPARE(run(send + u"0xFF --text 山田"_s, &status),
             "sent 11 bytes to 127.0.0.9:" + port.toLatin1() + "\n");
    QCOMPARE(status, 0);
    run(send + u"1"_s);
    run(send + u"tag --text memo"_s);
    run(send + u"253 --text hi"_s);
    QUdpSocket raw;
    QVERIFY(raw.bind(QHostAddress(u"127.0.0.7"_s), 0));
    raw.writeDatagram("\377a\x81", QHostAddress(u"127.0.0.9"_s), port.toUShort());
    QVERIFY(listen.waitForFinished(10000));
    QCOMPARE(listen.exitCode(), 0);
    QCOMPARE(
        listen.readAllStandardOutput().split('\n').first(5),
        (QList<QByteArray>{
            "127.0.0.8       0xff [Pinboard Start Req  ] 11 bytes name=山田 version=1.0.0",
            "127.0.0.8       0x01 [User Logout(End Prg)] 1 bytes",
            "127.0.0.8       0x30 [Tag Data Receive    ] 2000 bytes sealed=0 from= message=memo",
            "127.0.0.8       0xfd [Global Chat Data    ] 16 bytes text=pinboard-cli hi",
            "127.0.0.7       0xff [Pinboard Start Req  ] 3 bytes dropped: not CP932"}));
}

void TestNetCli::usageErrors()
{
    const std::pair<const char16_t *, QByteArray> rows[] = {
        {u"net-send --port 4000 --type 1", "usage: pinboard-cli net-send"},
        {u"net-send --port 4000 --to 10.0.0 --type 1", "--to: expected a dotted IPv4 address"},
        {u"net-send --port 4000 --to 127.0.0.9 --type 12", "--type: expected"},
        {u"net-listen", "no port"},
        {u"net-listen --port 70000", "--port: expected 1-65535"},
        {u"net-listen --port 4000 --to 127.0.0.9", "usage:"}};
    for (const auto &[args, error] : rows) {
        int status = 0;
        const QByteArray out = run(QString::fromUtf16(args), &status);
        QVERIFY2(out.startsWith(error) && status == 2, out.constData());
    }
}

QTEST_GUILESS_MAIN(TestNetCli)
#include "tst_netcli.moc"
