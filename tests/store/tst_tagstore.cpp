#include "tagstore.h"
#include "testfiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
TagRecord tagWith(const QString &message)
{
    TagRecord tag;
    tag.setMessage(message);
    return tag;
}
} // namespace

class TestTagStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void recordsLieInTheirSlots();
    void newTagsNumberAndReuse();
    void rewriteLeavesTheRestOfTheSlot();
    void damagedFilesAreReported_data();
    void damagedFilesAreReported();
    void tagNumbersWrap();
    void allTagsReadInOnePass();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TagStore> m_store;
};

void TestTagStore::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_store = std::make_unique<TagStore>(m_dir->filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(m_store->writeEnv(EnvRecord()));
}

void TestTagStore::recordsLieInTheirSlots()
{
    EnvRecord env;
    env.setTagCount(3);
    QVERIFY(m_store->writeEnv(env));
    for (int k = 1; k <= 3; ++k)
        QVERIFY(m_store->writeTag(k, tagWith(QStringLiteral("tag %1").arg(k))));

    const QByteArray raw = fileBytes(m_store->file().path());
    QCOMPARE(raw.size(), 3 * 32767 + 458 + 5);
    QCOMPARE(raw.first(5), QByteArray("00001"));
    for (int k = 1; k <= 3; ++k) {
        QCOMPARE(raw.mid(k * 32767 + 456, 7),
                 QByteArray("\x05\x00tag ", 6) + QByteArray::number(k));
        const auto tag = m_store->readTag(k);
        QVERIFY(tag.has_value());
        QCOMPARE(tag->message(), QStringLiteral("tag %1").arg(k));
    }
    QCOMPARE(m_store->tagCount(), 3);
}

void TestTagStore::newTagsNumberAndReuse()
{
    TagRecord a = tagWith(QStringLiteral("a"));
    TagRecord b = tagWith(QStringLiteral("b"));
    QCOMPARE(m_store->addTag(a), std::optional<int>(1));
    QCOMPARE(m_store->addTag(b), std::optional<int>(2));
    QCOMPARE(a.tagNumber(), QStringLiteral("00001"));
    QCOMPARE(b.tagNumber(), QStringLiteral("00002"));
    QCOMPARE(m_store->tagCount(), 2);

    // A tag in the trash keeps its record; one deleted for good frees it.
    a.setStateMark(TagRecord::InTrash);
    QVERIFY(m_store->writeTag(1, a));
    TagRecord c = tagWith(QStringLiteral("c"));
    QCOMPARE(m_store->addTag(c), std::optional<int>(3));

    a.setStateMark(TagRecord::Deleted);
    QVERIFY(m_store->writeTag(1, a));
    TagRecord d = tagWith(QStringLiteral("d"));
    QCOMPARE(m_store->addTag(d), std::optional<int>(1));
    QCOMPARE(d.tagNumber(), QStringLiteral("00004"));
    QCOMPARE(d.stateMark(), QStringLiteral("0"));
    QCOMPARE(m_store->tagCount(), 3);
    QCOMPARE(m_store->readTag(1)->message(), QStringLiteral("d"));
    QCOMPARE(m_store->readEnv()->nextTagNumber(), QStringLiteral("00005"));

    // Freed after the scan moved past it, a record is still found again.
    b.setStateMark(TagRecord::Deleted);
    QVERIFY(m_store->writeTag(2, b));
    TagRecord e = tagWith(QStringLiteral("e"));
    QCOMPARE(m_store->addTag(e), std::optional<int>(2));
    TagRecord f = tagWith(QStringLiteral("f"));
    QCOMPARE(m_store->addTag(f), std::optional<int>(4));
    // Another store over the same file sees what this one freed.
    e.setStateMark(TagRecord::Deleted);
    QVERIFY(m_store->writeTag(2, e));
    TagStore other(m_store->file().path());
    TagRecord g = tagWith(QStringLiteral("g"));
    QCOMPARE(other.addTag(g), std::optional<int>(2));
}

