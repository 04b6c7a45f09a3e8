#include "datafolder.h"
#include "datalocation.h"
#include "datamove.h"
#include "scriptedprompt.h"
#include "singleinstance.h"
#include "testfiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// Data as an earlier version left it beside the executable: every file its own bytes.
QMap<QString, QByteArray> leaveData(const QString &dir, const QStringList &names)
{
    QMap<QString, QByteArray> content;
    for (const QString &name : names) {
        content[name] = name.toLatin1().repeated(100);
        writeFile(QDir(dir).filePath(name), content[name]);
    }
    return content;
}

QStringList present(const QString &dir)
{
    QStringList out;
    for (const QString &name : DataMove::fileNames())
        if (QFile::exists(QDir(dir).filePath(name)))
            out << name;
    return out;
}
} // namespace

class TestDataFolder : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void resolve_data();
    void resolve();
    void dataOption_data();
    void dataOption();
    void dataBesideTheExecutableMovesOnce();
    void failedMoveLeavesEverythingInPlace();
    void nothingMoves();
};

void TestDataFolder::resolve_data()
{
    QTest::addColumn<QString>("option"); // "-": none given
    QTest::addColumn<QString>("variable");
    QTest::addColumn<bool>("portable");
    QTest::addColumn<QString>("dir"); // "exe" or "user" for those folders
    QTest::addColumn<int>("source");
    QTest::newRow("user") << u"-"_s << u""_s << false << u"user"_s << int(DataLocation::User);
    QTest::newRow("portable") << u"-"_s << u""_s << true << u"exe"_s << int(DataLocation::Portable);
    QTest::newRow("variable over portable")
        << u"-"_s << u"/v"_s << true << u"/v"_s << int(DataLocation::Environment);
    QTest::newRow("option over variable")
        << u"/o"_s << u"/v"_s << true << u"/o"_s << int(DataLocation::Option);
    QTest::newRow("empty option: the variable")
        << u""_s << u"/v"_s << false << u"/v"_s << int(DataLocation::Environment);
}

void TestDataFolder::resolve()
{
    QFETCH(QString, option);
    QFETCH(QString, variable);
    QFETCH(bool, portable);
    QFETCH(QString, dir);
    QFETCH(int, source);
    QTemporaryDir exe;
    // A folder named "portable" is not the marker.
    QVERIFY(portable ? writeFile(exe.filePath(u"portable"_s), {})
                     : QDir().mkpath(exe.filePath(u"portable"_s)));
    const QString user = u"/home/u/.local/share/Pinboard"_s;
    const DataLocation where = resolveDataLocation(
        option == u"-"_s ? std::nullopt : std::optional(option), variable, exe.path(), user);
    QCOMPARE(where.dir, dir == u"exe"_s ? exe.path() : dir == u"user"_s ? user : dir);
    QCOMPARE(int(where.source), source);
}

void TestDataFolder::dataOption_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("dir"); // "-": no option
    QTest::addColumn<QStringList>("rest");
    QTest::addColumn<bool>("error");
    QTest::newRow("none") << QStringList{u"dump"_s} << u"-"_s << QStringList{u"dump"_s} << false;
    QTest::newRow("separate") << QStringList{u"--data"_s, u"/d"_s, u"dump"_s} << u"/d"_s
                              << QStringList{u"dump"_s} << false;
    QTest::newRow("joined") << QStringList{u"eval"_s, u"--data=/d e"_s, u"--tag"_s, u"3"_s}
                            << u"/d e"_s << QStringList{u"eval"_s, u"--tag"_s, u"3"_s} << false;
    QTest::newRow("missing folder") << QStringList{u"--data"_s} << u""_s << QStringList{} << true;
    QTest::newRow("empty joined") << QStringList{u"--data="_s} << u""_s << QStringList{} << true;
}

void TestDataFolder::dataOption()
{
    QFETCH(QStringList, args);
    QFETCH(QString, dir);
    QFETCH(QStringList, rest);
    QFETCH(bool, error);
    QString why;
    const auto taken = takeDataOption(args, &why);
    QCOMPARE(taken.value_or(u"-"_s), dir);
    QCOMPARE(args, rest);
    QCOMPARE(!why.isEmpty(), error);
}

void TestDataFolder::dataBesideTheExecutableMovesOnce()
{
    QTemporaryDir exe, home;
    const QString user = home.filePath(u"share/Pinboard"_s);
    const auto content = leaveData(exe.path(), DataMove::fileNames().mid(0, 5));
    ScriptedPrompt prompt;
    const DataLocation where = resolveDataLocation(std::nullopt, {}, exe.path(), user);
    QCOMPARE(settleDataFolder(where, exe.path(), prompt), user);
    QCOMPARE(prompt.shown, QStringList{dataMovedText(exe.path(), user)});
    QVERIFY(present(exe.path()).isEmpty());
    for (auto it = content.begin(); it != content.end(); ++it)
        QCOMPARE(fileBytes(QDir(user).filePath(it.key())), it.value());
    // The next start finds nothing left to move.
    ScriptedPrompt again;
    QCOMPARE(settleDataFolder(where, exe.path(), again), user);
    QVERIFY(again.shown.isEmpty());
}

void TestDataFolder::failedMoveLeavesEverythingInPlace()
{
    QTemporaryDir exe, home;
    const QString user = home.filePath(u"Pinboard"_s);
    const auto content = leaveData(exe.path(), DataMove::fileNames().mid(0, 5));
    // The log cannot be copied: a folder of its name is in the way.
    QVERIFY(QDir().mkpath(QDir(user).filePath(u"Pinboard.log"_s)));
    ScriptedPrompt prompt;
    QCOMPARE(settleDataFolder({user, DataLocation::User}, exe.path(), prompt), exe.path());
    QCOMPARE(prompt.shown, QStringList{dataNotMovedText(exe.path(), user)});
    for (auto it = content.begin(); it != content.end(); ++it)
        QCOMPARE(fileBytes(QDir(exe.path()).filePath(it.key())), it.value());
    QVERIFY(present(user).isEmpty() || present(user) == QStringList{u"Pinboard.log"_s});
}

// Not while a Pinboard runs on the old folder, nor into a user folder that has data,
// nor into a folder the user named.
void TestDataFolder::nothingMoves()
{
    QTemporaryDir exe, home, named;
    leaveData(exe.path(), {u"Pinboard.dt1"_s, u"Pinboard.dt3"_s});
    ScriptedPrompt prompt;
    {
        SingleInstance running(exe.path());
        QVERIFY(running.tryAcquire());
        const QString user = home.filePath(u"Pinboard"_s);
        QCOMPARE(settleDataFolder({user, DataLocation::User}, exe.path(), prompt), exe.path());
    }
    leaveData(home.path(), {u"Pinboard.dt1"_s});
    QCOMPARE(settleDataFolder({home.path(), DataLocation::User}, exe.path(), prompt), home.path());
    QCOMPARE(settleDataFolder({named.path(), DataLocation::Option}, exe.path(), prompt),
             named.path());
    QVERIFY(prompt.shown.isEmpty());
    QCOMPARE(present(exe.path()).size(), 2);
}

QTEST_MAIN(TestDataFolder)
#include "tst_datafolder.moc"
