#include "addressbook.h"

#include <algorithm>

namespace {

// The file keeps every field in double quotes with no escape, in CP932.
QString unwritable(std::initializer_list<QString> fields)
{
    for (const QString &f : fields) {
        if (f.contains(u'"'))
            return QStringLiteral("名前、メールアドレス、グループ名に「\"」は使用出来ません。");
    }
    for (const QString &f : fields) {
        if (!canWriteField(f))
            return QStringLiteral(
                "名前、メールアドレス、グループ名に保存出来ない文字が含まれています。");
    }
    return {};
}

} // namespace

bool AddressPerson::inGroup(const QString &group) const
{
    return !group.isEmpty() && std::find(groups.begin(), groups.end(), group) != groups.end();
}

QStringList AddressPerson::groupList() const
{
    QStringList list;
    for (const QString &g : groups) {
        if (!g.isEmpty())
            list << g;
    }
    return list;
}

AddressBook::AddressBook(const AddressBookData &data) : m_groups(data.groups)
{
    for (qsizetype i = 0; i < data.names.size(); ++i) {
        m_people << AddressPerson{
            data.names[i],
            data.addresses.value(i),
            {data.group1.value(i), data.group2.value(i), data.group3.value(i)}};
    }
}

AddressBookData AddressBook::data() const
{
    AddressBookData d;
    d.groups = m_groups;
    for (const AddressPerson &p : m_people) {
        d.names << p.name;
        d.addresses << p.address;
        d.group1 << p.groups[0];
        d.group2 << p.groups[1];
        d.group3 << p.groups[2];
    }
    return d;
}

int AddressBook::indexOfName(const QString &name) const
{
    for (int i = 0; i < m_people.size(); ++i) {
        if (m_people[i].name == name)
            return i;
    }
    return -1;
}

int AddressBook::indexOfAddress(const QString &address) const
{
    // Mail systems treat the case of an address as the same mailbox in practice.
    for (int i = 0; i < m_people.size(); ++i) {
        if (m_people[i].address.compare(address, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

QList<int> AddressBook::membersOf(const QString &group) const
{
    QList<int> rows;
    for (int i = 0; i < m_people.size(); ++i) {
        if (m_people[i].inGroup(group))
            rows << i;
    }
    return rows;
}

QString AddressBook::checkEntry(const QString &name, const QString &address, const QString &group1,
                                const QString &group2, const QString &group3, int replacing,
                                EntryField *field) const
{
    const auto fault = [field](EntryField at, const QString &text) {
        if (field)
            *field = at;
        return text;
    };
    if (name.isEmpty())
        return fault(EntryField::Name, QStringLiteral("名前を入力して下さい。"));
    if (address.isEmpty())
        return fault(EntryField::Address, QStringLiteral("メールアドレスを入力して下さい。"));
    const int sameName = indexOfName(name);
    if (sameName >= 0 && sameName != replacing)
        return fault(EntryField::Name, QStringLiteral("既に同じ名前の人が登録されています。"));
    const int sameAddress = indexOfAddress(address);
    if (sameAddress >= 0 && sameAddress != replacing)
        return fault(EntryField::Address,
                     QStringLiteral("既に同じメールアドレスが登録されています。"));
    const bool twice = (!group1.isEmpty() && (group1 == group2 || group1 == group3)) ||
                       (!group2.isEmpty() && group2 == group3);
    if (twice)
        return fault(EntryField::Groups, QStringLiteral("同一グループは指定出来ません。"));
    if (const QString bad = unwritable({name}); !bad.isEmpty())
        return fault(EntryField::Name, bad);
    return fault(EntryField::Address, unwritable({address, group1, group2, group3}));
}

QString AddressBook::enter(const AddressPerson &person, int replacing, EntryField *field)
{
    const QString fault = checkEntry(person.name, person.address, person.groups[0],
                                     person.groups[1], person.groups[2], replacing, field);
    if (!fault.isEmpty())
        return fault;
    if (replacing >= 0 && replacing < m_people.size())
        m_people[replacing] = person;
    else
        m_people << person;
    return {};
}

QString AddressBook::addGroupCheck(const QString &name) const
{
    if (name.isEmpty())
        return QStringLiteral("グループ名を入力して下さい。");
    if (m_groups.contains(name))
        return QStringLiteral("入力されたグループ名は、既に登録されています。");
    return unwritable({name});
}

QString AddressBook::addGroup(const QString &name)
{
    const QString fault = addGroupCheck(name);
    if (fault.isEmpty())
        m_groups << name;
    return fault;
}

QStringList AddressBook::addToGroup(const QList<int> &rows, const QString &group)
{
    if (group.isEmpty() || !m_groups.contains(group))
        return {addGroupMissingText()};
    if (rows.isEmpty())
        return {addMemberMissingText()};
    QStringList refused;
    for (const int row : rows) {
        if (row < 0 || row >= m_people.size())
            continue;
        AddressPerson &p = m_people[row];
        if (p.inGroup(group))
            continue;
        const auto free = std::find(p.groups.begin(), p.groups.end(), QString());
        if (free == p.groups.end()) {
            refused << QStringLiteral("ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰ（") + p.name + QStringLiteral("）") +
                           QStringLiteral("は、既に三つのｸﾞﾙｰﾌﾟに属しています。"
                                          "これ以上追加することは出来ません。");
            continue;
        }
        *free = group;
    }
    return refused;
}

QString AddressBook::removePersonCheck(int row) const
{
    if (row < 0 || row >= m_people.size())
        return QStringLiteral("削除するメールアドレスの行が選択されていません。");
    return {};
}

QString AddressBook::removePersonQuestion(const QString &name)
{
    return QStringLiteral("選択された行のｱﾄﾞﾚｽ情報（") + name +
           QStringLiteral("）を削除します。よろしいですか？");
}

void AddressBook::removePerson(int row)
{
    if (row >= 0 && row < m_people.size())
        m_people.removeAt(row);
}

QString AddressBook::removeGroupCheck(int index) const
{
    if (index < 0 || index >= m_groups.size())
        return QStringLiteral("削除するｸﾞﾙｰﾌﾟが選択されていません。");
    return {};
}

QString AddressBook::removeGroupQuestion(const QString &group)
{
    return QStringLiteral("選択されたｸﾞﾙｰﾌﾟ（") + group +
           QStringLiteral("）を削除します。よろしいですか？");
}

void AddressBook::removeGroup(int index)
{
    if (index < 0 || index >= m_groups.size())
        return;
    const QString group = m_groups.takeAt(index);
    // A member left pointing at a group that no longer exists could never be
    // picked by it again, and would hold one of its three fields for nothing.
    for (AddressPerson &p : m_people) {
        for (QString &g : p.groups) {
            if (g == group)
                g.clear();
        }
    }
}

QString AddressBook::deleteTitle()
{
    return QStringLiteral("削除の確認");
}

QString AddressBook::addGroupMissingText()
{
    return QStringLiteral("追加するｸﾞﾙｰﾌﾟが選択されていません。");
}

QString AddressBook::addMemberMissingText()
{
    return QStringLiteral("ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰが選択されていません。");
}
