// pinboard-cli net-send and net-listen as separate processes on loopback.
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

class TestNetCli : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void sendAndListen();
    void usageErrors_data();
    void usageErrors();

private:
    QByteArray run(const QStringList &args, int *status = nullptr);
    QString m_port;
    QTemporaryDir m_empty;
};

void TestNetCli::init()
{
    QUdpSocket probe;
    QVERIFY(probe.bind(QHostAddress(QStringLiteral("127.0.0.9")), 0));
    m_port = QString::number(probe.localPort());
}

QByteArray TestNetCli::run(const QStringList &args, int *status)
{
    QProcess p;
    p.start(QStringLiteral(PINBOARD_CLI), args);
    p.waitForFinished(10000);
    if (status)
        *status = p.exitCode();
    return p.readAllStandardOutput() + p.readAllStandardError();
}

void TestNetCli::sendAndListen()
{
    QProcess listen;
    listen.start(QStringLiteral(PINBOARD_CLI),
                 {QStringLiteral("net-listen"), m_empty.path(), QStringLiteral("--port"), m_port,
                  QStringLiteral("--bind"), QStringLiteral("127.0.0.9"),
                  QStringLiteral("--seconds"), QStringLiteral("3")});
    QVERIFY(listen.waitForReadyRead(5000));
    QCOMPARE(listen.readLine(), QByteArray("listening on 127.0.0.9:" + m_port.toLatin1() + "\n"));
    const QStringList common = {m_empty.path(),
                                QStringLiteral("--to"),
                                QStringLiteral("127.0.0.9"),
                                QStringLiteral("--port"),
                                m_port,
                                QStringLiteral("--bind"),
                                QStringLiteral("127.0.0.8")};
    auto send = [&](const QString &type, const QString &text, int *status = nullptr) {
        QStringList args = QStringList{QStringLiteral("net-send")} + common;
        args << QStringLiteral("--type") << type;
        if (!text.isEmpty())
            args << QStringLiteral("--text") << text;
        return run(args, status);
    };
    int status = -1;
    QCOMPARE(send(QStringLiteral("0xFF"), QStringLiteral("山田"), &status),
             "sent 11 bytes to 127.0.0.9:" + m_port.toLatin1() + "\n");
    QCOMPARE(status, 0);
    send(QStringLiteral("1"), {});
    send(QStringLiteral("tag"), QStringLiteral("memo"));
    send(QStringLiteral("253"), QStringLiteral("hi"));
    QUdpSocket raw;
    QVERIFY(raw.bind(QHostAddress(QStringLiteral("127.0.0.7")), 0));
    raw.writeDatagram("\xFF"
                      "a\x81",
                      QHostAddress(QStringLiteral("127.0.0.9")), m_port.toUShort());
    QVERIFY(listen.waitForFinished(10000));
    const QByteArray all = listen.readAllStandardOutput();
    const QList<QByteArray> lines = all.split('\n');
    QCOMPARE(
        lines.value(0),
        QByteArray("127.0.0.8       0xff [Pinboard Start Req  ] 11 bytes name=山田 version=1.0.0"));
    QCOMPARE(lines.value(1), QByteArray("127.0.0.8       0x01 [User Logout(End Prg)] 1 bytes"));
    QCOMPARE(
        lines.value(2),
        QByteArray(
            "127.0.0.8       0x30 [Tag Data Receive    ] 2000 bytes sealed=0 from= message=memo"));
    QCOMPARE(
        lines.value(3),
        QByteArray("127.0.0.8       0xfd [Global Chat Data    ] 16 bytes text=pinboard-cli hi"));
    QCOMPARE(lines.value(4),
             QByteArray("127.0.0.7       0xff [Pinboard Start Req  ] 3 bytes dropped: not CP932"));
    QCOMPARE(listen.exitCode(), 0);
}

void TestNetCli::usageErrors_data()
{
    QTest::addColumn<QStringList>("args"); // the data folder goes after the command
    QTest::addColumn<QByteArray>("error");
    auto row = [](const char *tag, const char *args, const char *error) {
        QTest::newRow(tag) << QString::fromLatin1(args).split(u' ') << QByteArray(error);
    };
    row("no --to", "net-send --port 4000 --type 1", "usage: pinboard-cli net-send");
    row("bad address", "net-send --port 4000 --to 10.0.0 --type 1",
        "--to: expected a dotted IPv4 address");
    row("code 12", "net-send --port 4000 --to 127.0.0.9 --type 12", "--type: expected");
    row("no port", "net-listen", "no port");
    row("port 70000", "net-listen --port 70000", "--port: expected 1-65535");
    row("listen with --to", "net-listen --port 4000 --to 127.0.0.9", "usage:");
}

void TestNetCli::usageErrors()
{
    QFETCH(QStringList, args);
    QFETCH(QByteArray, error);
    args.insert(1, m_empty.path());
    int status = 0;
    const QByteArray out = run(args, &status);
    QVERIFY2(out.startsWith(error), out.constData());
    QCOMPARE(status, 2);
}

QTEST_GUILESS_MAIN(TestNetCli)
#include "tst_netcli.moc"
