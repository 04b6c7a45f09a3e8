#include "oledate.h"
#include "scriptedprompt.h"
#include "tagoperations.h"
#include "tagstore.h"
#include "testfiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTagOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void trashAndRestore();
    void deleteForGoodWipesTheRecord();
    void emptyTrashFreesOnlyTheTrash();
    void newTagsReuseFreedRecords();
    void copyForgetsWhereItCameFrom();
    void failuresReachTheUser();

private:
    int add(const QString &message, const char *state = TagRecord::Live);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TagStore> m_store;
    ScriptedPrompt m_prompt;
    std::unique_ptr<TagOperations> m_ops;
};

void TestTagOperations::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_store = std::make_unique<TagStore>(m_dir->filePath(u"Pinboard.dt1"_s));
    QVERIFY(m_store->writeEnv(EnvRecord()));
    m_prompt = ScriptedPrompt();
    m_ops = std::make_unique<TagOperations>(*m_store, m_prompt);
}

int TestTagOperations::add(const QString &message, const char *state)
{
    TagRecord t;
    t.setByte(Tag::ScheduleKind, 2);
    t.setMessage(message);
    t.setDate(Tag::DisplayDateTime, OleDate::parse(u"2024/05/01 10:00:00"_s));
    const auto k = m_ops->addNew(t);
    if (k && qstrcmp(state, TagRecord::Live) != 0) {
        t.setStateMark(state);
        (void)m_store->writeTag(*k, t);
    }
    return k.value_or(0);
}

void TestTagOperations::trashAndRestore()
{
    add(u"one"_s);
    add(u"two"_s);
    const TagRecord before = *m_store->readTag(1);
    QVERIFY(m_ops->trash(1));
    QCOMPARE(m_store->readTag(1)->state(), TagState::InTrash);
    QVERIFY(!m_ops->trash(1));   // already there
    QVERIFY(!m_ops->restore(2)); // not in the trash
    QCOMPARE(m_prompt.shown.size(), 2);
    QVERIFY(m_ops->restore(1));
    QCOMPARE(*m_store->readTag(1), before);
}

void TestTagOperations::deleteForGoodWipesTheRecord()
{
    TagRecord t;
    t.setMessage(u"secret-text\r\nmore"_s);
    t.setText(Tag::Password, u"pw123"_s);
    t.setDate(Tag::EraseDateTime, OleDate::parse(u"2024/05/02 10:00:00"_s));
    QCOMPARE(m_ops->addNew(t), std::optional<int>(1));
    QVERIFY(m_ops->trash(1) && m_ops->deleteForGood(1));

    const TagRecord freed = *m_store->readTag(1);
    QCOMPARE(freed.state(), TagState::Free);
    QCOMPARE(freed.tagNumber(), u"00001"_s);
    QCOMPARE(freed.date(Tag::DisplayDateTime), OleDate::clearedDate());
    QCOMPARE(freed.date(Tag::EraseDateTime), OleDate::clearedDate());
    QVERIFY(freed.message().isEmpty() && freed.text(Tag::Password).isEmpty());
    QVERIFY(!fileBytes(m_store->file().path()).contains("more")); // nor in the rest of the slot
    QVERIFY(!m_ops->trash(1));                                    // a free record stays free
}

void TestTagOperations::emptyTrashFreesOnlyTheTrash()
{
    add(u"a"_s, TagRecord::InTrash);
    add(u"b"_s);
    add(u"c"_s, TagRecord::InTrash);
    QCOMPARE(m_ops->emptyTrash(), (QList<int>{1, 3}));
    QCOMPARE(m_store->readTag(1)->state(), TagState::Free);
    QCOMPARE(m_store->readTag(2)->state(), TagState::Live);
    QCOMPARE(m_store->readTag(3)->state(), TagState::Free);
    QVERIFY(m_prompt.shown.isEmpty());
}

void TestTagOperations::newTagsReuseFreedRecords()
{
    for (const char *m : {"a", "b", "c", "d"})
        add(QString::fromLatin1(m), TagRecord::InTrash);
    QVERIFY(m_ops->restore(3));
    QCOMPARE(m_ops->emptyTrash(), (QList<int>{1, 2, 4}));
    // Two new tags take the first two free records, in order, with new numbers.
    QCOMPARE(add(u"x"_s), 1);
    QCOMPARE(add(u"y"_s), 2);
    QCOMPARE(add(u"z"_s), 4);
    QCOMPARE(add(u"w"_s), 5);
    QCOMPARE(m_store->tagCount(), 5);
    QCOMPARE(m_store->readTag(1)->message(), u"x"_s);
    QCOMPARE(m_store->readTag(2)->message(), u"y"_s);
    QCOMPARE(m_store->readTag(3)->message(), u"c"_s);
    QCOMPARE(m_store->readTag(1)->tagNumber(), u"00005"_s);
    QCOMPARE(m_store->readTag(2)->tagNumber(), u"00006"_s);
}

void TestTagOperations::copyForgetsWhereItCameFrom()
{
    TagRecord t;
    t.setMessage(u"from afar"_s);
    t.setText(Tag::ReceivedMark, u"1"_s);
    t.setText(Tag::SenderName, u"鈴木"_s);
    t.setText(Tag::SenderAddress, u"10.0.0.9"_s);
    t.setByte(Tag::MailSent, 1);
    QVERIFY(m_ops->addNew(t));
    QVERIFY(m_ops->trash(1));
    const auto copy = m_ops->copyOf(1);
    QVERIFY(copy);
    QCOMPARE(copy->message(), u"from afar"_s);
    QCOMPARE(copy->state(), TagState::Live);
    QVERIFY(copy->tagNumber().isEmpty() && !copy->isReceived() && !copy->mailSent());
    QVERIFY(copy->text(Tag::SenderName).isEmpty() && copy->text(Tag::SenderAddress).isEmpty());
}

void TestTagOperations::failuresReachTheUser()
{
    add(u"a"_s);
    // A directory where the file was: every read and write fails.
    QVERIFY(QFile::remove(m_store->file().path()));
    QVERIFY(QDir().mkdir(m_store->file().path()));
    TagRecord t;
    QVERIFY(!m_ops->read(1));
    QVERIFY(!m_ops->store(1, t));
    QVERIFY(!m_ops->addNew(t));
    QVERIFY(!m_ops->trash(1));
    QCOMPARE(m_prompt.shown.size(), 4);
    for (const QString &text : std::as_const(m_prompt.shown))
        QVERIFY2(!text.isEmpty(), "every failure says why");
}

QTEST_GUILESS_MAIN(TestTagOperations)
#include "tst_tagoperations.moc"
