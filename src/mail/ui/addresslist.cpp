#include "addresslist.h"
#include "dialogbuttons.h"

#include "prompt.h"
#include "settings.h"
#include "twips.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QTreeWidget *list(const char *name, const QStringList &headings, QWidget *parent)
{
    auto *l = new QTreeWidget(parent);
    l->setObjectName(QLatin1String(name));
    l->setHeaderLabels(headings);
    l->setRootIsDecorated(false);
    l->setUniformRowHeights(true);
    l->setAllColumnsShowFocus(true);
    return l;
}

QAction *action(const char *name, const QString &caption, QMenu *menu)
{
    auto *a = menu->addAction(caption);
    a->setObjectName(QLatin1String(name));
    return a;
}

// Puts the combo on text, adding it when the group list lacks it, so that an
// update does not drop a group the file named but never listed.
void choose(QComboBox *combo, const QString &text)
{
    if (text.isEmpty()) {
        combo->setCurrentIndex(0);
        return;
    }
    int i = combo->findText(text);
    if (i < 0) {
        combo->addItem(text);
        i = combo->count() - 1;
    }
    combo->setCurrentIndex(i);
}

} // namespace

AddressList::AddressList(AddressBook &book, const QString &dt3Path, Settings &settings,
                         Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_book(book), m_work(book), m_dt3Path(dt3Path), m_settings(settings),
      m_prompt(prompt), m_lists(new QStackedWidget(this)),
      m_people(list(
          "lst_AddrList",
          {QStringLiteral("名　前"), QStringLiteral("ﾒｰﾙｱﾄﾞﾚｽ"), QStringLiteral("ｸﾞﾙｰﾌﾟ")}, this)),
      m_groups(list("lst_GroupList", {QStringLiteral("ｸﾞﾙｰﾌﾟ名"), QStringLiteral("ﾒﾝﾊﾞｰ")}, this)),
      m_guide(new QLabel(this)), m_name(new QLineEdit(this)), m_address(new QLineEdit(this)),
      m_entry(plainButton("cmd_Entry", QStringLiteral("登録"), this)),
      m_groupName(new QLineEdit(this)), m_addGroup(new QComboBox(this))
{
    setObjectName(QStringLiteral("AddressList"));
    setWindowTitle(QStringLiteral("ｱﾄﾞﾚｽﾘｽﾄ"));

    m_people->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_people->header()->resizeSection(0, 140);
    m_people->header()->resizeSection(1, 220);
    m_groups->header()->resizeSection(0, 160);
    m_lists->setObjectName(QStringLiteral("stk_Lists"));
    m_lists->addWidget(m_people);
    m_lists->addWidget(m_groups);
    m_lists->setMinimumHeight(200);

    m_guide->setObjectName(QStringLiteral("lbl_Guide"));
    m_guide->setWordWrap(true);
    m_name->setObjectName(QStringLiteral("txt_Name"));
    m_address->setObjectName(QStringLiteral("txt_Address"));
    m_groupName->setObjectName(QStringLiteral("txt_GroupName"));
    m_addGroup->setObjectName(QStringLiteral("cmb_AddGroup"));
    m_addGroup->setMinimumContentsLength(10);

    auto *entryBox = new QGroupBox(QStringLiteral("ｱﾄﾞﾚｽ情報"), this);
    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("名前"), m_name);
    form->addRow(QStringLiteral("ﾒｰﾙｱﾄﾞﾚｽ"), m_address);
    auto *groupRow = new QHBoxLayout;
    for (int i = 0; i < AddressPerson::MaxGroups; ++i) {
        m_group[i] = new QComboBox(this);
        m_group[i]->setObjectName(QStringLiteral("cmb_Group%1").arg(i + 1));
        m_group[i]->setMinimumContentsLength(8);
        groupRow->addWidget(new QLabel(QStringLiteral("ｸﾞﾙｰﾌﾟ%1").arg(i + 1), this));
        groupRow->addWidget(m_group[i], 1);
    }
    form->addRow(groupRow);
    auto *clear = plainButton("cmd_Clear", QStringLiteral("新規"), this);
    auto *entryButtons = new QHBoxLayout;
    entryButtons->addStretch(1);
    entryButtons->addWidget(clear);
    entryButtons->addWidget(m_entry);
    auto *entryLayout = new QVBoxLayout(entryBox);
    entryLayout->addWidget(m_guide);
    entryLayout->addLayout(form);
    entryLayout->addLayout(entryButtons);

    auto *groupBox = new QGroupBox(QStringLiteral("ｸﾞﾙｰﾌﾟ"), this);
    auto *groupEntry = plainButton("cmd_GroupEntry", QStringLiteral("ｸﾞﾙｰﾌﾟ登録"), this);
    auto *add = plainButton("cmd_Add", QStringLiteral("追加"), this);
    auto *groupGrid = new QFormLayout(groupBox);
    auto *newGroup = new QHBoxLayout;
    newGroup->addWidget(m_groupName, 1);
    newGroup->addWidget(groupEntry);
    groupGrid->addRow(QStringLiteral("ｸﾞﾙｰﾌﾟ名"), newGroup);
    auto *addRow = new QHBoxLayout;
    addRow->addWidget(m_addGroup, 1);
    addRow->addWidget(add);
    groupGrid->addRow(QStringLiteral("選択した人を追加"), addRow);

    auto *close = plainButton("cmd_Close", QStringLiteral("閉じる"), this);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(close);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_lists, 1);
    layout->addWidget(entryBox);
    layout->addWidget(groupBox);
    layout->addLayout(bottom);
    buildMenus();

    connect(m_people, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem *item) {
        if (item)
            loadPerson(m_people->indexOfTopLevelItem(item));
    });
    connect(clear, &QPushButton::clicked, this, &AddressList::clearEntry);
    connect(m_entry, &QPushButton::clicked, this, &AddressList::enterPerson);
    connect(groupEntry, &QPushButton::clicked, this, &AddressList::enterGroup);
    connect(add, &QPushButton::clicked, this, &AddressList::addToGroup);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);

    refresh();
    clearEntry();
    resize(620, 560);
    restorePosition();
}

