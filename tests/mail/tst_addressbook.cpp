#include "addressbook.h"
#include "addressbookfile.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

using Field = AddressBook::EntryField;

namespace {

const QString Eigyo = QStringLiteral("営業");
const QString Support = QStringLiteral("ｻﾎﾟｰﾄ");
const QString Somu = QStringLiteral("総務");

// Two groups; 山田 in 営業, ｽｽﾞｷ in 営業 and ｻﾎﾟｰﾄ.
AddressBookData smallBook()
{
    AddressBookData d;
    d.groups = {Eigyo, Support};
    d.names = {QStringLiteral("山田太郎"), QStringLiteral("ｽｽﾞｷ")};
    d.addresses = {QStringLiteral("yamada@example.jp"), QStringLiteral("suzuki@example.jp")};
    d.group1 = {Eigyo, Eigyo};
    d.group2 = {QString(), Support};
    d.group3 = {QString(), QString()};
    return d;
}
} // namespace

class TestAddressBook : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void writesExactBytes();
    void readsHandWrittenFile();
    void failures();
    void checkEntry_data();
    void checkEntry();
    void addGroupCheck_data();
    void addGroupCheck();
    void addToGroup_data();
    void addToGroup();
    void removeGroupClearsMembers();

private:
    QTemporaryDir m_dir;
};

void TestAddressBook::writesExactBytes()
{
    const QString path = m_dir.filePath(QStringLiteral("exact.dt3"));
    QString error;
    QVERIFY2(writeAddressBook(path, smallBook(), &error), qPrintable(error));
    const QByteArray expected = "\""
                                "\x89\x63\x8b\xc6"
                                "\",\"\",\"\",\"\",\"\"\r\n"
                                "\""
                                "\xbb\xce\xdf\xb0\xc4"
                                "\",\"\",\"\",\"\",\"\"\r\n"
                                "\""
                                "\x8e\x52\x93\x63\x91\xbe\x98\x59"
                                "\",\"yamada@example.jp\",\""
                                "\x89\x63\x8b\xc6"
                                "\",\"\",\"\"\r\n"
                                "\""
                                "\xbd\xbd\xde\xb7"
                                "\",\"suzuki@example.jp\",\""
                                "\x89\x63\x8b\xc6"
                                "\",\""
                                "\xbb\xce\xdf\xb0\xc4"
                                "\",\"\"\r\n";
    QCOMPARE(fileBytes(path), expected);
    const auto read = readAddressBook(path, &error);
    QVERIFY(read);
    QCOMPARE(*read, smallBook());
    QCOMPARE(AddressBook(*read).data(), smallBook());
}

void TestAddressBook::readsHandWrittenFile()
{
    const QString path = m_dir.filePath(QStringLiteral("hand.dt3"));
    const QByteArray bytes = "\""
                             "\x91\x8d\x96\xb1" // 総務, a group
                             "\",\"\",\"\",\"\",\"\"\r\n"
                             "\"\",\"nobody@example.jp\",\"x\",\"\",\"\"\r\n" // no name: skipped
                             "\"Tanaka, Jiro\" , \"tanaka@example.jp\",\""
                             "\x91\x8d\x96\xb1"
                             "\",\"\",\"\"\r\n"
                             "\"broken,\"\"\",\"a@example.jp\"\r\n"    // 4: text after a quote
                             "\"open,b@example.jp\r\n"                 // 5: unclosed quote
                             "\"a\",\"b\",\"c\",\"d\",\"e\",\"f\"\r\n" // 6: six fields
                             "\r\n"                                    // blank
                             "plain name , plain@example.jp\n"         // unquoted, LF only
                             "\"OnlyName\"";                           // a group, no line end
    QVERIFY(writeFile(path, bytes));
    for (const char *why : {"line 4: text after a closing quote", "line 5: unclosed quote",
                            "line 6: more than 5 fields"}) {
        QTest::ignoreMessage(QtWarningMsg,
                             qPrintable(path + QStringLiteral(": skipped ") + QLatin1String(why)));
    }
    QStringList skipped;
    const auto read = readAddressBook(path, nullptr, &skipped);
    QVERIFY(read);
    QCOMPARE(read->groups, (QStringList{Somu, QStringLiteral("OnlyName")}));
    QCOMPARE(read->names,
             (QStringList{QStringLiteral("Tanaka, Jiro"), QStringLiteral("plain name")}));
    QCOMPARE(read->addresses, (QStringList{QStringLiteral("tanaka@example.jp"),
                                           QStringLiteral("plain@example.jp")}));
    QCOMPARE(read->group1, (QStringList{Somu, QString()}));
    QCOMPARE(read->group2, (QStringList{QString(), QString()}));
    QCOMPARE(read->group3, (QStringList{QString(), QString()}));
    QCOMPARE(skipped, (QStringList{QStringLiteral("line 4: text after a closing quote"),
                                   QStringLiteral("line 5: unclosed quote"),
                                   QStringLiteral("line 6: more than 5 fields")}));
}

