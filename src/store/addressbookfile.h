#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Pinboard.dt3, the mail address book, as parallel lists: person i is entry i of
// the first five lists; groups holds every group name in the order of entry.
struct AddressBookData
{
    QStringList names, addresses, group1, group2, group3, groups;

    bool operator==(const AddressBookData &) const = default;
};

// One CP932 line per record, CR LF after each, every field in double quotes and
// fields separated by commas: first one record per group (the name and four empty
// fields), then one per person (name, address, group 1, group 2, group 3).
//
// A missing file is an empty book; nullopt only when the file exists and cannot
// be read. A line with a first and second field is a person, one with only a first
// field a group, one with an empty first field is skipped. A line that cannot be a
// record (an unclosed quote, text after a closing quote, more than five fields) is
// skipped with a warning; a line of fewer fields has the rest empty. Each skipped
// line is described in *skipped ("line 3: ...") when given.
std::optional<AddressBookData> readAddressBook(const QString &path, QString *error = nullptr,
                                               QStringList *skipped = nullptr);

// The file as bytes; empty when a field cannot be written (see canWriteField).
QByteArray addressBookBytes(const AddressBookData &data);
// Replaces the file through QSaveFile. Refuses a book with a field that the
// format cannot hold, so the file is never left half-readable.
bool writeAddressBook(const QString &path, const AddressBookData &data, QString *error = nullptr);

// False for a text with a double quote, a line break or a character CP932 lacks:
// a quoted field has no escape for the first two and the file is CP932.
bool canWriteField(const QString &text);
