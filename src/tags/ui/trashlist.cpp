#include "trashlist.h"

#include "prompt.h"
#include "taglist.h"
#include "taglisthost.h"
#include "tagstore.h"

#include <QCloseEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>

namespace {

QAction *addCommand(QMenu *menu, const char *objectName, const char *caption)
{
    QAction *a = menu->addAction(QString::fromUtf8(caption));
    a->setObjectName(QString::fromLatin1(objectName));
    return a;
}

QString confirmTitle()
{
    return QStringLiteral("削除の確認");
}

} // namespace

TrashList::TrashList(const TagStore &store, Prompt &prompt, TagListHost &host, QWidget *parent)
    : QMainWindow(parent), m_model(store), m_store(store), m_prompt(prompt), m_host(host),
      m_list(new QListWidget), m_info(new QLabel), m_popup(new QMenu(this))
{
    setObjectName(QStringLiteral("TrashList"));
    setWindowTitle(QStringLiteral("ごみ箱"));
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    setCentralWidget(TagList::makeBody(m_list, m_info));

    QMenu *file = menuBar()->addMenu(QStringLiteral("ﾌｧｲﾙ(&F)"));
    file->setObjectName(QStringLiteral("mnu_File"));
    connect(addCommand(file, "List_MRedisp", "ごみ箱から元に戻す"), &QAction::triggered, this,
            &TrashList::restoreSelected);
    connect(addCommand(file, "List_MDelete", "ごみ箱から削除する"), &QAction::triggered, this,
            &TrashList::deleteSelected);
    file->addSeparator();
    connect(addCommand(file, "mnu_AllDelete", "ごみ箱を空にする"), &QAction::triggered, this,
            &TrashList::emptyTrash);
    file->addSeparator();
    connect(addCommand(file, "mnu_Exit", "閉じる"), &QAction::triggered, this, &QWidget::close);

    m_popup->setObjectName(QStringLiteral("mnu_List"));
    connect(addCommand(m_popup, "List_Redisp", "ごみ箱から元に戻す"), &QAction::triggered, this,
            &TrashList::restoreSelected);
    connect(addCommand(m_popup, "List_Delete", "ごみ箱から削除する"), &QAction::triggered, this,
            &TrashList::deleteSelected);

    connect(m_list, &QListWidget::itemSelectionChanged, this, &TrashList::showInfo);
    connect(m_list, &QListWidget::currentItemChanged, this, &TrashList::showInfo);
    connect(m_list, &QWidget::customContextMenuRequested, this, &TrashList::openPopup);

    TagList::placeWindow(*this, m_model, TagListModel::View::Trash);
    refill();
}

void TrashList::refill()
{
    const QList<int> keep = selectedTags();
    m_list->clear();
    for (const TagListRow &row : m_model.rows(TagListModel::View::Trash)) {
        auto *item = new QListWidgetItem(row.text, m_list);
        item->setData(Qt::UserRole, row.k);
        item->setSelected(keep.contains(row.k));
    }
    showInfo();
}

QList<int> TrashList::selectedTags() const
{
    QList<int> ks;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem *item = m_list->item(row);
        if (item->isSelected())
            ks.append(item->data(Qt::UserRole).toInt());
    }
    return ks;
}

bool TrashList::selectTag(int k)
{
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(Qt::UserRole).toInt() == k) {
            m_list->setCurrentRow(row, QItemSelectionModel::Select);
            return true;
        }
    }
    return false;
}

void TrashList::restoreSelected()
{
    const QList<int> ks = selectedTags();
    if (ks.isEmpty())
        return;
    for (int k : ks) {
        QString why;
        if (m_model.restore(k, &why))
            m_host.tagRestored(k);
        else
            qWarning("%s", qPrintable(why));
    }
    refill();
}

void TrashList::deleteSelected()
{
    const QList<int> ks = selectedTags();
    if (ks.isEmpty())
        return;
    if (!m_prompt.ask(
            QStringLiteral("現在選択されているタグをごみ箱から削除します。よろしいですか？"),
            confirmTitle()))
        return;
    for (int k : ks) {
        QString why;
        if (m_model.deleteForGood(k, &why))
            m_host.tagDeletedForGood(k);
        else
            qWarning("%s", qPrintable(why));
    }
    refill();
}

void TrashList::emptyTrash()
{
    if (!m_prompt.ask(QStringLiteral("ごみ箱を空にします。元には戻せません、よろしいですか？"),
                      confirmTitle()))
        return;
    m_host.stopMidi();
    QString why;
    const QList<int> freed = m_model.emptyTrash(&why);
    if (!why.isEmpty())
        qWarning("%s", qPrintable(why));
    for (int k : freed)
        m_host.tagDeletedForGood(k);
    refill();
}

void TrashList::showInfo()
{
    // With several rows chosen, the one last clicked speaks for them.
    const QListWidgetItem *item = m_list->currentItem();
    if (!item || !item->isSelected()) {
        const auto selected = m_list->selectedItems();
        item = selected.isEmpty() ? nullptr : selected.first();
    }
    const int k = item ? item->data(Qt::UserRole).toInt() : 0;
    const auto tag = k ? m_store.readTag(k) : std::nullopt;
    m_info->setText(tag ? TagListModel::describeTrashed(*tag) : QString());
}

void TrashList::openPopup(const QPoint &pos)
{
    QListWidgetItem *item = m_list->itemAt(pos);
    if (!item)
        return;
    if (!item->isSelected())
        m_list->setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    m_popup->popup(m_list->viewport()->mapToGlobal(pos));
}

void TrashList::closeEvent(QCloseEvent *event)
{
    TagList::keepGeometry(*this, m_model, TagListModel::View::Trash);
    QMainWindow::closeEvent(event);
    Q_EMIT closed();
}
