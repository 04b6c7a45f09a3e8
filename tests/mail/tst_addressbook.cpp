#include "addressbook.h"
#include "addressbookfile.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Field = AddressBook::EntryField;
Q_DECLARE_METATYPE(AddressBook::EntryField)

namespace {
const QString Eigyo = u"営業"_s, Support = u"ｻﾎﾟｰﾄ"_s, Somu = u"総務"_s;
const QString Quote = u"名前、メールアドレス、グループ名に「\"」は使用出来ません。"_s;

// Two groups; 山田 in 営業, ｽｽﾞｷ in 営業 and ｻﾎﾟｰﾄ.
AddressBookData smallBook()
{
    return {{u"山田太郎"_s, u"ｽｽﾞｷ"_s},
            {u"yamada@example.jp"_s, u"suzuki@example.jp"_s},
            {Eigyo, Eigyo},
            {QString(), Support},
            {QString(), QString()},
            {Eigyo, Support}};
}
} // namespace

class TestAddressBook : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void writesExactBytes()
    {
        const QString path = m_dir.filePath(u"exact.dt3"_s);
        QString error;
        QVERIFY2(writeAddressBook(path, smallBook(), &error), qPrintable(error));
        // 営業, ｻﾎﾟｰﾄ, 山田太郎, ｽｽﾞｷ in CP932
        QCOMPARE(fileBytes(path),
                 "\"\x89\x63\x8b\xc6\",\"\",\"\",\"\",\"\"\r\n"
                 "\"\xbb\xce\xdf\xb0\xc4\",\"\",\"\",\"\",\"\"\r\n"
                 "\"\x8e\x52\x93\x63\x91\xbe\x98\x59\",\"yamada@example.jp\",\""
                 "\x89\x63\x8b\xc6\",\"\",\"\"\r\n"
                 "\"\xbd\xbd\xde\xb7\",\"suzuki@example.jp\",\"\x89\x63\x8b\xc6\",\""
                 "\xbb\xce\xdf\xb0\xc4\",\"\"\r\n"_ba);
        const auto read = readAddressBook(path, &error);
        QVERIFY(read);
        QCOMPARE(*read, smallBook());
    }
    void readsHandWrittenFile()
    {
        const QString path = m_dir.filePath(u"hand.dt3"_s);
        QVERIFY(
            writeFile(path,
                      "\"\x91\x8d\x96\xb1\",\"\",\"\",\"\",\"\"\r\n"   // 総務, a group
                      "\"\",\"nobody@example.jp\",\"x\",\"\",\"\"\r\n" // no name: skipped
                      "\"Tanaka, Jiro\" , \"tanaka@example.jp\",\"\x91\x8d\x96\xb1\",\"\",\"\"\r\n"
                      "\"broken,\"\"\",\"a@example.jp\"\r\n"    // 4: text after a quote
                      "\"open,b@example.jp\r\n"                 // 5: unclosed quote
                      "\"a\",\"b\",\"c\",\"d\",\"e\",\"f\"\r\n" // 6: six fields
                      "\r\n"                                    // blank
                      "plain name , plain@example.jp\n"         // unquoted, LF only
                      "\"OnlyName\""));                         // a group, no line end
        const QStringList skipped{u"line 4: text after a closing quote"_s,
                                  u"line 5: unclosed quote"_s, u"line 6: more than 5 fields"_s};
        for (const QString &why : skipped)
            QTest::ignoreMessage(QtWarningMsg, qPrintable(path + u": skipped "_s + why));
        QStringList reported;
        const auto read = readAddressBook(path, nullptr, &reported);
        QVERIFY(read);
        QCOMPARE(*read, (AddressBookData{{u"Tanaka, Jiro"_s, u"plain name"_s},
                                         {u"tanaka@example.jp"_s, u"plain@example.jp"_s},
                                         {Somu, QString()},
                                         {QString(), QString()},
                                         {QString(), QString()},
                                         {Somu, u"OnlyName"_s}}));
        QCOMPARE(reported, skipped);
    }
    void failures()
    {
        QString error;
        const auto none = readAddressBook(m_dir.filePath(u"none.dt3"_s), &error);
        QVERIFY(none && *none == AddressBookData() && error.isEmpty()); // missing: an empty book
        QVERIFY(!readAddressBook(m_dir.path(), &error));                // a directory
        QVERIFY(error.startsWith(m_dir.path()));
        QVERIFY(!writeAddressBook(m_dir.filePath(u"no/dir.dt3"_s), smallBook(), &error));
        // A field the format cannot hold is refused and the old file stays as it was.
        const QString path = m_dir.filePath(u"refuse.dt3"_s);
        QVERIFY(writeAddressBook(path, smallBook()));
        const QByteArray before = fileBytes(path);
        for (const QString &bad : {u"a\"b"_s, u"a\nb"_s, u"😀"_s}) {
            AddressBookData d = smallBook();
            d.group3[0] = bad;
            QVERIFY(!writeAddressBook(path, d, &error));
            QCOMPARE(fileBytes(path), before);
        }
    }
    void checkEntry_data()
    {
        QTest::addColumn<QStringList>("entry"); // name, address, group 1-3
        QTest::addColumn<int>("replacing");
        QTest::addColumn<QString>("message");
        QTest::addColumn<Field>("field");
        const QString none, yamada = u"山田太郎"_s, tanaka = u"田中"_s, t = u"t@example.jp"_s;
        const auto row = [&](const char *name, const QStringList &entry, int replacing,
                             const QString &message, Field field) {
            QTest::newRow(name) << entry + QStringList(5 - entry.size()) << replacing << message
                                << field;
        };
        row("empty name before empty address", {}, -1, u"名前を入力して下さい。"_s, Field::Name);
        row("empty address", {tanaka}, -1, u"メールアドレスを入力して下さい。"_s, Field::Address);
        row("same name before same address", {yamada, u"suzuki@example.jp"_s}, -1,
            u"既に同じ名前の人が登録されています。"_s, Field::Name);
        row("same address in other case", {tanaka, u"Suzuki@Example.JP"_s}, -1,
            u"既に同じメールアドレスが登録されています。"_s, Field::Address);
        row("another's name on update", {yamada, u"new@example.jp"_s}, 1,
            u"既に同じ名前の人が登録されています。"_s, Field::Name);
        row("own name and address on update",
            {yamada, u"yamada@example.jp"_s, Support, none, Eigyo}, 0, none, Field::Groups);
        row("group 1 and 3 the same", {tanaka, t, Eigyo, none, Eigyo}, -1,
            u"同一グループは指定出来ません。"_s, Field::Groups);
        row("quote in name", {u"\"田中\""_s, t}, -1, Quote, Field::Name);
        row("no CP932 form", {u"田中😀"_s, t}, -1,
            u"名前、メールアドレス、グループ名に保存出来ない文字が含まれています。"_s, Field::Name);
        row("fine", {tanaka, t, Eigyo, none, Support}, -1, none, Field::Groups);
    }
    void checkEntry()
    {
        QFETCH(QStringList, entry);
        QFETCH(int, replacing);
        QFETCH(QString, message);
        QFETCH(Field, field);
        const AddressBook book(smallBook());
        Field at = Field::Groups;
        QCOMPARE(book.checkEntry(entry[0], entry[1], entry[2], entry[3], entry[4], replacing, &at),
                 message);
        QCOMPARE(message.isEmpty() ? Field::Groups : at, field);
    }
    void groups()
    {
        AddressBook book(smallBook());
        QCOMPARE(book.addGroup(QString()), u"グループ名を入力して下さい。"_s);
        QCOMPARE(book.addGroup(Support), u"入力されたグループ名は、既に登録されています。"_s);
        QCOMPARE(book.addGroup(u"a\"b"_s), Quote);
        QCOMPARE(book.addGroup(Somu), QString());
        QCOMPARE(book.groups(), (QStringList{Eigyo, Support, Somu}));
        // A removed group frees its members' fields in place; other groups keep theirs.
        book.removeGroup(0);
        QCOMPARE(book.groups(), (QStringList{Support, Somu}));
        QVERIFY(book.membersOf(Eigyo).isEmpty());
        QCOMPARE(book.people()[1].groups, (std::array<QString, 3>{QString(), Support, QString()}));
    }
    void addToGroup_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<QString>("group");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<QString>("after"); // group fields of 田中, 鈴木, 佐藤
        const QString full = u"ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰ（鈴木）は、既に三つのｸﾞﾙｰﾌﾟに属しています。"
                             u"これ以上追加することは出来ません。"_s;
        QTest::newRow("first free field")
            << QList<int>{0} << u"D"_s << QStringList() << u"A|D|C A|B|C ||"_s;
        QTest::newRow("already a member")
            << QList<int>{0, 2} << u"A"_s << QStringList() << u"A||C A|B|C A||"_s;
        QTest::newRow("fourth group")
            << QList<int>{1, 2} << u"D"_s << QStringList{full} << u"A||C A|B|C D||"_s;
    }
    void addToGroup()
    {
        QFETCH(QList<int>, rows);
        QFETCH(QString, group);
        QFETCH(QStringList, messages);
        QFETCH(QString, after);
        AddressBook book({{u"田中"_s, u"鈴木"_s, u"佐藤"_s},
                          {u"t@x.jp"_s, u"s@x.jp"_s, u"o@x.jp"_s},
                          {u"A"_s, u"A"_s, QString()},
                          {QString(), u"B"_s, QString()},
                          {u"C"_s, u"C"_s, QString()},
                          {u"A"_s, u"B"_s, u"C"_s, u"D"_s}});
        QCOMPARE(book.addToGroup(rows, group), messages);
        QStringList fields;
        for (const AddressPerson &p : book.people())
            fields << QStringList(p.groups.begin(), p.groups.end()).join(u'|');
        QCOMPARE(fields.join(u' '), after);
    }

private:
    QTemporaryDir m_dir;
};
QTEST_GUILESS_MAIN(TestAddressBook)
#include "tst_addressbook.moc"
