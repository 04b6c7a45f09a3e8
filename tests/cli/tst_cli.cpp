#include "envrecord.h"
#include "fileset.h"
#include "oledate.h"
#include "singleinstance.h"
#include "tagstore.h"
#include "testfiles.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QtTest>
#include <functional>

using namespace Qt::StringLiterals;

namespace {
struct Run
{
    int status = -1;
    QByteArray out, err;
};

Run runCli(const QStringList &args)
{
    QProcess p;
    p.start(QStringLiteral(PINBOARD_CLI), args);
    if (!p.waitForFinished(60000) || p.exitStatus() != QProcess::NormalExit)
        return {};
    return {p.exitCode(), p.readAllStandardOutput(), p.readAllStandardError()};
}

QString dt1Of(const QString &dir)
{
    return FileSet::forDirectory(dir).dt1;
}

QDateTime at(int y, int m, int d, int h = 0, int min = 0, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min, s), QTimeZone::utc());
}

QJsonArray tagsOf(const QByteArray &dump)
{
    return QJsonDocument::fromJson(dump)[QLatin1String("tags")].toArray();
}

// Six tags covering what a dump has to carry through unchanged.
void sampleStore(const QString &dir)
{
    const TagStore store(dt1Of(dir));
    EnvRecord env;
    env.setText(Env::UserName, u"佐藤"_s);
    env.setBroadcastAddress(3, 0xC0A801FF);
    env.setInteger(Env::ChatLeft, -300);
    QVERIFY(store.writeEnv(env));
    auto add = [&](const QString &message, const std::function<void(TagRecord &)> &tweak) {
        TagRecord tag;
        tag.setMessage(message);
        tweak(tag);
        QVERIFY(store.addTag(tag));
    };
    add(u"明日の会議は１０時から\n資料を忘れずに"_s, [](TagRecord &t) {
        t.setText(Tag::FontName, u"ＭＳ ゴシック"_s);
        t.setText(Tag::FilePath, u"C:\\メモ\\予定.txt"_s);
        t.setDate(Tag::DisplayDateTime, at(2024, 3, 15, 9, 30, 5));
        t.setByte(Tag::WeekdayFlags, 1, 4);
        t.setLong(Tag::PosX, -120);
        t.setLong(Tag::ForeColor, 0xFF00FF);
    });
    add(u"～①②Ⅲ㈱"_s, [](TagRecord &) {});
    add(QString(), [](TagRecord &t) {
        // Bytes no text form gives back: a code CP932 leaves unassigned, a NUL mid-field.
        t.setMessageBytes(QByteArray("a\x85\x40"
                                     "b"));
        t.setRaw(Tag::SenderName, QByteArray("ab\0cd", 5).leftJustified(32, ' '));
    });
    add(u"ゴミ箱"_s, [](TagRecord &t) { t.setStateMark(TagRecord::InTrash); });
    add(u"消えた"_s, [](TagRecord &) {});
    add(QString(16154, u'あ') + u'a', [](TagRecord &t) {
        t.setDate(Tag::DisplayDateTime, at(1899, 12, 29, 6));
        t.setDate(Tag::EraseDateTime, OleDate::clearedDate());
    });
    TagRecord free;
    free.setStateMark(TagRecord::Deleted);
    free.setDate(Tag::DisplayDateTime, OleDate::clearedDate());
    QVERIFY(store.writeTag(5, free));
}

// A data file of record 1 claiming tagCount tags, then the given tag records.
QByteArray envImage(int tagCount, const QList<QByteArray> &tags = {})
{
    EnvRecord env;
    env.setTagCount(tagCount);
    QByteArray bytes = env.bytes();
    for (qsizetype i = 0; i < tags.size(); ++i)
        bytes += QByteArray((i + 1) * TagRecord::SlotSize - bytes.size(), '\0') + tags[i];
    return bytes;
}

QByteArray tagBytes(const QString &message)
{
    TagRecord tag;
    tag.setMessage(message);
    return tag.serialize();
}
} // namespace

class TestCli : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTrip();
    void badInput_data();
    void badInput();
    void loadRefusedWhileLocked();
    void damagedTagIsLeftOut();
    void evalSaysWhy();
};

