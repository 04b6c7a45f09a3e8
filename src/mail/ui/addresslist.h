#pragma once

#include "addressbook.h"

#include <QDialog>

class Prompt;
class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QTreeWidget;
class Settings;

// Edits the mail address book: people with up to three groups, and the groups.
// Works on a copy; mnu_Save writes Pinboard.dt3 and only then hands the copy to
// the book, so the book in memory is always what the file holds.
class AddressList : public QDialog
{
    Q_OBJECT
public:
    AddressList(AddressBook &book, const QString &dt3Path, Settings &settings, Prompt &prompt,
                QWidget *parent = nullptr);

    // The book as edited here, saved or not.
    const AddressBook &edited() const { return m_work; }
    bool isModified() const { return m_modified; }

    static QString saveQuestion();
    static QString saveTitle();

    // Asks to save unsaved changes (Yes saves, No drops them) and stores the
    // window position in record 1. Stays open when saving fails.
    void done(int result) override;

Q_SIGNALS:
    void saved();

private:
    void buildMenus();
    void refresh();
    void clearEntry();
    void loadPerson(int row);
    void enterPerson();
    void enterGroup();
    void addToGroup();
    void deletePerson();
    void deleteGroup();
    void showPeople(bool people);
    bool save();
    void changed();
    void restorePosition();
    void storePosition();
    int selectedPerson() const;
    int selectedGroup() const;

    AddressBook &m_book;
    AddressBook m_work;
    QString m_dt3Path;
    Settings &m_settings;
    Prompt &m_prompt;
    bool m_modified = false;
    int m_editRow = -1; // the person cmd_Entry updates; -1 registers a new one

    QStackedWidget *m_lists;
    QTreeWidget *m_people;
    QTreeWidget *m_groups;
    QLabel *m_guide;
    QLineEdit *m_name;
    QLineEdit *m_address;
    QComboBox *m_group[AddressPerson::MaxGroups];
    QPushButton *m_entry;
    QLineEdit *m_groupName;
    QComboBox *m_addGroup;
    QAction *m_viewPeople = nullptr;
    QAction *m_viewGroups = nullptr;
};
