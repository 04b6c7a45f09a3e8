#pragma once

#include "addressbookfile.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <array>

// One person of the address book: up to three groups, one per field, empty when unused.
struct AddressPerson
{
    static constexpr int MaxGroups = 3;

    QString name;
    QString address;
    std::array<QString, MaxGroups> groups;

    bool inGroup(const QString &group) const;
    // The groups in use, in field order.
    QStringList groupList() const;
    bool operator==(const AddressPerson &) const = default;
};

// The mail address book in memory: people with unique names and addresses, and
// the group names in the order of entry. Each change has a check that returns the
// first message the user must see, or "" when the change may be made.
class AddressBook
{
public:
    AddressBook() = default;
    explicit AddressBook(const AddressBookData &data);
    AddressBookData data() const;

    const QList<AddressPerson> &people() const { return m_people; }
    const QStringList &groups() const { return m_groups; }
    // Index of the person with this name or address; -1 when there is none.
    int indexOfName(const QString &name) const;
    int indexOfAddress(const QString &address) const;
    // The indexes of the group's members, in list order.
    QList<int> membersOf(const QString &group) const;

    // The entry field a check's message is about, to put the focus there.
    enum class EntryField
    {
        Name,
        Address,
        Groups
    };

    // For a new person (replacing -1) or one replacing person `replacing`.
    QString checkEntry(const QString &name, const QString &address, const QString &group1,
                       const QString &group2, const QString &group3, int replacing,
                       EntryField *field = nullptr) const;
    // Appends or replaces after checkEntry; returns the check's message, "" when done.
    QString enter(const AddressPerson &person, int replacing, EntryField *field = nullptr);

    QString addGroupCheck(const QString &name) const;
    QString addGroup(const QString &name);

    // Puts each listed person into group in a free group field. A person already in
    // the group is left as is; a person with no free field is not changed and gets a
    // message naming them. Returns those messages in the order of rows.
    QStringList addToGroup(const QList<int> &rows, const QString &group);

    // row -1 means nothing is selected.
    QString removePersonCheck(int row) const;
    static QString removePersonQuestion(const QString &name);
    void removePerson(int row);
    // index -1 means nothing is selected.
    QString removeGroupCheck(int index) const;
    static QString removeGroupQuestion(const QString &group);
    // The group also leaves the group fields of its members.
    void removeGroup(int index);

    // Texts the window shows beside these checks.
    static QString deleteTitle();
    static QString addGroupMissingText();
    static QString addMemberMissingText();

    bool operator==(const AddressBook &) const = default;

private:
    QList<AddressPerson> m_people;
    QStringList m_groups;
};
