#include "envrecord.h"
#include "fileset.h"
#include "singleinstance.h"
#include "tagstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// cmake --install into a temporary prefix, then the installed programs run.
namespace {
QString run(const QString &program, const QStringList &args, const QProcessEnvironment &env,
            int *status)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(program, args);
    if (!p.waitForFinished(60000)) {
        *status = -1;
        return QString::fromUtf8(p.readAllStandardError());
    }
    *status = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    return QString::fromUtf8(p.readAllStandardOutput());
}
} // namespace

class TestInstall : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void installsEveryPart_data();
    void installsEveryPart();
    void helpOfBothPrograms();
    void installedProgramRunsOnItsData();

private:
    QTemporaryDir m_prefix;
    QProcessEnvironment m_env = QProcessEnvironment::systemEnvironment();
};

void TestInstall::initTestCase()
{
    QVERIFY(m_prefix.isValid());
    int status = 0;
    const QString out = run(QStringLiteral(CMAKE_COMMAND),
                            {QStringLiteral("--install"), QStringLiteral(PINBOARD_BUILD_DIR),
                             QStringLiteral("--prefix"), m_prefix.path()},
                            m_env, &status);
    QVERIFY2(status == 0, qPrintable(out));
    m_env.remove(QStringLiteral("PINBOARD_DATA"));
}

void TestInstall::installsEveryPart_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("executable");
    QTest::newRow("program") << QStringLiteral("bin/pinboard") << true;
    QTest::newRow("tool") << QStringLiteral("bin/pinboard-cli") << true;
    QTest::newRow("desktop entry")
        << QStringLiteral("share/applications/pinboard.desktop") << false;
    QTest::newRow("icon") << QStringLiteral("share/icons/hicolor/scalable/apps/pinboard.svg")
                          << false;
    QTest::newRow("man page") << QStringLiteral("share/man/man1/pinboard.1") << false;
    QTest::newRow("tool's man page") << QStringLiteral("share/man/man1/pinboard-cli.1") << false;
}

void TestInstall::installsEveryPart()
{
    QFETCH(QString, path);
    QFETCH(bool, executable);
    const QFileInfo info(QDir(m_prefix.path()).filePath(path));
    QVERIFY2(info.isFile(), qPrintable(info.filePath()));
    QVERIFY(info.size() > 0);
    QCOMPARE(info.isExecutable(), executable);
}

void TestInstall::helpOfBothPrograms()
{
    for (const char *name : {"pinboard", "pinboard-cli"}) {
        int status = 1;
        QProcessEnvironment env = m_env;
        env.remove(QStringLiteral("DISPLAY")); // --help needs no display
        const QString help = run(m_prefix.filePath(QStringLiteral("bin/") + QLatin1String(name)),
                                 {QStringLiteral("--help")}, env, &status);
        QCOMPARE(status, 0);
        QVERIFY(help.startsWith(QStringLiteral("NAME\n    ") + QLatin1String(name) +
                                QStringLiteral(" - ")));
        QVERIFY(help.contains(QStringLiteral("PINBOARD_DATA")));
        QFile man(m_prefix.filePath(QStringLiteral("share/man/man1/") + QLatin1String(name) +
                                    QStringLiteral(".1")));
        QVERIFY(man.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(man.readAll());
        QVERIFY(page.startsWith(QStringLiteral(".TH ")));
        QVERIFY(page.contains(QStringLiteral("\n.SH SYNOPSIS\n")));
        // Every line of the help is on the page as it stands.
        QString plain = page;
        plain.replace(QStringLiteral("\\e"), QStringLiteral("\\"));
        for (const QString &line : help.split(u'\n'))
            QVERIFY2(plain.contains(line.trimmed()), qPrintable(line));
    }
}

void TestInstall::installedProgramRunsOnItsData()
{
    QTemporaryDir data;
    const FileSet files = FileSet::forDirectory(data.path());
    QVERIFY(prepareFileSet(files).ok);
    QVERIFY(createDataFile(files.dt1, EnvRecord().bytes())); // not a first run: no questions
    QProcessEnvironment env = m_env;
    env.insert(QStringLiteral("PINBOARD_DATA"), data.path());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess app;
    app.setProcessEnvironment(env);
    app.setProcessChannelMode(QProcess::ForwardedChannels);
    app.start(m_prefix.filePath(QStringLiteral("bin/pinboard")), {});
    QVERIFY(app.waitForStarted());
    // Running: it holds its data folder's lock.
    QTRY_VERIFY_WITH_TIMEOUT(!SingleInstance(data.path()).tryAcquire(), 15000);
    QCOMPARE(app.state(), QProcess::Running);
    // The installed tool finds the same folder through PINBOARD_DATA.
    int status = 1;
    const QString dump = run(m_prefix.filePath(QStringLiteral("bin/pinboard-cli")),
                             {QStringLiteral("dump")}, env, &status);
    QCOMPARE(status, 0);
    QVERIFY(QJsonDocument::fromJson(dump.toUtf8()).object().contains(QStringLiteral("env")));
    app.terminate();
    QVERIFY(app.waitForFinished(10000));
    QCOMPARE(app.exitStatus(), QProcess::NormalExit);
    QCOMPARE(app.exitCode(), 0);
    QVERIFY(SingleInstance(data.path()).tryAcquire());
}

QTEST_MAIN(TestInstall)
#include "tst_install.moc"
