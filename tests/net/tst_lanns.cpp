// Pinboard processes in network namespaces on a private bridge (10.77.0.2-3,
// broadcast 10.77.0.255), pinboard-cli sending a tag from 10.77.0.1 and
// listening on 10.77.0.4: real broadcasts find, reach and farewell.
// Needs root, ip(8), the namespace script and an X display; otherwise it exits
// 77 (skipped) and says why.
#include "cp932.h"
#include "envrecord.h"
#include "fileset.h"
#include "tagstore.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QHostInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

namespace {
const QString Script = QStringLiteral(LAN_NS_SCRIPT);
constexpr int Hosts = 3;

bool run(const QString &program, const QStringList &args)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedChannels);
    p.start(program, args);
    return p.waitForFinished(30000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

QString skipReason()
{
    if (::geteuid() != 0)
        return QStringLiteral("not root: network namespaces need CAP_NET_ADMIN");
    if (QStandardPaths::findExecutable(QStringLiteral("ip"),
                                       {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")})
            .isEmpty())
        return QStringLiteral("ip(8) is not installed");
    if (!QFile::exists(Script))
        return Script + QStringLiteral(" is missing");
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return QStringLiteral("no X display (scripts/test runs the tests under xvfb-run)");
    run(Script, {QStringLiteral("down"), QStringLiteral("4")});
    if (!run(Script, {QStringLiteral("up"), QStringLiteral("4")}))
        return QStringLiteral("the namespaces could not be made");
    return {};
}

QString logOf(const QString &dir)
{
    QFile f(dir + QStringLiteral("/Pinboard.log"));
    return f.open(QIODevice::ReadOnly) ? Cp932::decode(f.readAll()) : QString();
}

// A host that stopped answering may have died: say so beside its log.
QString stateOf(const QProcess &app)
{
    if (app.state() == QProcess::Running)
        return QStringLiteral(" (running)");
    return QStringLiteral(" (%1 with %2)")
        .arg(app.exitStatus() == QProcess::CrashExit ? QStringLiteral("crashed")
                                                     : QStringLiteral("exited"))
        .arg(app.exitCode());
}

// pb<host>'s data directory with settings for the bridge, logging on.
QString makeHost(const QTemporaryDir &root, int host)
{
    const QString dir = root.filePath(QStringLiteral("pb%1").arg(host));
    if (!QDir().mkpath(dir) ||
        !QFile::copy(QStringLiteral(PINBOARD_APP), dir + QStringLiteral("/pinboard")))
        return {};
    // Portable: each copy keeps its data beside itself.
    QFile marker(dir + QStringLiteral("/portable"));
    if (!marker.open(QIODevice::WriteOnly))
        return {};
    const FileSet files = FileSet::forDirectory(dir);
    if (!prepareFileSet(files).ok)
        return {};
    EnvRecord env;
    env.setByte(Env::NetConfigured, 1);
    env.setText(Env::NetHostName, QHostInfo::localHostName());
    env.setText(Env::NetLocalIp, QStringLiteral("10.77.0.%1").arg(host));
    env.setText(Env::UserName, QStringLiteral("pb%1").arg(host));
    env.setPortNo(12222);
    env.setBroadcastAddress(0, 0x0A4D00FF);
    env.setByte(Env::LogEnabled, 1);
    return TagStore(files.dt1).writeEnv(env) ? dir : QString();
}

QStringList inNamespace(int host, const QString &program, const QStringList &args = {})
{
    return QStringList{QStringLiteral("netns"), QStringLiteral("exec"),
                       QStringLiteral("pb%1").arg(host), program} +
           args;
}

QString recv(int host, const char *label)
{
    return QStringLiteral("10.77.0.%1").arg(host).leftJustified(15, u' ') +
           QStringLiteral(" Recv-") + QLatin1String(label);
}
} // namespace

class TestLanNamespaces : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanupTestCase() { run(Script, {QStringLiteral("down"), QStringLiteral("4")}); }
    void findSendAndLeave();
};

void TestLanNamespaces::findSendAndLeave()
{
    QTemporaryDir root;
    QString dirs[Hosts];
    for (int i = 0; i < Hosts; ++i) {
        dirs[i] = makeHost(root, i + 1);
        QVERIFY(!dirs[i].isEmpty());
    }
    QProcess listen;
    listen.start(
        QStringLiteral("ip"),
        inNamespace(4, QStringLiteral(PINBOARD_CLI),
                    {QStringLiteral("net-listen"), root.path(), QStringLiteral("--port"),
                     QStringLiteral("12222"), QStringLiteral("--seconds"), QStringLiteral("60")}));
    QVERIFY(listen.waitForReadyRead(10000));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    QProcess apps[2]; // on hosts 2 and 3
    for (int i = 0; i < 2; ++i) {
        apps[i].setProcessEnvironment(env);
        apps[i].setProcessChannelMode(QProcess::ForwardedErrorChannel);
        apps[i].start(QStringLiteral("ip"),
                      inNamespace(i + 2, dirs[i + 1] + QStringLiteral("/pinboard")));
        QVERIFY(apps[i].waitForStarted());
    }
    // Each hears the other: a request or an answer.
    for (auto [me, other] : {std::pair(2, 3), std::pair(3, 2)})
        QTRY_VERIFY_WITH_TIMEOUT(
            logOf(dirs[me - 1]).contains(recv(other, "[Pinboard Start Req  ] :pb")) ||
                logOf(dirs[me - 1]).contains(recv(other, "[Start Request Answer] :pb")),
            10000);

    // pinboard-cli on host 1 sends one tag the program's way to both. A host still busy
    // with something slow gets its time: only an answer that never comes fails.
    const QString text = QStringLiteral("会議室Ａ 15:00");
    QProcess cli;
    cli.start(QStringLiteral("ip"),
              inNamespace(1, QStringLiteral(PINBOARD_CLI),
                          {QStringLiteral("net-tag"), dirs[0], QStringLiteral("--to"),
                           QStringLiteral("10.77.0.2,10.77.0.3"), QStringLiteral("--text"), text,
                           QStringLiteral("--seconds"), QStringLiteral("30")}));
    QVERIFY(cli.waitForFinished(35000));
    const QString out = QString::fromUtf8(cli.readAllStandardOutput());
    if (cli.exitCode() != 0) {
        // What each host logged tells a lost datagram from a late or missing answer.
        for (int i = 0; i < Hosts; ++i) {
            qInfo().noquote() << QStringLiteral("--- pb%1").arg(i + 1) +
                                     (i > 0 ? stateOf(apps[i - 1]) : QString());
            const QStringList lines = logOf(dirs[i]).split(u'\n');
            for (const QString &line : lines.mid(qMax(0, int(lines.size()) - 40)))
                qInfo().noquote() << line.simplified();
        }
    }
    QVERIFY2(cli.exitCode() == 0, qPrintable(out + QString::fromUtf8(cli.readAllStandardError())));
    QVERIFY2(out.contains(QStringLiteral("pb2 Received")) &&
                 out.contains(QStringLiteral("pb3 Received")),
             qPrintable(out));
    QVERIFY(logOf(dirs[0]).contains(QStringLiteral("10.77.0.3       Send-[Tag Data] ")));

    // pb2 leaves; pb3 logs its logout.
    apps[0].terminate();
    QVERIFY(apps[0].waitForFinished(10000));
    QCOMPARE(apps[0].exitCode(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(logOf(dirs[2]).contains(recv(2, "[User Logout(End Prg)] :")), 5000);
    QVERIFY(
        logOf(dirs[1]).contains(QStringLiteral("10.77.0.255     Send-[User Logout(End Prg)] ")));
    apps[1].terminate();
    QVERIFY(apps[1].waitForFinished(10000));
    for (int i = 2; i <= Hosts; ++i) {
        const QString log = logOf(dirs[i - 1]);
        QVERIFY(log.contains(
            QStringLiteral("10.77.0.1       Send-[Tab Received Answer ] :pb%1").arg(i)));
        const auto tag = TagStore(FileSet::forDirectory(dirs[i - 1]).dt1).readTag(1);
        QVERIFY(tag);
        QCOMPARE(tag->message(), text);
        QCOMPARE(tag->text(Tag::ReceivedMark), QStringLiteral("1"));
        QCOMPARE(tag->text(Tag::SenderName), QStringLiteral("pb1"));
        QCOMPARE(tag->text(Tag::SenderAddress), QStringLiteral("10.77.0.1"));
    }
    QTest::qWait(300);
    listen.terminate();
    listen.waitForFinished(5000);
    const QString heard = QString::fromUtf8(listen.readAllStandardOutput());
    for (int i = 2; i <= Hosts; ++i) {
        const QString from = QStringLiteral("10.77.0.%1").arg(i).leftJustified(15, u' ');
        QVERIFY2(heard.contains(from + QStringLiteral(" 0xff [Pinboard Start Req  ]")),
                 qPrintable(heard));
        QVERIFY2(heard.contains(from + QStringLiteral(" 0x01 [User Logout(End Prg)] 1 bytes")),
                 qPrintable(heard));
    }
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QString why = skipReason();
    if (!why.isEmpty()) {
        printf("SKIP: lanns: %s\n", qPrintable(why));
        return 77;
    }
    TestLanNamespaces test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_lanns.moc"
