#pragma once

#include "taglistmodel.h"

#include <QMainWindow>

class Prompt;
class QLabel;
class QListWidget;
class QMenu;
class TagListHost;
class TagStore;

// ごみ箱: the tags in the trash, to be restored or deleted for good; several rows
// can be chosen at once.
class TrashList : public QMainWindow
{
    Q_OBJECT
public:
    TrashList(const TagStore &store, Prompt &prompt, TagListHost &host, QWidget *parent = nullptr);

    // Reads the tags again; selected tags that are still in the trash stay selected.
    void refill();

    QListWidget *list() const { return m_list; }
    QLabel *infoLabel() const { return m_info; }
    QMenu *popupMenu() const { return m_popup; }
    // The selected tags in row order.
    QList<int> selectedTags() const;
    bool selectTag(int k);

    // The commands, as the menus call them.
    void restoreSelected();
    void deleteSelected();
    void emptyTrash();

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void showInfo();
    void openPopup(const QPoint &pos);

    TagListModel m_model;
    const TagStore &m_store;
    Prompt &m_prompt;
    TagListHost &m_host;
    QListWidget *m_list;
    QLabel *m_info;
    QMenu *m_popup;
};