void TestCli::roundTrip()
{
    QTemporaryDir a, b, scratch;
    sampleStore(a.path());
    const Run first = runCli({u"dump"_s, a.path()});
    QCOMPARE(first.status, 0);
    QVERIFY(first.err.isEmpty());
    const QJsonObject env = QJsonDocument::fromJson(first.out)[QLatin1String("env")].toObject();
    int named = 0; // every field of record 1 but the padding, by its name
    for (const FieldDef &f : EnvRecord::fields())
        named += f.type != FieldType::Pad;
    QCOMPARE(env.size(), named);
    QCOMPARE(env.value(QLatin1String("UserName")).toString(), u"佐藤"_s);
    const QJsonArray tags = tagsOf(first.out);
    QCOMPARE(tags.size(), 6);
    for (int i = 0; i < 6; ++i)
        QCOMPARE(tags[i][QLatin1String("record")].toInt(), i + 2);
    auto member = [&](int i, const char *name) { return tags[i][QLatin1String(name)]; };
    QCOMPARE(member(0, "MessageText").toString(), u"明日の会議は１０時から\n資料を忘れずに"_s);
    QCOMPARE(member(0, "DisplayDateTime").toString(), u"2024/03/15 09:30:05"_s);
    QCOMPARE(member(1, "MessageText").toString(), u"～①②Ⅲ㈱"_s);
    QCOMPARE(member(3, "StateMark").toString(), u"D"_s);
    QCOMPARE(member(2, "MessageText")[QLatin1String("bytes")].toString(), u"61854062"_s);
    QVERIFY(member(2, "SenderName").isObject());
    QCOMPARE(member(5, "DisplayDateTime").toString(), u"1899/12/29 06:00:00"_s);

    const QString json = scratch.filePath(u"a.json"_s);
    QVERIFY(writeFile(json, first.out));
    const Run load = runCli({u"load"_s, b.path(), json});
    QCOMPARE(load.err, QByteArray());
    QCOMPARE(load.status, 0);
    const Run second = runCli({u"dump"_s, b.path()});
    QCOMPARE(second.status, 0);
    QCOMPARE(second.out, first.out);
    // Byte for byte: record 1 whole, each tag as far as its record goes.
    const QByteArray fa = fileBytes(dt1Of(a.path())), fb = fileBytes(dt1Of(b.path()));
    QCOMPARE(fb.first(EnvRecord::Size), fa.first(EnvRecord::Size));
    for (qint64 start = TagRecord::SlotSize; start < fa.size(); start += TagRecord::SlotSize) {
        const auto tag = TagRecord::parse(QByteArrayView(fa).sliced(start));
        QVERIFY(tag);
        QCOMPARE(fb.mid(start, tag->serialize().size()), fa.mid(start, tag->serialize().size()));
    }
}

void TestCli::badInput_data()
{
    QTest::addColumn<QStringList>("args"); // DIR, SUBDIR and JSON stand for paths
    QTest::addColumn<QByteArray>("dt1");   // null: no data file
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("word");
    const QByteArray one = envImage(1, {tagBytes(u"keep me"_s)});
    const QString load = u"load DIR JSON"_s;
    auto row = [](const char *name, const QString &args, const QByteArray &dt1,
                  const QByteArray &json, const QByteArray &word) {
        QTest::newRow(name) << args.split(u' ') << dt1 << json << QString::fromUtf8(word);
    };
    auto tag = [&](const char *name, const QByteArray &tagJson, const char *word) {
        row(name, load, one, R"({"env": {"TagCount": 1}, "tags": [)" + tagJson + "]}", word);
    };
    auto env = [&](const char *name, const QByteArray &envJson, const QByteArray &word) {
        row(name, load, one, R"({"env": {)" + envJson + "}}", word);
    };
    row("dump: no data file", u"dump DIR"_s, {}, {}, "no such data file");
    row("dump: short record 1", u"dump DIR"_s, one.first(1000), {}, "ends after");
    row("dump: TagCount past the end", u"dump DIR"_s, envImage(3, {tagBytes({})}), {},
        "ends before");
    row("load: invalid JSON", load, one, R"({"env": {)", "invalid JSON");
    row("load: no env", load, one, R"({"tags": []})", "\"env\" is missing");
    row("load: long key cut", load, one, R"({")" + QByteArray(200, 'k') + R"(": 1})",
        QByteArray(80, 'k') + "…\": no such");
    env("old VersionCode", R"("VersionCode": "000100")", "older than 000940");
    env("NUL in a text", R"("UserName": "a\u0000b")", "U+0000");
    env("text not CP932", R"("UserName": "a\n😀")", "CP932");
    tag("lone surrogate", R"({"record": 2, "MessageText": "a\ud800"})", "lone surrogate (U+D800)");
    tag("bad escape", R"({"record": 2, "FontName": {"bytes": "zz"}})", "hex digits");
    tag("tag wrong type", R"({"record": 2, "FontBold": true})", "expected a number");
    tag("byte out of range", R"({"record": 2, "FontSize": 256})", "whole number");
    tag("impossible date", R"({"record": 2, "DisplayDateTime": "2024/02/30 00:00:00"})",
        "not a date");
    tag("message too long",
        R"({"record": 2, "MessageText": ")" + QString(16155, u'あ').toUtf8() + "\"}",
        "at most 32309");
    tag("record past TagCount", R"({"record": 3})", "from 2 to 2");
    tag("record twice", R"({"record": 2}, {"record": 2})", "twice");
    row("load: no such directory", u"load SUBDIR JSON"_s, one, R"({"env": {}})",
        "no such directory");
    row("usage: unknown command", u"frob"_s, one, {}, "usage");
}

