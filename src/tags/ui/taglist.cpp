#include "taglist.h"

#include "prompt.h"
#include "taglisthost.h"
#include "tagstore.h"

#include <QCloseEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QVBoxLayout>

namespace {

QAction *addCommand(QMenu *menu, const char *objectName, const char *caption)
{
    QAction *a = menu->addAction(QString::fromUtf8(caption));
    a->setObjectName(QString::fromLatin1(objectName));
    return a;
}

} // namespace

TagList::TagList(const TagStore &store, Prompt &prompt, TagListHost &host, QWidget *parent)
    : QMainWindow(parent), m_model(store), m_store(store), m_prompt(prompt), m_host(host),
      m_list(new QListWidget), m_info(new QLabel), m_popup(new QMenu(this))
{
    setObjectName(QStringLiteral("TagList"));
    setWindowTitle(QStringLiteral("付箋一覧"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    setCentralWidget(makeBody(m_list, m_info));

    QMenu *file = menuBar()->addMenu(QStringLiteral("ﾌｧｲﾙ(&F)"));
    file->setObjectName(QStringLiteral("mnu_File"));
    connect(addCommand(file, "mnu_Update", "設定変更"), &QAction::triggered, this,
            &TagList::update);
    connect(addCommand(file, "mnu_Create", "新規作成 (ｺﾋﾟｰの作成)"), &QAction::triggered, this,
            &TagList::createCopy);
    file->addSeparator();
    connect(addCommand(file, "mnu_ReDisp", "アイコン再表示"), &QAction::triggered, this,
            [this] { m_host.restoreTrayIcon(); });
    file->addSeparator();
    connect(addCommand(file, "mnu_Exit", "閉じる"), &QAction::triggered, this, &QWidget::close);

    m_popup->setObjectName(QStringLiteral("mnu_List"));
    connect(addCommand(m_popup, "List_Update", "設定変更"), &QAction::triggered, this,
            &TagList::update);
    connect(addCommand(m_popup, "List_Create", "新規作成 (ｺﾋﾟｰの作成)"), &QAction::triggered, this,
            &TagList::createCopy);
    m_popup->addSeparator();
    connect(addCommand(m_popup, "List_Erase", "非表示"), &QAction::triggered, this,
            &TagList::eraseSelected);
    connect(addCommand(m_popup, "List_Redisp", "再表示"), &QAction::triggered, this,
            &TagList::redisplaySelected);
    m_popup->addSeparator();
    connect(addCommand(m_popup, "List_Delete", "ごみ箱に入れる。（削除する）"), &QAction::triggered,
            this, &TagList::trashSelected);

    connect(m_list, &QListWidget::itemSelectionChanged, this, &TagList::showInfo);
    connect(m_list, &QListWidget::itemDoubleClicked, this, &TagList::update);
    connect(m_list, &QWidget::customContextMenuRequested, this, &TagList::openPopup);

    placeWindow(*this, m_model, TagListModel::View::Live);
    refill();
}

void TagList::refill()
{
    const int keep = selectedTag();
    m_list->clear();
    for (const TagListRow &row : m_model.rows(TagListModel::View::Live)) {
        auto *item = new QListWidgetItem(row.text, m_list);
        item->setData(Qt::UserRole, row.k);
    }
    if (keep)
        selectTag(keep);
    showInfo();
}

int TagList::selectedTag() const
{
    const auto items = m_list->selectedItems();
    return items.isEmpty() ? 0 : items.first()->data(Qt::UserRole).toInt();
}

bool TagList::selectTag(int k)
{
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(Qt::UserRole).toInt() == k) {
            m_list->setCurrentRow(row, QItemSelectionModel::ClearAndSelect);
            return true;
        }
    }
    return false;
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

void TagList::update()
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
    QString why;
    if (!m_model.trash(k, &why)) {
        qWarning("%s", qPrintable(why));
        return;
    }
    m_host.tagTrashed(k);
    refill();
}

void TagList::showInfo()
{
    const int k = selectedTag();
    const auto tag = k ? m_store.readTag(k) : std::nullopt;
    m_info->setText(tag ? TagListModel::describeLive(*tag, m_host.isShown(k)) : QString());
}

void TagList::openPopup(const QPoint &pos)
{
    QListWidgetItem *item = m_list->itemAt(pos);
    if (!item)
        return;
    if (!item->isSelected())
        m_list->setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    m_popup->popup(m_list->viewport()->mapToGlobal(pos));
}

void TagList::closeEvent(QCloseEvent *event)
{
    keepGeometry(*this, m_model, TagListModel::View::Live);
    QMainWindow::closeEvent(event);
    Q_EMIT closed();
}

QFont TagList::listFont()
{
    QFont font;
    // The first family the system has wins; any fixed-pitch font will do.
    font.setFamilies({QStringLiteral("ＭＳ ゴシック"), QStringLiteral("Noto Sans Mono CJK JP"),
                      QStringLiteral("monospace")});
    font.setStyleHint(QFont::Monospace);
    return font;
}

QWidget *TagList::makeBody(QListWidget *list, QLabel *info)
{
    list->setObjectName(QStringLiteral("lst_Tabs"));
    list->setFont(listFont());
    list->setContextMenuPolicy(Qt::CustomContextMenu);
    info->setObjectName(QStringLiteral("lbl_Info"));
    info->setTextFormat(Qt::PlainText);
    info->setWordWrap(true);
    info->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    info->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    info->setMinimumHeight(info->fontMetrics().lineSpacing() * 3 + 8);
    info->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *body = new QWidget;
    auto *layout = new QVBoxLayout(body);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(list, 1);
    layout->addWidget(info);
    return body;
}

void TagList::placeWindow(QWidget &window, const TagListModel &model, TagListModel::View view)
{
    const auto stored = model.storedGeometry(view, window.logicalDpiX(), window.logicalDpiY());
    if (!stored) {
        window.resize(DefaultSize);
        return;
    }
    window.move(stored->topLeft());
    window.resize(stored->size());
}

void TagList::keepGeometry(const QWidget &window, const TagListModel &model,
                           TagListModel::View view)
{
    QString why;
    if (!model.storeGeometry(view, QRect(window.pos(), window.size()), window.logicalDpiX(),
                             window.logicalDpiY(), &why))
        qWarning("%s", qPrintable(why));
}
