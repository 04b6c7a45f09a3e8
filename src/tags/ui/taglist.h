#pragma once

#include "taglistmodel.h"

#include <QMainWindow>

class Prompt;
class QLabel;
class QListWidget;
class QMenu;
class TagListHost;
class TagStore;

// 付箋一覧: every tag that is not in the trash, with commands to change, copy, hide,
// show again or trash the selected one.
class TagList : public QMainWindow
{
    Q_OBJECT
public:
    static constexpr QSize DefaultSize{520, 360};

    TagList(const TagStore &store, Prompt &prompt, TagListHost &host, QWidget *parent = nullptr);

    // Reads the tags again; the selected tag stays selected while it is listed.
    void refill();

    QListWidget *list() const { return m_list; }
    QLabel *infoLabel() const { return m_info; }
    QMenu *popupMenu() const { return m_popup; }
    // The selected tag, 0 when none.
    int selectedTag() const;
    bool selectTag(int k);

    // The commands, as the menus call them.
    void update();
    void createCopy();
    void eraseSelected();
    void redisplaySelected();
    void trashSelected();

    // Shared with the trash window.
    static QFont listFont();
    static QWidget *makeBody(QListWidget *list, QLabel *info);
    static void placeWindow(QWidget &window, const TagListModel &model, TagListModel::View view);
    static void keepGeometry(const QWidget &window, const TagListModel &model,
                             TagListModel::View view);

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    // The selected tag when the editor may be opened on it, else 0 after saying why.
    int tagForEditor();
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