QString AddressList::saveQuestion()
{
    return QStringLiteral("ｱﾄﾞﾚｽﾘｽﾄの内容が変更されています。変更を保存しますか？");
}

QString AddressList::saveTitle()
{
    return QStringLiteral("保存の確認");
}

void AddressList::buildMenus()
{
    auto *bar = new QMenuBar(this);
    QMenu *file = bar->addMenu(QStringLiteral("ﾌｧｲﾙ(&F)"));
    QAction *saveAction = action("mnu_Save", QStringLiteral("保存(&S)"), file);
    saveAction->setShortcut(QKeySequence::Save);
    file->addSeparator();
    QAction *closeAction = action("mnu_Close", QStringLiteral("閉じる(&X)"), file);
    QMenu *edit = bar->addMenu(QStringLiteral("編集(&E)"));
    QAction *delAddress = action("mnu_DelAddress", QStringLiteral("ｱﾄﾞﾚｽの削除(&D)"), edit);
    QAction *delGroup = action("mnu_DelGroup", QStringLiteral("ｸﾞﾙｰﾌﾟの削除(&G)"), edit);
    QMenu *view = bar->addMenu(QStringLiteral("表示(&V)"));
    m_viewPeople = action("mnu_AddrList", QStringLiteral("ｱﾄﾞﾚｽﾘｽﾄ(&A)"), view);
    m_viewGroups = action("mnu_GroupList", QStringLiteral("ｸﾞﾙｰﾌﾟﾘｽﾄ(&G)"), view);
    auto *views = new QActionGroup(this);
    for (QAction *a : {m_viewPeople, m_viewGroups}) {
        a->setCheckable(true);
        views->addAction(a);
    }
    m_viewPeople->setChecked(true);
    layout()->setMenuBar(bar);

    connect(saveAction, &QAction::triggered, this, &AddressList::save);
    connect(closeAction, &QAction::triggered, this, &QDialog::reject);
    connect(delAddress, &QAction::triggered, this, &AddressList::deletePerson);
    connect(delGroup, &QAction::triggered, this, &AddressList::deleteGroup);
    connect(m_viewPeople, &QAction::triggered, this, [this] { showPeople(true); });
    connect(m_viewGroups, &QAction::triggered, this, [this] { showPeople(false); });
}

