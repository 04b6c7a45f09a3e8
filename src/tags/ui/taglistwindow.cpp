#include "taglistwindow.h"

#include "tagstore.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QVBoxLayout>

TagListWindow::TagListWindow(TagListModel::View view, const TagStore &store, Settings &settings,
                             Prompt &prompt, TagListHost &host, QWidget *parent)
    : QMainWindow(parent), m_model(store, settings), m_operations(store, prompt), m_store(store),
      m_prompt(prompt), m_host(host), m_view(view), m_list(new QListWidget), m_info(new QLabel),
      m_popup(new QMenu(this))
{
    m_list->setObjectName(QStringLiteral("lst_Tabs"));
    m_list->setFont(listFont());
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_info->setObjectName(QStringLiteral("lbl_Info"));
    m_info->setTextFormat(Qt::PlainText);
    m_info->setWordWrap(true);
    m_info->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_info->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    m_info->setMinimumHeight(m_info->fontMetrics().lineSpacing() * 3 + 8);
    m_info->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *body = new QWidget;
    auto *layout = new QVBoxLayout(body);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_info);
    setCentralWidget(body);

    m_file = menuBar()->addMenu(QStringLiteral("ﾌｧｲﾙ(&F)"));
    m_file->setObjectName(QStringLiteral("mnu_File"));
    m_popup->setObjectName(QStringLiteral("mnu_List"));

    connect(m_list, &QListWidget::itemSelectionChanged, this, &TagListWindow::showInfo);
    connect(m_list, &QListWidget::currentItemChanged, this, &TagListWindow::showInfo);
    connect(m_list, &QWidget::customContextMenuRequested, this, &TagListWindow::openPopup);
    m_list->installEventFilter(this);
}

void TagListWindow::addFilter()
{
    m_filter = new QLineEdit;
    m_filter->setObjectName(QStringLiteral("txt_Filter"));
    m_filter->setPlaceholderText(QStringLiteral("絞り込み"));
    m_filter->setClearButtonEnabled(true);
    static_cast<QVBoxLayout *>(centralWidget()->layout())->insertWidget(0, m_filter);
    connect(m_filter, &QLineEdit::textChanged, this, &TagListWindow::refill);
    m_filter->installEventFilter(this);
}

bool TagListWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        switch (static_cast<QKeyEvent *>(event)->key()) {
        case Qt::Key_Escape:
            close();
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (watched == m_list)
                enterPressed();
            return watched == m_list;
        case Qt::Key_Delete:
            if (watched == m_list)
                deletePressed();
            return watched == m_list;
        default:
            break;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void TagListWindow::finishSetUp()
{
    const auto stored = m_model.storedGeometry(m_view, logicalDpiX(), logicalDpiY());
    if (stored) {
        move(stored->topLeft());
        resize(stored->size());
    } else {
        resize(DefaultSize);
    }
    refill();
}

QAction *TagListWindow::addCommand(QMenu *menu, const char *objectName, const char *caption)
{
    QAction *a = menu->addAction(QString::fromUtf8(caption));
    a->setObjectName(QString::fromLatin1(objectName));
    return a;
}

void TagListWindow::refill()
{
    const QList<int> keep = selectedTags();
    m_list->clear();
    const QString wanted = m_filter ? m_filter->text().trimmed() : QString();
    for (const TagListRow &row : m_model.rows(m_view)) {
        if (!wanted.isEmpty() && !row.text.contains(wanted, Qt::CaseInsensitive))
            continue;
        auto *item = new QListWidgetItem(row.text, m_list);
        item->setData(Qt::UserRole, row.k);
        item->setSelected(keep.contains(row.k));
    }
    showInfo();
}

QList<int> TagListWindow::selectedTags() const
{
    QList<int> ks;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem *item = m_list->item(row);
        if (item->isSelected())
            ks.append(item->data(Qt::UserRole).toInt());
    }
    return ks;
}

bool TagListWindow::selectTag(int k)
{
    const auto command = m_list->selectionMode() == QAbstractItemView::SingleSelection
                             ? QItemSelectionModel::ClearAndSelect
                             : QItemSelectionModel::Select;
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(Qt::UserRole).toInt() == k) {
            m_list->setCurrentRow(row, command);
            return true;
        }
    }
    return false;
}

void TagListWindow::showInfo()
{
    // With several rows chosen, the one last clicked speaks for them.
    const QListWidgetItem *item = m_list->currentItem();
    if (!item || !item->isSelected()) {
        const auto selected = m_list->selectedItems();
        item = selected.isEmpty() ? nullptr : selected.first();
    }
    const int k = item ? item->data(Qt::UserRole).toInt() : 0;
    const auto tag = k ? m_store.readTag(k) : std::nullopt;
    m_info->setText(tag ? describe(*tag, k) : QString());
}

void TagListWindow::openPopup(const QPoint &pos)
{
    QListWidgetItem *item = m_list->itemAt(pos);
    if (!item)
        return;
    if (!item->isSelected())
        m_list->setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    m_popup->popup(m_list->viewport()->mapToGlobal(pos));
}

void TagListWindow::closeEvent(QCloseEvent *event)
{
    QString why;
    if (!m_model.storeGeometry(m_view, QRect(pos(), size()), logicalDpiX(), logicalDpiY(), &why))
        qWarning("%s", qPrintable(why));
    QMainWindow::closeEvent(event);
    Q_EMIT closed();
}

QFont TagListWindow::listFont()
{
    QFont font;
    // The first family the system has wins; any fixed-pitch font will do.
    font.setFamilies({QStringLiteral("ＭＳ ゴシック"), QStringLiteral("Noto Sans Mono CJK JP"),
                      QStringLiteral("monospace")});
    font.setStyleHint(QFont::Monospace);
    return font;
}