void TestAddressBook::failures()
{
    QString error;
    const auto none = readAddressBook(m_dir.filePath(QStringLiteral("none.dt3")), &error);
    QVERIFY(none && *none == AddressBookData() && error.isEmpty()); // missing: an empty book
    QVERIFY(!readAddressBook(m_dir.path(), &error));                // a directory
    QVERIFY(error.startsWith(m_dir.path()));
    QVERIFY(!writeAddressBook(m_dir.filePath(QStringLiteral("no/dir.dt3")), smallBook(), &error));

    // A field the format cannot hold is refused and the old file stays as it was.
    const QString path = m_dir.filePath(QStringLiteral("refuse.dt3"));
    QVERIFY(writeAddressBook(path, smallBook()));
    const QByteArray before = fileBytes(path);
    for (const QString &bad :
         {QStringLiteral("a\"b"), QStringLiteral("a\nb"), QStringLiteral("😀")}) {
        AddressBookData d = smallBook();
        d.group3[0] = bad;
        QVERIFY(!writeAddressBook(path, d, &error));
        QCOMPARE(fileBytes(path), before);
    }
}

void TestAddressBook::checkEntry_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QStringList>("groups");
    QTest::addColumn<int>("replacing");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("field");

    const QString none;
    const QStringList noGroups{none, none, none};
    const QString yamada = QStringLiteral("山田太郎");
    const QString suzukiMail = QStringLiteral("suzuki@example.jp");
    const QString quote =
        QStringLiteral("名前、メールアドレス、グループ名に「\"」は使用出来ません。");
    const int name = int(Field::Name), address = int(Field::Address), groups = int(Field::Groups);

    QTest::newRow("empty name before empty address")
        << none << none << noGroups << -1 << QStringLiteral("名前を入力して下さい。") << name;
    QTest::newRow("empty address") << QStringLiteral("田中") << none << noGroups << -1
                                   << QStringLiteral("メールアドレスを入力して下さい。") << address;
    QTest::newRow("same name before same address")
        << yamada << suzukiMail << noGroups << -1
        << QStringLiteral("既に同じ名前の人が登録されています。") << name;
    QTest::newRow("same address in other case, other name")
        << QStringLiteral("田中") << QStringLiteral("Suzuki@Example.JP") << noGroups << -1
        << QStringLiteral("既に同じメールアドレスが登録されています。") << address;
    QTest::newRow("another's name on update")
        << yamada << QStringLiteral("new@example.jp") << noGroups << 1
        << QStringLiteral("既に同じ名前の人が登録されています。") << name;
    QTest::newRow("own name and address on update")
        << yamada << QStringLiteral("yamada@example.jp") << QStringList{Support, none, Eigyo} << 0
        << none << address;
    QTest::newRow("group 1 and 3 the same")
        << QStringLiteral("田中") << QStringLiteral("t@example.jp")
        << QStringList{Eigyo, none, Eigyo} << -1 << QStringLiteral("同一グループは指定出来ません。")
        << groups;
    QTest::newRow("quote in name") << QStringLiteral("\"田中\"") << QStringLiteral("t@example.jp")
                                   << noGroups << -1 << quote << name;
    QTest::newRow("no CP932 form")
        << QStringLiteral("田中😀") << QStringLiteral("t@example.jp") << noGroups << -1
        << QStringLiteral("名前、メールアドレス、グループ名に保存出来ない文字が含まれています。")
        << name;
    QTest::newRow("fine") << QStringLiteral("田中") << QStringLiteral("t@example.jp")
                          << QStringList{Eigyo, none, Support} << -1 << none << address;
}

