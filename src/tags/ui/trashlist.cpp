#include "trashlist.h"

#include "prompt.h"
#include "taglisthost.h"
#include "tagstore.h"

#include <QListWidget>
#include <QMenu>

namespace {
QString confirmTitle()
{
    return QStringLiteral("削除の確認");
}
} // namespace

TrashList::TrashList(const TagStore &store, Settings &settings, Prompt &prompt, TagListHost &host,
                     QWidget *parent)
    : TagListWindow(TagListModel::View::Trash, store, settings, prompt, host, parent)
{
    setObjectName(QStringLiteral("TrashList"));
    setWindowTitle(QStringLiteral("ごみ箱"));
    list()->setSelectionMode(QAbstractItemView::ExtendedSelection);

    QMenu *file = fileMenu();
    connect(addCommand(file, "List_MRedisp", "ごみ箱から元に戻す"), &QAction::triggered, this,
            &TrashList::restoreSelected);
    connect(addCommand(file, "List_MDelete", "ごみ箱から削除する"), &QAction::triggered, this,
            &TrashList::deleteSelected);
    file->addSeparator();
    connect(addCommand(file, "mnu_AllDelete", "ごみ箱を空にする"), &QAction::triggered, this,
            &TrashList::emptyTrash);
    file->addSeparator();
    connect(addCommand(file, "mnu_Exit", "閉じる"), &QAction::triggered, this, &QWidget::close);

    QMenu *popup = popupMenu();
    connect(addCommand(popup, "List_Redisp", "ごみ箱から元に戻す"), &QAction::triggered, this,
            &TrashList::restoreSelected);
    connect(addCommand(popup, "List_Delete", "ごみ箱から削除する"), &QAction::triggered, this,
            &TrashList::deleteSelected);
    finishSetUp();
}

QString TrashList::describe(const TagRecord &tag, int) const
{
    return TagListModel::describeTrashed(tag);
}

void TrashList::restoreSelected()
{
    const QList<int> ks = selectedTags();
    if (ks.isEmpty())
        return;
    for (int k : ks) {
        if (m_operations.restore(k))
            m_host.tagRestored(k);
    }
    refill();
}

void TrashList::deleteSelected()
{
    const QList<int> ks = selectedTags();
    if (ks.isEmpty())
        return;
    if (!m_prompt.askDestructive(
            QStringLiteral("現在選択されているタグをごみ箱から削除します。よろしいですか？"),
            confirmTitle()))
        return;
    for (int k : ks) {
        if (m_operations.deleteForGood(k))
            m_host.tagDeletedForGood(k);
    }
    refill();
}

void TrashList::emptyTrash()
{
    if (!m_prompt.askDestructive(
            QStringLiteral("ごみ箱を空にします。元には戻せません、よろしいですか？"),
            confirmTitle()))
        return;
    m_host.stopMidi();
    const QList<int> freed = m_operations.emptyTrash();
    for (int k : freed)
        m_host.tagDeletedForGood(k);
    refill();
}
