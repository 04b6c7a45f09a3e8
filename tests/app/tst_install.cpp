#include "envrecord.h"
#include "fileset.h"
#include "singleinstance.h"
#include "tagstore.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// cmake --install into a temporary prefix, then the installed programs run.
namespace {
QString run(const QString &program, const QStringList &args, const QProcessEnvironment &env,
            int *status)
{
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(program, args);
    const bool done = p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit;
    *status = done ? p.exitCode() : -1;
    return QString::fromUtf8(done ? p.readAllStandardOutput() : p.readAllStandardError());
}
} // namespace

class TestInstall : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void installsEveryPart();
    void helpOfBothPrograms();
    void installedProgramRunsOnItsData();

private:
    QString installed(const QString &path) const { return m_prefix.filePath(path); }
    QTemporaryDir m_prefix;
    QProcessEnvironment m_env = QProcessEnvironment::systemEnvironment();
};

void TestInstall::initTestCase()
{
    int status = 0;
    const QString out =
        run(QStringLiteral(CMAKE_COMMAND),
            {u"--install"_s, QStringLiteral(PINBOARD_BUILD_DIR), u"--prefix"_s, m_prefix.path()},
            m_env, &status);
    QVERIFY2(status == 0, qPrintable(out));
    m_env.remove(u"PINBOARD_DATA"_s);
}

void TestInstall::installsEveryPart()
{
    for (const char *path :
         {"bin/pinboard*", "bin/pinboard-cli*", "share/applications/pinboard.desktop",
          "share/icons/hicolor/scalable/apps/pinboard.svg", "share/man/man1/pinboard.1",
          "share/man/man1/pinboard-cli.1"}) {
        const QString name = QString::fromLatin1(path);
        const QFileInfo info(installed(name.chopped(name.endsWith(u'*'))));
        QVERIFY2(info.isFile() && info.size() > 0, path);
        QCOMPARE(info.isExecutable(), name.endsWith(u'*')); // * marks a program
    }
}

void TestInstall::helpOfBothPrograms()
{
    QProcessEnvironment env = m_env;
    env.remove(u"DISPLAY"_s); // --help needs no display
    for (const QString &name : {u"pinboard"_s, u"pinboard-cli"_s}) {
        int status = 1;
        const QString help = run(installed(u"bin/"_s + name), {u"--help"_s}, env, &status);
        QCOMPARE(status, 0);
        QVERIFY(help.startsWith(u"NAME\n    "_s + name + u" - "_s));
        QVERIFY(help.contains(u"PINBOARD_DATA"_s));
        QFile man(installed(u"share/man/man1/"_s + name + u".1"_s));
        QVERIFY(man.open(QIODevice::ReadOnly));
        // Every line of the help is on the page as it stands.
        const QString page = QString::fromUtf8(man.readAll()).replace(u"\\e"_s, u"\\"_s);
        QVERIFY(page.startsWith(u".TH "_s));
        QVERIFY(page.contains(u"\n.SH SYNOPSIS\n"_s));
        for (const QString &line : help.split(u'\n'))
            QVERIFY2(page.contains(line.trimmed()), qPrintable(line));
    }
}

void TestInstall::installedProgramRunsOnItsData()
{
    QTemporaryDir data;
    const FileSet files = FileSet::forDirectory(data.path());
    QVERIFY(prepareFileSet(files).ok);
    QVERIFY(createDataFile(files.dt1, EnvRecord().bytes())); // not a first run: no questions
    QProcessEnvironment env = m_env;
    env.insert(u"PINBOARD_DATA"_s, data.path());
    env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    QProcess app;
    app.setProcessEnvironment(env);
    app.setProcessChannelMode(QProcess::ForwardedChannels);
    app.start(installed(u"bin/pinboard"_s), {});
    QVERIFY(app.waitForStarted());
    // Running: it holds its data folder's lock.
    QTRY_VERIFY_WITH_TIMEOUT(!SingleInstance(data.path()).tryAcquire(), 15000);
    QCOMPARE(app.state(), QProcess::Running);
    // The installed tool finds the same folder through PINBOARD_DATA.
    int status = 1;
    const QString dump = run(installed(u"bin/pinboard-cli"_s), {u"dump"_s}, env, &status);
    QCOMPARE(status, 0);
    QVERIFY(QJsonDocument::fromJson(dump.toUtf8()).object().contains(u"env"_s));
    app.terminate();
    QVERIFY(app.waitForFinished(10000));
    QCOMPARE(app.exitStatus(), QProcess::NormalExit);
    QCOMPARE(app.exitCode(), 0);
    QVERIFY(SingleInstance(data.path()).tryAcquire());
}

QTEST_MAIN(TestInstall)
#include "tst_install.moc"
