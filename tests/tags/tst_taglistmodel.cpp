#include "oledate.h"
#include "settings.h"
#include "tablecheck.h"
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
    void init()
    {
        m_data = std::make_unique<TempStore>();
        m_store = &m_data->store;
    }

    void rowsFollowTheStateMark()
    {
        fill({{0, "0", u"a\r\nb"_s},
              {2, "D", u"trashed"_s},
              {1, "9", u"gone"_s},
              {3, "0", u"last"_s},
              {1, "D", u"t2"_s}});
        const TagListModel model(*m_store, settings());
        QCOMPARE(model.rows(TagListModel::View::Live),
                 (QList<TagListRow>{{1, u"『すぐに表示』 a"_s}, {4, u"『毎週表示　』 last"_s}}));
        QCOMPARE(
            model.rows(TagListModel::View::Trash),
            (QList<TagListRow>{{2, u"『毎日表示　』 trashed"_s}, {5, u"『指定日表示』 t2"_s}}));
    }

    void rowText_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, int kind, const QString &message,
                            const QString &want) {
            QTest::newRow(name) << TagListModel::rowText(makeTag(kind, message)) << want;
        };
        row("first line", 4, u"会議\r\n3F"_s, u"『毎月表示　』 会議"_s);
        row("one line", 1, u"memo"_s, u"『指定日表示』 memo"_s);
        row("bare LF stays", 2, u"x\ny\rz"_s, u"『毎日表示　』 x\ny"_s);
        row("empty", 0, QString(), u"『すぐに表示』 "_s);
        row("unknown kind", 7, u"odd"_s, u"odd"_s);
    }

    void rowText() { compareGotWant<QString>(); }
    // flags: m mail tag, s mail sent, v window shown, t in the trash.
    void describe_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, int kind, const char *flags, const QString &want) {
            const QByteArray f(flags);
            TagRecord t = makeTag(kind, u"m"_s);
            t.setByte(Tag::MailFlag, f.contains('m'));
            t.setByte(Tag::MailSent, f.contains('s'));
            QTest::newRow(name) << (f.contains('t')
                                        ? TagListModel::describeTrashed(t)
                                        : TagListModel::describeLive(t, f.contains('v')))
                                << want;
        };
        const QString from = u"2024/05/01 10:00 から\n"_s;
        const QString now = u"すぐに表示指定ですが、現在は"_s;
        row("date, shown", 1, "v", from + u"表示されています。"_s);
        row("date, hidden", 1, "", from + u"表示されます。"_s);
        row("mail to send", 1, "m", from + u"E-Mailで送信します。"_s);
        row("mail sent", 1, "msv", from + u"E-Mailで送信しました。"_s);
        row("now, hidden", 0, "", now + u"非表示です。"_s);
        row("now, shown", 0, "v", u"表示されています。"_s);
        row("trash: date", 1, "t", from + u"表示されます。"_s);
        row("trash: mail", 1, "mst", from + u"表示されます。"_s);
        row("trash: now", 0, "vt", now + u"削除されています。"_s);
        row("trash: now mail", 0, "mt", now + u"削除されています。"_s);
    }

    void describe() { compareGotWant<QString>(); }
    void geometry()
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

private:
    void fill(const QList<Stored> &stored);

    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
};

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

QTEST_GUILESS_MAIN(TestTagListModel)
#include "tst_taglistmodel.moc"
