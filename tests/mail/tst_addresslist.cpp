#include "addresslist.h"
#include "scriptedprompt.h"
#include "sendmail.h"
#include "settings.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {
const QString NewGuide =
    u"新しいメールアドレスを登録します。（名前とﾒｰﾙｱﾄﾞﾚｽを入力して下さい。）"_s;
const QString UpdateGuide =
    u"選択行のアドレス情報を更新します。（名前、ﾒｰﾙｱﾄﾞﾚｽ、ｸﾞﾙｰﾌﾟ1～3を置き換えます。）"_s;

template <class T> T *child(const QWidget *w, const char *name)
{
    auto *c = w->findChild<T *>(QLatin1String(name));
    if (!c)
        qFatal("no child %s", name);
    return c;
}

// Groups 営業, ｻﾎﾟｰﾄ, 総務, 経理; 山田 in 営業, ｽｽﾞｷ in the first three.
AddressBook startBook()
{
    return AddressBook({{u"山田太郎"_s, u"ｽｽﾞｷ"_s},
                        {u"yamada@example.jp"_s, u"suzuki@example.jp"_s},
                        {u"営業"_s, u"営業"_s},
                        {QString(), u"ｻﾎﾟｰﾄ"_s},
                        {QString(), u"総務"_s},
                        {u"営業"_s, u"ｻﾎﾟｰﾄ"_s, u"総務"_s, u"経理"_s}});
}
} // namespace

