#include "oledate.h"
#include "scriptedprompt.h"
#include "tagoperations.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTagOperations : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_data = std::make_unique<TempStore>();
        m_prompt = ScriptedPrompt();
        m_ops = std::make_unique<TagOperations>(store(), m_prompt);
    }

    void trashAndRestore()
    {
        add(u"one"_s);
        add(u"two"_s);
        const TagRecord before = *store().readTag(1);
        QVERIFY(m_ops->trash(1));
        QCOMPARE(store().readTag(1)->state(), TagState::InTrash);
        QVERIFY(!m_ops->trash(1));   // already there
        QVERIFY(!m_ops->restore(2)); // not in the trash
        QCOMPARE(m_prompt.shown.size(), 2);
        QVERIFY(m_ops->restore(1));
        QCOMPARE(*store().readTag(1), before);
    }

    void deleteForGoodWipesTheRecord()
    {
        TagRecord t;
        t.setMessage(u"secret-text\r\nmore"_s);
        t.setText(Tag::Password, u"pw123"_s);
        t.setDate(Tag::EraseDateTime, OleDate::parse(u"2024/05/02 10:00:00"_s));
        QCOMPARE(m_ops->addNew(t), std::optional<int>(1));
        QVERIFY(m_ops->trash(1) && m_ops->deleteForGood(1));
        const TagRecord freed = *store().readTag(1);
        QCOMPARE(freed.state(), TagState::Free);
        QCOMPARE(freed.tagNumber(), u"00001"_s);
        QCOMPARE(freed.date(Tag::DisplayDateTime), OleDate::clearedDate());
        QCOMPARE(freed.date(Tag::EraseDateTime), OleDate::clearedDate());
        QVERIFY(freed.message().isEmpty() && freed.text(Tag::Password).isEmpty());
        QVERIFY(!fileBytes(store().file().path()).contains("more")); // nor in the rest of the slot
        QVERIFY(!m_ops->trash(1));                                   // a free record stays free
    }

    void emptyTrashFreesRecordsForNewTags()
    {
        add(u"a"_s, true);
        add(u"b"_s);
        add(u"c"_s, true);
        add(u"d"_s, true);
        QCOMPARE(m_ops->emptyTrash(), (QList<int>{1, 3, 4}));
        QCOMPARE(store().readTag(1)->state(), TagState::Free);
        QCOMPARE(store().readTag(2)->state(), TagState::Live);
        QVERIFY(m_prompt.shown.isEmpty());
        // New tags take the free records, in order, with new numbers.
        QCOMPARE(QList<int>({add(u"x"_s), add(u"y"_s), add(u"z"_s), add(u"w"_s)}),
                 (QList<int>{1, 3, 4, 5}));
        QCOMPARE(store().tagCount(), 5);
        QCOMPARE(store().readTag(1)->message(), u"x"_s);
        QCOMPARE(store().readTag(2)->message(), u"b"_s);
        QCOMPARE(store().readTag(1)->tagNumber(), u"00005"_s);
        QCOMPARE(store().readTag(3)->tagNumber(), u"00006"_s);
    }

    void copyForgetsWhereItCameFrom()
    {
        add(u"from afar"_s, true);
        TagRecord t = *store().readTag(1);
        t.setText(Tag::ReceivedMark, u"1"_s);
        t.setText(Tag::SenderAddress, u"10.0.0.9"_s);
        t.setByte(Tag::MailSent, 1);
        QVERIFY(m_ops->store(1, t));
        const auto copy = m_ops->copyOf(1);
        QVERIFY(copy);
        QCOMPARE(copy->message(), u"from afar"_s);
        QCOMPARE(copy->state(), TagState::Live);
        QVERIFY(copy->tagNumber().isEmpty() && !copy->isReceived() && !copy->mailSent());
        QVERIFY(copy->text(Tag::SenderName).isEmpty() && copy->text(Tag::SenderAddress).isEmpty());
    }

    void failuresReachTheUser()
    {
        add(u"a"_s);
        // A directory where the file was: every read and write fails.
        QVERIFY(QFile::remove(store().file().path()));
        QVERIFY(QDir().mkdir(store().file().path()));
        TagRecord t;
        QVERIFY(!m_ops->read(1));
        QVERIFY(!m_ops->store(1, t));
        QVERIFY(!m_ops->addNew(t));
        QVERIFY(!m_ops->trash(1));
        QCOMPARE(m_prompt.shown.size(), 4);
        QVERIFY2(!m_prompt.shown.contains(QString()), "every failure says why");
    }

private:
    int add(const QString &message, bool trashed = false);
    TagStore &store() { return m_data->store; }

    std::unique_ptr<TempStore> m_data;
    ScriptedPrompt m_prompt;
    std::unique_ptr<TagOperations> m_ops;
};

int TestTagOperations::add(const QString &message, bool trashed)
{
    TagRecord t;
    t.setByte(Tag::ScheduleKind, 2);
    t.setMessage(message);
    t.setText(Tag::SenderName, u"鈴木"_s);
    const int k = m_ops->addNew(t).value_or(0);
    if (trashed && k)
        (void)m_ops->trash(k);
    return k;
}

QTEST_GUILESS_MAIN(TestTagOperations)
#include "tst_tagoperations.moc"