void AddressList::refresh()
{
    const QSignalBlocker blockPeople(m_people);
    m_people->clear();
    for (const AddressPerson &p : m_work.people()) {
        new QTreeWidgetItem(m_people,
                            {p.name, p.address, p.groupList().join(QStringLiteral("、"))});
    }
    if (QTreeWidgetItem *item = m_people->topLevelItem(m_editRow))
        m_people->setCurrentItem(item);

    m_groups->clear();
    for (const QString &g : m_work.groups()) {
        QStringList members;
        for (const int row : m_work.membersOf(g))
            members << m_work.people().at(row).name;
        new QTreeWidgetItem(m_groups, {g, members.join(QStringLiteral("、"))});
    }

    QStringList choices = m_work.groups();
    const QString wanted = m_addGroup->currentText();
    m_addGroup->clear();
    m_addGroup->addItems(choices);
    m_addGroup->setCurrentIndex(std::max(0, int(choices.indexOf(wanted))));
    choices.prepend(QString());
    for (QComboBox *combo : m_group) {
        const QString current = combo->currentText();
        combo->clear();
        combo->addItems(choices);
        choose(combo, current);
    }
}

void AddressList::clearEntry()
{
    m_editRow = -1;
    {
        const QSignalBlocker block(m_people);
        m_people->setCurrentItem(nullptr);
        m_people->clearSelection();
    }
    m_name->clear();
    m_address->clear();
    for (QComboBox *combo : m_group)
        combo->setCurrentIndex(0);
    m_guide->setText(
        QStringLiteral("新しいメールアドレスを登録します。（名前とﾒｰﾙｱﾄﾞﾚｽを入力して下さい。）"));
    m_entry->setText(QStringLiteral("登録"));
    m_name->setFocus();
}

void AddressList::loadPerson(int row)
{
    if (row < 0 || row >= m_work.people().size())
        return;
    m_editRow = row;
    const AddressPerson &p = m_work.people().at(row);
    m_name->setText(p.name);
    m_address->setText(p.address);
    for (int i = 0; i < AddressPerson::MaxGroups; ++i)
        choose(m_group[i], p.groups[i]);
    m_guide->setText(QStringLiteral(
        "選択行のアドレス情報を更新します。（名前、ﾒｰﾙｱﾄﾞﾚｽ、ｸﾞﾙｰﾌﾟ1～3を置き換えます。）"));
    m_entry->setText(QStringLiteral("更新"));
}

void AddressList::enterPerson()
{
    AddressPerson person{m_name->text().trimmed(), m_address->text().trimmed(), {}};
    for (int i = 0; i < AddressPerson::MaxGroups; ++i)
        person.groups[i] = m_group[i]->currentText();
    const bool update = m_editRow >= 0;
    AddressBook::EntryField field = AddressBook::EntryField::Name;
    const QString fault = m_work.enter(person, m_editRow, &field);
    if (!fault.isEmpty()) {
        m_prompt.warn(fault);
        QWidget *focus = m_group[0];
        if (field == AddressBook::EntryField::Name)
            focus = m_name;
        else if (field == AddressBook::EntryField::Address)
            focus = m_address;
        focus->setFocus();
        return;
    }
    changed();
    if (update)
        loadPerson(m_editRow);
    else
        clearEntry();
}

