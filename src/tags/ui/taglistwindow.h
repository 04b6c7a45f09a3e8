#pragma once

#include "taglistmodel.h"
#include "tagoperations.h"

#include <QMainWindow>

class Prompt;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class TagListHost;
class TagStore;

// What the tag list and the trash share: the rows of one view in `lst_Tabs`, the
// text of the selected tag under it, the row pop-up menu, and the window's place
// kept in record 1.
class TagListWindow : public QMainWindow
{
    Q_OBJECT
public:
    static constexpr QSize DefaultSize{520, 360};

    // Reads the tags again; selected tags that are still listed stay selected.
    void refill();

    QListWidget *list() const { return m_list; }
    QLabel *infoLabel() const { return m_info; }
    QMenu *popupMenu() const { return m_popup; }
    // The selected tags in row order.
    QList<int> selectedTags() const;
    bool selectTag(int k);

    // ＭＳ ゴシック when there, else any fixed-pitch font.
    static QFont listFont();

Q_SIGNALS:
    void closed();

protected:
    TagListWindow(TagListModel::View view, const TagStore &store, Settings &settings,
                  Prompt &prompt, TagListHost &host, QWidget *parent);

    // The text under the list for tag k.
    virtual QString describe(const TagRecord &tag, int k) const = 0;
    // Enter and Delete on the list (Esc closes the window).
    virtual void enterPressed() {}
    virtual void deletePressed() {}
    // A box above the list that keeps only the rows holding its text.
    void addFilter();
    bool eventFilter(QObject *watched, QEvent *event) override;

    // The menu "ﾌｧｲﾙ(&F)".
    QMenu *fileMenu() const { return m_file; }
    static QAction *addCommand(QMenu *menu, const char *objectName, const char *caption);
    // Fills the window from record 1 and the rows; called by the subclass once its
    // menus stand.
    void finishSetUp();
    void showInfo();
    void closeEvent(QCloseEvent *event) override;

    TagListModel m_model;
    TagOperations m_operations;
    const TagStore &m_store;
    Prompt &m_prompt;
    TagListHost &m_host;

private:
    void openPopup(const QPoint &pos);

    TagListModel::View m_view;
    QListWidget *m_list;
    QLabel *m_info;
    QMenu *m_popup;
    QMenu *m_file;
    QLineEdit *m_filter = nullptr;
};