void TestTagStore::rewriteLeavesTheRestOfTheSlot()
{
    TagRecord one = tagWith(QString(3000, QChar(u'x')));
    TagRecord two = tagWith(QStringLiteral("second"));
    QVERIFY(m_store->addTag(one));
    QVERIFY(m_store->addTag(two));
    one.setMessage(QStringLiteral("short"));
    QVERIFY(m_store->writeTag(1, one));

    const QByteArray raw = fileBytes(m_store->file().path());
    QCOMPARE(raw.mid(32767 + 458, 5), QByteArray("short"));
    QCOMPARE(raw.mid(32767 + 458 + 5, 10), QByteArray(10, 'x')); // slot rest as it was
    QCOMPARE(m_store->readTag(1)->message(), QStringLiteral("short"));
    QCOMPARE(m_store->readTag(2)->message(), QStringLiteral("second"));
}

void TestTagStore::damagedFilesAreReported_data()
{
    QTest::addColumn<int>("damage");
    QTest::addColumn<int>("tag"); // 0: read record 1
    QTest::addColumn<QString>("reason");
    QTest::newRow("file shorter than record 1") << 0 << 0 << QStringLiteral("ends after 1000");
    QTest::newRow("length points past slot") << 1 << 1 << QStringLiteral("points past");
    QTest::newRow("message cut by end of file") << 2 << 1 << QStringLiteral("cut short");
    QTest::newRow("tag beyond end of file") << 3 << 2 << QStringLiteral("past the end");
    QTest::newRow("TagCount beyond the file") << 4 << 0 << QStringLiteral("TagCount 5");
}

void TestTagStore::damagedFilesAreReported()
{
    QFETCH(int, damage);
    QFETCH(int, tag);
    QFETCH(QString, reason);
    TagRecord t = tagWith(QStringLiteral("hello"));
    QVERIFY(m_store->addTag(t));
    const QString path = m_store->file().path();
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadWrite));
    switch (damage) {
    case 0:
        f.resize(1000);
        break;
    case 1:
        f.seek(32767 + 456);
        f.write("\xF0\x7F", 2);
        break;
    case 2:
        f.resize(32767 + 460);
        break;
    case 3:
        break;
    case 4: {
        EnvRecord env;
        env.setTagCount(5);
        f.write(env.bytes());
        break;
    }
    }
    f.close();

    QString error;
    if (tag == 0)
        QVERIFY(!m_store->readEnv(&error));
    else
        QVERIFY(!m_store->readTag(tag, &error));
    QVERIFY2(error.contains(reason), qPrintable(error));
    QVERIFY2(error.contains(path), qPrintable(error));
}

void TestTagStore::tagNumbersWrap()
{
    QCOMPARE(tagNumberAfter(QStringLiteral("00001")), QStringLiteral("00002"));
    QCOMPARE(tagNumberAfter(QStringLiteral("00999")), QStringLiteral("01000"));
    QCOMPARE(tagNumberAfter(QStringLiteral("99999")), QStringLiteral("00001"));
}

// A long message beside short ones, a damaged length and a record cut by the end
// of the file: one pass gives what reading each tag alone gives.
void TestTagStore::allTagsReadInOnePass()
{
    EnvRecord env;
    env.setTagCount(4);
    QVERIFY(m_store->writeEnv(env));
    QVERIFY(m_store->writeTag(1, tagWith(QString(9000, u'長'))));
    QVERIFY(m_store->writeTag(2, tagWith(QStringLiteral("short"))));
    QByteArray bad = tagWith(QStringLiteral("bad")).serialize();
    bad[TagRecord::FixedSize + 1] = char(0x90);
    QVERIFY(m_store->file().write(3 + 1, bad));
    QVERIFY(m_store->writeTag(4, tagWith(QStringLiteral("cut off"))));
    QFile file(m_store->file().path());
    QVERIFY(file.resize(file.size() - 3));

    QList<int> seen;
    m_store->readTags(4, [&](int k, const TagRecord *tag, const QString &error) {
        seen << k;
        QString alone;
        const auto single = m_store->readTag(k, &alone);
        QCOMPARE(tag != nullptr, single.has_value());
        if (tag)
            QCOMPARE(*tag, *single);
        else
            QCOMPARE(error, alone);
    });
    QCOMPARE(seen, (QList<int>{1, 2, 3, 4}));
    QCOMPARE(m_store->readTag(1)->message(), QString(9000, u'長'));
    QVERIFY(!m_store->readTag(3));
    QVERIFY(!m_store->readTag(4));
}

QTEST_APPLESS_MAIN(TestTagStore)
#include "tst_tagstore.moc"