void AddressList::enterGroup()
{
    const QString fault = m_work.addGroup(m_groupName->text().trimmed());
    if (!fault.isEmpty()) {
        m_prompt.warn(fault);
        m_groupName->setFocus();
        return;
    }
    m_groupName->clear();
    changed();
}

void AddressList::addToGroup()
{
    QList<int> rows;
    for (QTreeWidgetItem *item : m_people->selectedItems())
        rows << m_people->indexOfTopLevelItem(item);
    std::sort(rows.begin(), rows.end());
    const AddressBook before = m_work;
    const QStringList refused = m_work.addToGroup(rows, m_addGroup->currentText());
    for (const QString &text : refused)
        m_prompt.warn(text);
    if (!(m_work == before)) {
        changed();
        if (m_editRow >= 0)
            loadPerson(m_editRow);
    }
}

void AddressList::deletePerson()
{
    const int row = selectedPerson();
    if (const QString fault = m_work.removePersonCheck(row); !fault.isEmpty()) {
        m_prompt.warn(fault);
        return;
    }
    const QString name = m_work.people().at(row).name;
    if (!m_prompt.askDestructive(AddressBook::removePersonQuestion(name),
                                 AddressBook::deleteTitle()))
        return;
    m_work.removePerson(row);
    m_editRow = -1;
    changed();
    clearEntry();
}

void AddressList::deleteGroup()
{
    const int index = selectedGroup();
    if (const QString fault = m_work.removeGroupCheck(index); !fault.isEmpty()) {
        m_prompt.warn(fault);
        return;
    }
    const QString group = m_work.groups().at(index);
    if (!m_prompt.askDestructive(AddressBook::removeGroupQuestion(group),
                                 AddressBook::deleteTitle()))
        return;
    m_work.removeGroup(index);
    changed();
    if (m_editRow >= 0)
        loadPerson(m_editRow);
}

void AddressList::showPeople(bool people)
{
    m_lists->setCurrentWidget(people ? m_people : m_groups);
    (people ? m_viewPeople : m_viewGroups)->setChecked(true);
}

bool AddressList::save()
{
    QString error;
    if (!writeAddressBook(m_dt3Path, m_work.data(), &error)) {
        m_prompt.warn(QStringLiteral("ｱﾄﾞﾚｽﾘｽﾄを保存出来ませんでした。\n") + error);
        return false;
    }
    m_book = m_work;
    m_modified = false;
    Q_EMIT saved();
    return true;
}

void AddressList::changed()
{
    m_modified = true;
    refresh();
}

int AddressList::selectedPerson() const
{
    QTreeWidgetItem *item = m_people->currentItem();
    return item && item->isSelected() ? m_people->indexOfTopLevelItem(item) : -1;
}

int AddressList::selectedGroup() const
{
    QTreeWidgetItem *item = m_groups->currentItem();
    return item && item->isSelected() ? m_groups->indexOfTopLevelItem(item) : -1;
}

void AddressList::done(int result)
{
    if (m_modified && m_prompt.ask(saveQuestion(), saveTitle()) && !save())
        return;
    storePosition();
    QDialog::done(result);
}

void AddressList::restorePosition()
{
    const EnvRecord &env = m_settings.env();
    const qint32 left = env.longValue(Env::AddressListLeft);
    const qint32 top = env.longValue(Env::AddressListTop);
    if (left == 0 && top == 0)
        return; // never stored: let the window system place it
    const QPoint at(twipsToPixels(left, logicalDpiX()), twipsToPixels(top, logicalDpiY()));
    if (QGuiApplication::screenAt(at))
        move(at);
}

void AddressList::storePosition()
{
    const QString error = m_settings.change([this](EnvRecord &env) {
        env.setLong(Env::AddressListLeft, pixelsToTwips(pos().x(), logicalDpiX()));
        env.setLong(Env::AddressListTop, pixelsToTwips(pos().y(), logicalDpiY()));
    });
    if (!error.isEmpty())
        qWarning("AddressList position not stored: %s", qPrintable(error));
}