// Refused with one line on stderr, and nothing in the folder changed.
void TestCli::badInput()
{
    QFETCH(QStringList, args);
    QFETCH(QByteArray, dt1);
    QFETCH(QByteArray, json);
    QFETCH(QString, word);
    QTemporaryDir dir, scratch;
    const QString dt1Path = dt1Of(dir.path());
    QVERIFY(dt1.isNull() || writeFile(dt1Path, dt1));
    const QString jsonPath = scratch.filePath(u"in.json"_s);
    QVERIFY(json.isNull() || writeFile(jsonPath, json));
    const QHash<QString, QString> paths{
        {u"DIR"_s, dir.path()}, {u"SUBDIR"_s, dir.filePath(u"sub"_s)}, {u"JSON"_s, jsonPath}};
    for (QString &arg : args)
        arg = paths.value(arg, arg);
    const QStringList entries = QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden);

    const Run r = runCli(args);
    QCOMPARE(r.status, 1);
    QVERIFY(r.out.isEmpty());
    const QString err = QString::fromUtf8(r.err);
    QVERIFY2(err.startsWith(QLatin1String("pinboard-cli: ")) && err.endsWith(u'\n') &&
                 err.count(u'\n') == 1 && err.contains(word),
             qPrintable(err));
    QCOMPARE(fileBytes(dt1Path), dt1.isNull() ? QByteArray() : dt1);
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden), entries);
}

void TestCli::damagedTagIsLeftOut()
{
    QTemporaryDir dir;
    QByteArray pastSlot = tagBytes(u"x"_s);
    LE::setInt16(pastSlot, TagRecord::FixedSize, qint16(40000));
    QVERIFY(writeFile(dt1Of(dir.path()),
                      envImage(3, {tagBytes(u"one"_s), pastSlot, tagBytes(u"three"_s)})));
    const Run dump = runCli({u"dump"_s, dir.path()});
    QCOMPARE(dump.status, 2);
    const QJsonArray tags = tagsOf(dump.out);
    QCOMPARE(tags.size(), 2);
    QCOMPARE(tags[1][QLatin1String("MessageText")].toString(), u"three"_s);
    QVERIFY2(dump.err.contains("tag 2 (record 3)"), dump.err.constData());
    const Run eval = runCli({u"eval"_s, dir.path()});
    QCOMPARE(eval.status, 2);
    QCOMPARE(eval.out.count('\n'), 2);
    QVERIFY(eval.err.contains("tag 2 (record 3)"));
}

void TestCli::loadRefusedWhileLocked()
{
    QTemporaryDir dir, scratch;
    sampleStore(dir.path());
    const QString json = scratch.filePath(u"empty.json"_s);
    QVERIFY(writeFile(json, R"({"env": {}})"));
    const QByteArray before = fileBytes(dt1Of(dir.path()));
    const QStringList load{u"load"_s, dir.path(), json};
    {
        SingleInstance running(dir.path());
        QVERIFY(running.tryAcquire());
        const Run r = runCli(load);
        QCOMPARE(r.status, 1);
        QVERIFY2(r.err.contains("Pinboard is running"), r.err.constData());
        QCOMPARE(fileBytes(dt1Of(dir.path())), before);
        // Reading does not disturb a running Pinboard.
        QCOMPARE(runCli({u"dump"_s, dir.path()}).status, 0);
    }
    QCOMPARE(runCli(load).status, 0);
    QCOMPARE(TagStore(dt1Of(dir.path())).tagCount(), 0);
    QVERIFY(!QFileInfo::exists(SingleInstance(dir.path()).lockPath()));
}

void TestCli::evalSaysWhy()
{
    QTemporaryDir dir;
    const TagStore store(dt1Of(dir.path()));
    QVERIFY(store.writeEnv(EnvRecord()));
    TagRecord daily, dated, trashed;
    daily.setByte(Tag::ScheduleKind, 2);
    daily.setDate(Tag::DisplayDateTime, at(1900, 1, 1, 10, 30));
    dated.setByte(Tag::ScheduleKind, 1);
    dated.setDate(Tag::DisplayDateTime, at(2024, 5, 1, 10, 0));
    trashed.setStateMark(TagRecord::InTrash);
    for (TagRecord *t : {&daily, &dated, &trashed})
        QVERIFY(store.addTag(*t));
    auto eval = [&](const QStringList &options, int status, const QString &out, const char *err) {
        const Run r = runCli(QStringList{u"eval"_s, dir.path()} + options);
        QCOMPARE(r.status, status);
        QCOMPARE(QString::fromUtf8(r.out), out);
        QVERIFY2(r.err.contains(err), r.err.constData());
    };
    eval({u"--at"_s, u"2024/05/01 09:59:59"_s}, 0,
         u"00001\t5\t1801\t毎日、10:30 から 表示されます。\n"
         u"00002\t1\t50401\t2024/05/01 10:00 から 表示されています。\n"_s,
         "");
    eval({u"--tag"_s, u"3"_s}, 1, {}, "no live tag 00003");
    eval({u"--at"_s, u"2024/13/01 00:00:00"_s}, 1, {}, "not of the form");
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
