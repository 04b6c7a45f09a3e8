#include "tagstore.h"
#include "testfiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
TagRecord tagWith(const QString &message)
{
    TagRecord tag;
    tag.setMessage(message);
    return tag;
}

QString number(int n)
{
    return u"%1"_s.arg(n, 5, 10, QLatin1Char('0'));
}
} // namespace

class TestTagStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_store = std::make_unique<TagStore>(m_dir->filePath(u"Pinboard.dt1"_s));
        QVERIFY(m_store->writeEnv(EnvRecord()));
    }
    void recordsLieInTheirSlots()
    {
        TagRecord one = tagWith(QString(3000, QChar(u'x')));
        for (TagRecord tag : {one, tagWith(u"tag 2"_s), tagWith(u"tag 3"_s)})
            QVERIFY(m_store->addTag(tag));
        one.setMessage(u"short"_s);
        QVERIFY(m_store->writeTag(1, one));

        const QByteArray raw = fileBytes(m_store->file().path());
        QCOMPARE(raw.size(), 3 * 32767 + 458 + 5);
        QCOMPARE(raw.first(5), QByteArray("00004"));
        QCOMPARE(raw.mid(32767 + 456, 17),
                 QByteArray("\x05\x00shortxxxxxxxxxx", 17)); // rest as it was
        for (int k = 2; k <= 3; ++k) {
            QCOMPARE(raw.mid(k * 32767 + 456, 7),
                     QByteArray("\x05\x00tag ", 6) + QByteArray::number(k));
            QCOMPARE(m_store->readTag(k)->message(), u"tag %1"_s.arg(k));
        }
        QCOMPARE(m_store->readTag(1)->message(), u"short"_s);
        QCOMPARE(m_store->tagCount(), 3);
        QCOMPARE(tagNumberAfter(u"99999"_s), u"00001"_s);
    }
    void addsReuseFreedRecords_data()
    {
        // "+" adds a tag, "tK" puts tag K in the trash, "dK" deletes it for good, "o"
        // goes on with another store over the same file.
        QTest::addColumn<QString>("script");
        QTest::addColumn<QList<int>>("records"); // where each "+" went
        QTest::newRow("trash keeps its record") << "+ + t1 +" << QList<int>{1, 2, 3};
        QTest::newRow("two freed, lowest first")
            << "+ + + + d3 d1 + + +" << QList<int>{1, 2, 3, 4, 1, 3, 5};
        QTest::newRow("two freed side by side")
            << "+ + + d2 d1 + + +" << QList<int>{1, 2, 3, 1, 2, 4};
        QTest::newRow("freed behind the scan") << "+ + d1 + d2 + +" << QList<int>{1, 2, 1, 2, 3};
        QTest::newRow("another store") << "+ + + d2 o +" << QList<int>{1, 2, 3, 2};
    }
    void addsReuseFreedRecords()
    {
        QFETCH(QString, script);
        QFETCH(QList<int>, records);
        QList<int> got;
        int adds = 0;
        for (const QString &op : script.split(u' ')) {
            if (op == u"o") {
                m_store = std::make_unique<TagStore>(m_store->file().path());
            } else if (op == u"+") {
                TagRecord tag = tagWith(QString::number(++adds));
                const auto k = m_store->addTag(tag);
                QVERIFY(k);
                got << *k;
                QCOMPARE(tag.tagNumber(), number(adds));
            } else {
                TagRecord tag = *m_store->readTag(op.mid(1).toInt());
                tag.setStateMark(op[0] == u't' ? TagRecord::InTrash : TagRecord::Deleted);
                QVERIFY(m_store->writeTag(op.mid(1).toInt(), tag));
            }
        }
        QCOMPARE(got, records);
        QCOMPARE(m_store->tagCount(), *std::max_element(records.begin(), records.end()));
        for (qsizetype i = 0; i < got.size(); ++i) {
            if (got.lastIndexOf(got[i]) == i) // still holds the i-th tag
                QCOMPARE(m_store->readTag(got[i])->message(), QString::number(i + 1));
        }
        QCOMPARE(m_store->readEnv()->nextTagNumber(), number(adds + 1));
    }
    // A long message beside short ones, a damaged length and a record cut by the end
    // of the file: one pass gives what reading each tag alone gives.
    void damagedTagsAreReported()
    {
        EnvRecord env;
        env.setTagCount(4);
        QVERIFY(m_store->writeEnv(env));
        QVERIFY(m_store->writeTag(1, tagWith(QString(9000, u'長'))));
        QVERIFY(m_store->writeTag(2, tagWith(u"short"_s)));
        QByteArray bad = tagWith(u"bad"_s).serialize();
        bad[TagRecord::FixedSize + 1] = char(0x90);
        QVERIFY(m_store->file().write(3 + 1, bad));
        QVERIFY(m_store->writeTag(4, tagWith(u"cut off"_s)));
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
        QCOMPARE(reason(3), u"points past"_s);
        QCOMPARE(reason(4), u"cut short"_s);
        QCOMPARE(reason(5), u"past the end"_s);
        // Record 1 counting more tags than the file holds, then cut short itself.
        env.setTagCount(5);
        QVERIFY(m_store->writeEnv(env));
        QCOMPARE(reason(0), u"TagCount 5"_s);
        QVERIFY(file.resize(1000));
        QCOMPARE(reason(0), u"ends after 1000"_s);
    }

private:
    // Which of the expected reasons record k (0: record 1) is refused for, with the path.
    QString reason(int k)
    {
        QString error;
        if (k == 0 ? bool(m_store->readEnv(&error)) : bool(m_store->readTag(k, &error)))
            return u"read"_s;
        for (const char *why :
             {"points past", "cut short", "past the end", "TagCount 5", "ends after 1000"})
            if (error.contains(QLatin1String(why)) && error.contains(m_store->file().path()))
                return QLatin1String(why);
        return error;
    }
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TagStore> m_store;
};
QTEST_APPLESS_MAIN(TestTagStore)
#include "tst_tagstore.moc"
