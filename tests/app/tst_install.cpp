#include "envrecord.h"
#include "fileset.h"
#include "singleinstance.h"
#include "tagstore.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// cmake --install into a temporary prefix puts every part in place; the installed
// programs find their data through PINBOARD_DATA, and a terminated Pinboard lets
// go of its folder.
class TestInstall : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void installedProgramsRunOnTheirData();
};

void TestInstall::installedProgramsRunOnTheirData()
{
    QTemporaryDir prefix, data;
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(QStringLiteral(CMAKE_COMMAND),
            {u"--install"_s, QStringLiteral(PINBOARD_BUILD_DIR), u"--prefix"_s, prefix.path()});
    QVERIFY(p.waitForFinished(60000));
    QVERIFY2(p.exitCode() == 0, p.readAll().constData());
    for (const char *path :
         {"bin/pinboard*", "bin/pinboard-cli*", "share/applications/pinboard.desktop",
          "share/icons/hicolor/scalable/apps/pinboard.svg", "share/man/man1/pinboard.1",
          "share/man/man1/pinboard-cli.1"}) {
        const QString name = QString::fromLatin1(path);
        const QFileInfo info(prefix.filePath(name.chopped(name.endsWith(u'*'))));
        QVERIFY2(info.isFile() && info.size() > 0, path);
        QCOMPARE(info.isExecutable(), name.endsWith(u'*')); // * marks a program
    }
    const FileSet files = FileSet::forDirectory(data.path());
    QVERIFY(prepareFileSet(files).ok);
    QVERIFY(createDataFile(files.dt1, EnvRecord().bytes())); // not a first run: no questions
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"PINBOARD_DATA"_s, data.path());
    env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    QProcess app, cli;
    app.setProcessEnvironment(env);
    app.setProcessChannelMode(QProcess::ForwardedChannels);
    app.start(prefix.filePath(u"bin/pinboard"_s), {});
    QVERIFY(app.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(!SingleInstance(data.path()).tryAcquire(), 15000);
    cli.setProcessEnvironment(env);
    cli.start(prefix.filePath(u"bin/pinboard-cli"_s), {u"dump"_s});
    QVERIFY(cli.waitForFinished(60000));
    QCOMPARE(cli.exitCode(), 0);
    QVERIFY(QJsonDocument::fromJson(cli.readAllStandardOutput()).object().contains(u"env"_s));
    app.terminate();
    QVERIFY(app.waitForFinished(10000));
    QCOMPARE(app.exitStatus(), QProcess::NormalExit);
    QCOMPARE(app.exitCode(), 0);
    QVERIFY(SingleInstance(data.path()).tryAcquire());
}

QTEST_GUILESS_MAIN(TestInstall)
#include "tst_install.moc"
