#include "taglist.h"

#include "prompt.h"
#include "taglisthost.h"

#include <QListWidget>
#include <QMenu>

TagList::TagList(const TagStore &store, Settings &settings, Prompt &prompt, TagListHost &host,
                 QWidget *parent)
    : TagListWindow(TagListModel::View::Live, store, settings, prompt, host, parent)
{
    setObjectName(QStringLiteral("TagList"));
    setWindowTitle(QStringLiteral("付箋一覧"));
    list()->setSelectionMode(QAbstractItemView::SingleSelection);

    QMenu *file = fileMenu();
    connect(addCommand(file, "mnu_Update", "設定変更"), &QAction::triggered, this,
            &TagList::editSelected);
    connect(addCommand(file, "mnu_Create", "新規作成 (ｺﾋﾟｰの作成)"), &QAction::triggered, this,
            &TagList::createCopy);
    file->addSeparator();
    connect(addCommand(file, "mnu_ReDisp", "アイコン再表示"), &QAction::triggered, this,
            [this] { m_host.restoreTrayIcon(); });
    file->addSeparator();
    connect(addCommand(file, "mnu_Exit", "閉じる"), &QAction::triggered, this, &QWidget::close);

    QMenu *popup = popupMenu();
    connect(addCommand(popup, "List_Update", "設定変更"), &QAction::triggered, this,
            &TagList::editSelected);
    connect(addCommand(popup, "List_Create", "新規作成 (ｺﾋﾟｰの作成)"), &QAction::triggered, this,
            &TagList::createCopy);
    popup->addSeparator();
    connect(addCommand(popup, "List_Erase", "非表示"), &QAction::triggered, this,
            &TagList::eraseSelected);
    connect(addCommand(popup, "List_Redisp", "再表示"), &QAction::triggered, this,
            &TagList::redisplaySelected);
    popup->addSeparator();
    connect(addCommand(popup, "List_Delete", "ごみ箱に入れる。（削除する）"), &QAction::triggered,
            this, &TagList::trashSelected);

    connect(list(), &QListWidget::itemDoubleClicked, this, &TagList::editSelected);
    addFilter();
    finishSetUp();
}

int TagList::selectedTag() const
{
    return selectedTags().value(0);
}

QString TagList::describe(const TagRecord &tag, int k) const
{
    return TagListModel::describeLive(tag, m_host.isShown(k));
}

int TagList::tagForEditor()
{
    const int k = selectedTag();
    if (k == 0) {
        m_prompt.inform(QStringLiteral("設定変更するメッセージが選択されていません。"));
        return 0;
    }
    if (m_host.isEditorOpen()) {
        m_prompt.inform(QStringLiteral("登録画面が表示されています。終了させて下さい。"));
        return 0;
    }
    return k;
}

void TagList::editSelected()
{
    if (const int k = tagForEditor())
        m_host.openEditor(k);
}

void TagList::createCopy()
{
    if (const int k = tagForEditor())
        m_host.openEditorCopy(k);
}

void TagList::eraseSelected()
{
    if (const int k = selectedTag()) {
        m_host.hideTag(k);
        showInfo();
    }
}

void TagList::redisplaySelected()
{
    if (const int k = selectedTag()) {
        m_host.redisplayTag(k);
        showInfo();
    }
}

void TagList::trashSelected()
{
    const int k = selectedTag();
    if (k == 0)
        return;
    if (!m_operations.trash(k))
        return;
    m_host.tagTrashed(k);
    refill();
}
