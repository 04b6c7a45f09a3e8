#include "oledate.h"
#include "settings.h"
#include "taglistmodel.h"
#include "tagstore.h"
#include "tempstore.h"
#include "twips.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {
struct Stored
{
    int kind;
    const char *mark;
    QString message;
};

TagRecord makeTag(int kind, const QString &message, const char *display = "2024/05/01 10:00:00")
{
    TagRecord t;
    t.setByte(Tag::ScheduleKind, kind);
    t.setMessage(message);
    t.setDate(Tag::DisplayDateTime, OleDate::parse(QString::fromLatin1(display)));
    return t;
}
} // namespace

class TestTagListModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void rowsFollowTheStateMark();
    void rowText_data();
    void rowText();
    void describe_data();
    void describe();
    void geometry();

private:
    void fill(const QList<Stored> &stored);

    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
};

void TestTagListModel::init()
{
    m_data = std::make_unique<TempStore>();
    m_store = &m_data->store;
}

// Written in place: addTag would reuse a record marked "9" for the next tag.
void TestTagListModel::fill(const QList<Stored> &stored)
{
    EnvRecord env;
    env.setTagCount(int(stored.size()));
    QVERIFY(m_store->writeEnv(env));
    for (int k = 1; k <= stored.size(); ++k) {
        TagRecord t = makeTag(stored[k - 1].kind, stored[k - 1].message);
        t.setStateMark(stored[k - 1].mark);
        QVERIFY(m_store->writeTag(k, t));
    }
}

void TestTagListModel::rowsFollowTheStateMark()
{
    fill({{0, "0", u"a\r\nb"_s},
          {2, "D", u"trashed"_s},
          {1, "9", u"gone"_s},
          {3, "0", u"last"_s},
          {1, "D", u"t2"_s}});
    const TagListModel model(*m_store, settings());
    QCOMPARE(model.rows(TagListModel::View::Live),
             (QList<TagListRow>{{1, u"『すぐに表示』 a"_s}, {4, u"『毎週表示　』 last"_s}}));
    QCOMPARE(model.rows(TagListModel::View::Trash),
             (QList<TagListRow>{{2, u"『毎日表示　』 trashed"_s}, {5, u"『指定日表示』 t2"_s}}));
}

void TestTagListModel::rowText_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("text");
    QTest::newRow("first line") << 4 << u"会議\r\n3F"_s << u"『毎月表示　』 会議"_s;
    QTest::newRow("one line") << 1 << u"memo"_s << u"『指定日表示』 memo"_s;
    QTest::newRow("bare LF stays") << 2 << u"x\ny\rz"_s << u"『毎日表示　』 x\ny"_s;
    QTest::newRow("empty") << 0 << QString() << u"『すぐに表示』 "_s;
    QTest::newRow("unknown kind") << 7 << u"odd"_s << u"odd"_s;
}

void TestTagListModel::rowText()
{
    QFETCH(int, kind);
    QFETCH(QString, message);
    QFETCH(QString, text);
    QCOMPARE(TagListModel::rowText(makeTag(kind, message)), text);
}

// flags: m mail tag, s mail sent, v window shown, t in the trash.
void TestTagListModel::describe_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("flags");
    QTest::addColumn<QString>("text");
    const QString from = u"2024/05/01 10:00 から\n"_s;
    QTest::newRow("date, shown") << 1 << u"v"_s << from + u"表示されています。"_s;
    QTest::newRow("date, hidden") << 1 << u""_s << from + u"表示されます。"_s;
    QTest::newRow("mail to send") << 1 << u"m"_s << from + u"E-Mailで送信します。"_s;
    QTest::newRow("mail sent") << 1 << u"msv"_s << from + u"E-Mailで送信しました。"_s;
    QTest::newRow("now, hidden") << 0 << u""_s << u"すぐに表示指定ですが、現在は非表示です。"_s;
    QTest::newRow("now, shown") << 0 << u"v"_s << u"表示されています。"_s;
    QTest::newRow("trash: date") << 1 << u"t"_s << from + u"表示されます。"_s;
    QTest::newRow("trash: mail") << 1 << u"mst"_s << from + u"表示されます。"_s;
    QTest::newRow("trash: now") << 0 << u"vt"_s
                                << u"すぐに表示指定ですが、現在は削除されています。"_s;
    QTest::newRow("trash: now mail")
        << 0 << u"mt"_s << u"すぐに表示指定ですが、現在は削除されています。"_s;
}

void TestTagListModel::describe()
{
    QFETCH(int, kind);
    QFETCH(QString, flags);
    QFETCH(QString, text);
    TagRecord t = makeTag(kind, u"m"_s);
    t.setByte(Tag::MailFlag, flags.contains(u'm'));
    t.setByte(Tag::MailSent, flags.contains(u's'));
    QCOMPARE(flags.contains(u't') ? TagListModel::describeTrashed(t)
                                  : TagListModel::describeLive(t, flags.contains(u'v')),
             text);
}

void TestTagListModel::geometry()
{
    const TagListModel model(*m_store, settings());
    QCOMPARE(model.storedGeometry(TagListModel::View::Trash, 96, 96), std::nullopt);
    QVERIFY(model.storeGeometry(TagListModel::View::Trash, QRect(10, 20, 500, 300), 96, 120));
    const EnvRecord env = *m_store->readEnv();
    QCOMPARE(env.longValue(Env::TrashListLeft), 150);
    QCOMPARE(env.longValue(Env::TrashListHeight), 3600);
    QCOMPARE(env.longValue(Env::TagListWidth), 0);
    QCOMPARE(model.storedGeometry(TagListModel::View::Trash, 144, 96), QRect(15, 16, 750, 240));
    QCOMPARE(twipsToPixels(1000, 96), 67); // rounded, not cut
}

QTEST_GUILESS_MAIN(TestTagListModel)
#include "tst_taglistmodel.moc"
