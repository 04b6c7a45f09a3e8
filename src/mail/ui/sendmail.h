#pragma once

#include "addressbook.h"
#include "mailsettingsfile.h"

#include <QDialog>

class QComboBox;
class QLineEdit;
class QListWidget;

// The recipients and subject of one tag's mail: To, Cc and Bcc filled from the
// address book's people, a whole group at once, or typed addresses.
class SendMail : public QDialog
{
    Q_OBJECT
public:
    SendMail(const AddressBook &book, const TagMailSettings &current, QWidget *parent = nullptr);

    // What the dialog holds; the caller takes it after OK.
    TagMailSettings settings() const;

    // The first item of cmb_Group, listing everyone.
    static QString everyoneText();

private:
    enum Target
    {
        To,
        Cc,
        Bcc,
        Targets
    };

    void filter(int groupIndex);
    void add(Target target);
    void addAddress(Target target, const QString &given);
    void removeSelected();
    QStringList addresses(Target target) const;

    const AddressBook &m_book;
    QLineEdit *m_subject;
    QComboBox *m_group;
    QListWidget *m_people;
    QLineEdit *m_typed;
    QListWidget *m_lists[Targets];
};