void TestAddressBook::checkEntry()
{
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(QStringList, groups);
    QFETCH(int, replacing);
    QFETCH(QString, message);
    QFETCH(int, field);
    const AddressBook book(smallBook());
    Field at = Field::Groups;
    QCOMPARE(book.checkEntry(name, address, groups[0], groups[1], groups[2], replacing, &at),
             message);
    if (!message.isEmpty())
        QCOMPARE(int(at), field);
}

void TestAddressBook::addGroupCheck_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << QString() << QStringLiteral("グループ名を入力して下さい。");
    QTest::newRow("already there")
        << Support << QStringLiteral("入力されたグループ名は、既に登録されています。");
    QTest::newRow("quote") << QStringLiteral("a\"b")
                           << QStringLiteral(
                                  "名前、メールアドレス、グループ名に「\"」は使用出来ません。");
    QTest::newRow("new") << Somu << QString();
}

void TestAddressBook::addGroupCheck()
{
    QFETCH(QString, group);
    QFETCH(QString, message);
    AddressBook book(smallBook());
    QCOMPARE(book.addGroupCheck(group), message);
    QCOMPARE(book.addGroup(group), message);
    QCOMPARE(book.groups().size(), message.isEmpty() ? 3 : 2);
}

void TestAddressBook::addToGroup_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<QStringList>("fieldsAfter"); // group fields of 田中, 鈴木, 佐藤 joined by '|'

    const auto full = [](const QString &name) {
        return QStringLiteral("ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰ（") + name +
               QStringLiteral(
                   "）は、既に三つのｸﾞﾙｰﾌﾟに属しています。これ以上追加することは出来ません。");
    };
    const QStringList start{QStringLiteral("A||C"), QStringLiteral("A|B|C"), QStringLiteral("||")};
    QTest::newRow("first free field") << QList<int>{0} << QStringLiteral("D") << QStringList()
                                      << QStringList{QStringLiteral("A|D|C"), start[1], start[2]};
    QTest::newRow("already a member") << QList<int>{0, 2} << QStringLiteral("A") << QStringList()
                                      << QStringList{start[0], start[1], QStringLiteral("A||")};
    QTest::newRow("fourth group names the person")
        << QList<int>{1, 2} << QStringLiteral("D") << QStringList{full(QStringLiteral("鈴木"))}
        << QStringList{start[0], start[1], QStringLiteral("D||")};
    QTest::newRow("no group chosen")
        << QList<int>{0} << QString()
        << QStringList{QStringLiteral("追加するｸﾞﾙｰﾌﾟが選択されていません。")} << start;
    QTest::newRow("unknown group")
        << QList<int>{0} << QStringLiteral("Z")
        << QStringList{QStringLiteral("追加するｸﾞﾙｰﾌﾟが選択されていません。")} << start;
    QTest::newRow("nobody chosen")
        << QList<int>() << QStringLiteral("D")
        << QStringList{QStringLiteral("ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰが選択されていません。")} << start;
}

void TestAddressBook::addToGroup()
{
    QFETCH(QList<int>, rows);
    QFETCH(QString, group);
    QFETCH(QStringList, messages);
    QFETCH(QStringList, fieldsAfter);
    AddressBookData d;
    d.groups = QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C"),
                           QStringLiteral("D")};
    d.names = {QStringLiteral("田中"), QStringLiteral("鈴木"), QStringLiteral("佐藤")};
    d.addresses = {QStringLiteral("t@x.jp"), QStringLiteral("s@x.jp"), QStringLiteral("o@x.jp")};
    d.group1 = {QStringLiteral("A"), QStringLiteral("A"), QString()};
    d.group2 = {QString(), QStringLiteral("B"), QString()};
    d.group3 = {QStringLiteral("C"), QStringLiteral("C"), QString()};
    AddressBook book(d);
    QCOMPARE(book.addToGroup(rows, group), messages);
    QStringList fields;
    for (const AddressPerson &p : book.people())
        fields << QStringList(p.groups.begin(), p.groups.end()).join(u'|');
    QCOMPARE(fields, fieldsAfter);
}

void TestAddressBook::removeGroupClearsMembers()
{
    AddressBook book(smallBook());
    book.removeGroup(0);
    QCOMPARE(book.groups(), QStringList{Support});
    QVERIFY(book.membersOf(Eigyo).isEmpty());
    // The freed field stays in place; the other group keeps its own field.
    QCOMPARE(book.people()[1].groups, (std::array<QString, 3>{QString(), Support, QString()}));
}

QTEST_GUILESS_MAIN(TestAddressBook)
#include "tst_addressbook.moc"
