#include "sendmail.h"
#include "dialogbuttons.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

namespace {

QListWidget *list(const QString &name, QWidget *parent)
{
    auto *l = new QListWidget(parent);
    l->setObjectName(name);
    l->setSelectionMode(QAbstractItemView::ExtendedSelection);
    return l;
}

} // namespace

SendMail::SendMail(const AddressBook &book, const TagMailSettings &current, QWidget *parent)
    : QDialog(parent), m_book(book), m_subject(new QLineEdit(current.subject, this)),
      m_group(new QComboBox(this)), m_people(list(QStringLiteral("lst_Book"), this)),
      m_typed(new QLineEdit(this)), m_lists{list(QStringLiteral("lst_To"), this),
                                            list(QStringLiteral("lst_Cc"), this),
                                            list(QStringLiteral("lst_Bcc"), this)}
{
    setObjectName(QStringLiteral("frmSendMail"));
    setWindowTitle(QStringLiteral("E-Mail送信先"));

    m_subject->setObjectName(QStringLiteral("txt_Subject"));
    m_group->setObjectName(QStringLiteral("cmb_Group"));
    m_typed->setObjectName(QStringLiteral("txt_Address"));
    m_group->addItem(everyoneText());
    m_group->addItems(m_book.groups());

    auto *subjectRow = new QHBoxLayout;
    subjectRow->addWidget(new QLabel(QStringLiteral("件名"), this));
    subjectRow->addWidget(m_subject, 1);

    auto *bookBox = new QGroupBox(QStringLiteral("ｱﾄﾞﾚｽ帳"), this);
    auto *bookLayout = new QGridLayout(bookBox);
    bookLayout->addWidget(new QLabel(QStringLiteral("ｸﾞﾙｰﾌﾟ"), this), 0, 0);
    bookLayout->addWidget(m_group, 0, 1);
    bookLayout->addWidget(m_people, 1, 0, 1, 2);
    bookLayout->addWidget(new QLabel(QStringLiteral("ｱﾄﾞﾚｽ"), this), 2, 0);
    bookLayout->addWidget(m_typed, 2, 1);

    const char *addNames[Targets] = {"cmd_AddTo", "cmd_AddCc", "cmd_AddBcc"};
    const QString captions[Targets] = {QStringLiteral("To"), QStringLiteral("Cc"),
                                       QStringLiteral("Bcc")};
    auto *recipients = new QGridLayout;
    for (int t = 0; t < Targets; ++t) {
        auto *addButton = plainButton(addNames[t], captions[t] + QStringLiteral(" →"), this);
        connect(addButton, &QPushButton::clicked, this, [this, t] { add(Target(t)); });
        recipients->addWidget(addButton, t, 0, Qt::AlignTop);
        auto *column = new QVBoxLayout;
        column->addWidget(new QLabel(captions[t], this));
        column->addWidget(m_lists[t]);
        recipients->addLayout(column, t, 1);
    }
    auto *remove = plainButton("cmd_Remove", QStringLiteral("削除"), this);
    recipients->addWidget(remove, Targets, 1, Qt::AlignRight);

    auto *lists = new QHBoxLayout;
    lists->addWidget(bookBox, 1);
    lists->addLayout(recipients, 1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmd_OK"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cmd_Cancel"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("ｷｬﾝｾﾙ"));

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(subjectRow);
    layout->addLayout(lists, 1);
    layout->addWidget(buttons);

    connect(m_group, &QComboBox::currentIndexChanged, this, &SendMail::filter);
    connect(m_people, &QListWidget::itemDoubleClicked, this, [this] { add(To); });
    connect(remove, &QPushButton::clicked, this, &SendMail::removeSelected);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    const QStringList initial[Targets] = {current.to, current.cc, current.bcc};
    for (int t = 0; t < Targets; ++t) {
        for (const QString &address : initial[t])
            addAddress(Target(t), address);
    }
    filter(0);
    resize(640, 460);
}

QString SendMail::everyoneText()
{
    return QStringLiteral("（全員）");
}

TagMailSettings SendMail::settings() const
{
    return {m_subject->text(), addresses(To), addresses(Cc), addresses(Bcc)};
}

void SendMail::filter(int groupIndex)
{
    // Index 0 lists everyone; a group lists its members, all chosen, so one
    // press of To, Cc or Bcc adds the whole group.
    const QString group = groupIndex > 0 ? m_group->itemText(groupIndex) : QString();
    m_people->clear();
    const QList<AddressPerson> &people = m_book.people();
    QList<int> rows = m_book.membersOf(group);
    if (group.isEmpty()) {
        rows.clear();
        for (int i = 0; i < people.size(); ++i)
            rows << i;
    }
    for (const int i : rows) {
        auto *item = new QListWidgetItem(
            QStringLiteral("%1 <%2>").arg(people[i].name, people[i].address), m_people);
        item->setData(Qt::UserRole, people[i].address);
        item->setSelected(!group.isEmpty());
    }
}

void SendMail::add(Target target)
{
    // Typed addresses win over the selection: a group still chosen from an earlier
    // press would otherwise be added a second time. They may be several, separated
    // by blanks, commas or semicolons.
    static const QRegularExpression separators(QStringLiteral("[\\s,;]+"));
    const QStringList typed = m_typed->text().split(separators, Qt::SkipEmptyParts);
    if (!typed.isEmpty()) {
        for (const QString &address : typed)
            addAddress(target, address);
        m_typed->clear();
        return;
    }
    for (const QListWidgetItem *item : m_people->selectedItems())
        addAddress(target, item->data(Qt::UserRole).toString());
}

void SendMail::addAddress(Target target, const QString &given)
{
    // Each person gets the mail once: an address already in To, Cc or Bcc stays where it is.
    const QString address = given.trimmed();
    if (address.isEmpty())
        return;
    for (int t = 0; t < Targets; ++t) {
        if (addresses(Target(t)).contains(address, Qt::CaseInsensitive))
            return;
    }
    const int row = m_book.indexOfAddress(address);
    const QString shown =
        row < 0 ? address : QStringLiteral("%1 <%2>").arg(m_book.people()[row].name, address);
    auto *item = new QListWidgetItem(shown, m_lists[target]);
    item->setData(Qt::UserRole, address);
}

void SendMail::removeSelected()
{
    for (QListWidget *l : m_lists)
        qDeleteAll(l->selectedItems());
}

QStringList SendMail::addresses(Target target) const
{
    QStringList out;
    for (int i = 0; i < m_lists[target]->count(); ++i)
        out << m_lists[target]->item(i)->data(Qt::UserRole).toString();
    return out;
}