class TestAddressList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_window.reset();
        m_data = std::make_unique<TempStore>();
        m_dt3 = m_data->path(u"Pinboard.dt3"_s);
        m_book = startBook();
        m_prompt = ScriptedPrompt();
        m_window = std::make_unique<AddressList>(m_book, m_dt3, m_data->settings(), m_prompt);
    }
    void registers_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("message");
        QTest::newRow("blank address") << u"  "_s << u"メールアドレスを入力して下さい。"_s;
        QTest::newRow("same address")
            << u"yamada@example.jp"_s << u"既に同じメールアドレスが登録されています。"_s;
        QTest::newRow("registered, trimmed") << u" t@example.jp"_s << QString();
    }
    void registers()
    {
        QFETCH(QString, address);
        QFETCH(QString, message);
        get("txt_Name")->setText(u" 田中 "_s);
        get("txt_Address")->setText(address);
        get<QComboBox>("cmb_Group1")->setCurrentIndex(2); // ｻﾎﾟｰﾄ
        get<QComboBox>("cmb_Group2")->setCurrentIndex(3); // 総務
        QCOMPARE(get<QPushButton>("cmd_Entry")->text(), u"登録"_s);
        get<QPushButton>("cmd_Entry")->click();
        QCOMPARE(m_prompt.shown, message.isEmpty() ? QStringList() : QStringList{message});
        QCOMPARE(m_window->isModified(), message.isEmpty());
        QCOMPARE(m_book, startBook()); // nothing reaches the book before it is saved
        if (!message.isEmpty()) {
            QCOMPARE(m_window->edited(), startBook());
            return;
        }
        const AddressPerson added{u"田中"_s, u"t@example.jp"_s, {u"ｻﾎﾟｰﾄ"_s, u"総務"_s, QString()}};
        QCOMPARE(m_window->edited().people(), startBook().people() + QList<AddressPerson>{added});
        QCOMPARE(people()->topLevelItem(2)->text(2), u"ｻﾎﾟｰﾄ、総務"_s);
        QCOMPARE(get("txt_Name")->text(), QString());
        QCOMPARE(get<QLabel>("lbl_Guide")->text(), NewGuide);
    }
    void selectingLoadsAndUpdates()
    {
        people()->setCurrentItem(people()->topLevelItem(1));
        QCOMPARE(get("txt_Name")->text(), u"ｽｽﾞｷ"_s);
        QCOMPARE(get<QComboBox>("cmb_Group3")->currentText(), u"総務"_s);
        QCOMPARE(get<QLabel>("lbl_Guide")->text(), UpdateGuide);
        auto *entry = get<QPushButton>("cmd_Entry");
        QCOMPARE(entry->text(), u"更新"_s);
        get("txt_Address")->setText(u"ichiro@example.jp"_s);
        get<QComboBox>("cmb_Group3")->setCurrentIndex(0);
        entry->click();
        QVERIFY(m_prompt.shown.isEmpty());
        const AddressPerson updated{
            u"ｽｽﾞｷ"_s, u"ichiro@example.jp"_s, {u"営業"_s, u"ｻﾎﾟｰﾄ"_s, QString()}};
        QCOMPARE(m_window->edited().people(),
                 (QList<AddressPerson>{startBook().people()[0], updated}));
        QCOMPARE(entry->text(), u"更新"_s);
        get<QPushButton>("cmd_Clear")->click();
        QCOMPARE(get<QLabel>("lbl_Guide")->text(), NewGuide);
        QCOMPARE(entry->text(), u"登録"_s);
        QCOMPARE(get("txt_Address")->text(), QString());
    }
    void deletesPerson_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("answer");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QStringList>("namesAfter");
        const QString yamada = u"山田太郎"_s, suzuki = u"ｽｽﾞｷ"_s;
        const QString question = u"選択された行のｱﾄﾞﾚｽ情報（ｽｽﾞｷ）を削除します。よろしいですか？"_s;
        QTest::newRow("nothing selected")
            << -1 << true << u"削除するメールアドレスの行が選択されていません。"_s
            << QStringList{yamada, suzuki};
        QTest::newRow("yes") << 1 << true << question << QStringList{yamada};
        QTest::newRow("no") << 1 << false << question << QStringList{yamada, suzuki};
    }
    void deletesPerson()
    {
        QFETCH(int, row);
        QFETCH(bool, answer);
        QFETCH(QString, shown);
        QFETCH(QStringList, namesAfter);
        if (row >= 0)
            people()->setCurrentItem(people()->topLevelItem(row));
        m_prompt.answers = {answer};
        get<QAction>("mnu_DelAddress")->trigger();
        QCOMPARE(m_prompt.shown, QStringList{shown});
        if (row >= 0)
            QCOMPARE(m_prompt.titles, QStringList{u"削除の確認"_s});
        QCOMPARE(names(), namesAfter);
        QCOMPARE(people()->topLevelItemCount(), namesAfter.size());
        QCOMPARE(m_window->isModified(), namesAfter.size() == 1);
    }
    void deletesGroupFromGroupView()
    {
        auto *groups = get<QTreeWidget>("lst_GroupList");
        get<QAction>("mnu_DelGroup")->trigger();
        QCOMPARE(m_prompt.shown, QStringList{u"削除するｸﾞﾙｰﾌﾟが選択されていません。"_s});
        get<QAction>("mnu_GroupList")->trigger();
        QCOMPARE(get<QStackedWidget>("stk_Lists")->currentWidget(), groups);
        QCOMPARE(groups->topLevelItem(0)->text(1), u"山田太郎、ｽｽﾞｷ"_s);
        groups->setCurrentItem(groups->topLevelItem(0));
        m_prompt.answers = {true};
        get<QAction>("mnu_DelGroup")->trigger();
        QCOMPARE(m_prompt.shown.last(),
                 u"選択されたｸﾞﾙｰﾌﾟ（営業）を削除します。よろしいですか？"_s);
        QCOMPARE(m_prompt.titles.last(), u"削除の確認"_s);
        QCOMPARE(m_window->edited().groups(), (QStringList{u"ｻﾎﾟｰﾄ"_s, u"総務"_s, u"経理"_s}));
        QCOMPARE(m_window->edited().people().at(1).groupList(),
                 (QStringList{u"ｻﾎﾟｰﾄ"_s, u"総務"_s}));
        QCOMPARE(groups->topLevelItemCount(), 3);
        QCOMPARE(get<QComboBox>("cmb_Group1")->findText(u"営業"_s), -1);
        QVERIFY(m_window->isModified());
        get<QAction>("mnu_AddrList")->trigger();
        QCOMPARE(get<QStackedWidget>("stk_Lists")->currentWidget(), people());
    }
    void addsSelectedToGroup()
    {
        people()->topLevelItem(0)->setSelected(true);
        people()->topLevelItem(1)->setSelected(true);
        auto *target = get<QComboBox>("cmb_AddGroup");
        target->setCurrentIndex(target->findText(u"経理"_s));
        get<QPushButton>("cmd_Add")->click();
        QCOMPARE(m_prompt.shown,
                 QStringList{u"ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰ（ｽｽﾞｷ）は、既に三つのｸﾞﾙｰﾌﾟに属しています。"
                             u"これ以上追加することは出来ません。"_s});
        QCOMPARE(people()->topLevelItem(0)->text(2), u"営業、経理"_s);
        QCOMPARE(m_window->edited().people().at(1), startBook().people().at(1));
        QVERIFY(m_window->isModified());
    }
    void saveAndClose_data()
    {
        QTest::addColumn<bool>("saveFirst");
        QTest::addColumn<bool>("answer");
        QTest::newRow("mnu_Save, then nothing to ask") << true << false;
        QTest::newRow("close asks, yes saves") << false << true;
        QTest::newRow("close asks, no drops") << false << false;
    }
    void saveAndClose()
    {
        QFETCH(bool, saveFirst);
        QFETCH(bool, answer);
        QSignalSpy saved(m_window.get(), &AddressList::saved);
        m_window->show();
        get("txt_GroupName")->setText(u"開発"_s);
        get<QPushButton>("cmd_GroupEntry")->click();
        QVERIFY(m_window->isModified());
        if (saveFirst)
            get<QAction>("mnu_Save")->trigger();
        QCOMPARE(saved.count(), saveFirst ? 1 : 0);
        m_prompt.answers = {answer};
        m_window->close();
        QVERIFY(!m_window->isVisible());
        QCOMPARE(m_prompt.shown,
                 saveFirst
                     ? QStringList()
                     : QStringList{u"ｱﾄﾞﾚｽﾘｽﾄの内容が変更されています。変更を保存しますか？"_s});
        QCOMPARE(m_prompt.titles, saveFirst ? QStringList() : QStringList{u"保存の確認"_s});
        const bool written = saveFirst || answer;
        QCOMPARE(m_book.groups().contains(u"開発"_s), written);
        QCOMPARE(fileBytes(m_dt3),
                 written ? addressBookBytes(m_window->edited().data()) : QByteArray());
    }
    void sendMail()
    {
        const TagMailSettings current{
            u"会議"_s, {u"yamada@example.jp"_s, u"other@example.jp"_s}, {}, {}};
        SendMail dialog(m_book, current);
        QCOMPARE(dialog.settings(), current);
        QCOMPARE(child<QListWidget>(&dialog, "lst_To")->item(0)->text(),
                 u"山田太郎 <yamada@example.jp>"_s);
        // A group lists its members already chosen; ｽｽﾞｷ is in both and added once, and
        // yamada, in To already, is not added to Cc.
        auto *group = child<QComboBox>(&dialog, "cmb_Group");
        auto *addCc = child<QPushButton>(&dialog, "cmd_AddCc");
        group->setCurrentIndex(group->findText(u"ｻﾎﾟｰﾄ"_s));
        QCOMPARE(child<QListWidget>(&dialog, "lst_Book")->selectedItems().size(), 1);
        addCc->click();
        group->setCurrentIndex(group->findText(u"営業"_s));
        addCc->click();
        QCOMPARE(dialog.settings().cc, QStringList{u"suzuki@example.jp"_s});
        // With the group still chosen, a typed address goes alone.
        child<QLineEdit>(&dialog, "txt_Address")->setText(u" new@x.jp "_s);
        child<QPushButton>(&dialog, "cmd_AddTo")->click();
        QCOMPARE(dialog.settings().to.mid(2), QStringList{u"new@x.jp"_s});
        QCOMPARE(dialog.settings().cc.size(), 1);
        group->setCurrentIndex(0); // everyone, nobody chosen: only the typed addresses go
        child<QLineEdit>(&dialog, "txt_Address")->setText(u" a@x.jp, b@x.jp;A@X.JP "_s);
        child<QPushButton>(&dialog, "cmd_AddBcc")->click();
        QCOMPARE(dialog.settings().bcc, (QStringList{u"a@x.jp"_s, u"b@x.jp"_s}));
        child<QListWidget>(&dialog, "lst_Bcc")->item(0)->setSelected(true);
        child<QPushButton>(&dialog, "cmd_Remove")->click();
        QCOMPARE(dialog.settings().bcc, QStringList{u"b@x.jp"_s});
        QCOMPARE(dialog.settings().cc.size(), 1);
    }

private:
    template <class T = QLineEdit> T *get(const char *name) const
    {
        return child<T>(m_window.get(), name);
    }
    QTreeWidget *people() const { return get<QTreeWidget>("lst_AddrList"); }
    QStringList names() const
    {
        QStringList out;
        for (const AddressPerson &p : m_window->edited().people())
            out << p.name;
        return out;
    }

    std::unique_ptr<TempStore> m_data;
    QString m_dt3;
    AddressBook m_book;
    ScriptedPrompt m_prompt;
    std::unique_ptr<AddressList> m_window;
};
QTEST_MAIN(TestAddressList)
#include "tst_addresslist.moc"
