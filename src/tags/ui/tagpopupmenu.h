#pragma once

#include <QMenu>

// The pop-up menu of a tag window. One menu serves every tag: it is prepared for a
// tag before it opens and reports the entry chosen together with that tag's index.
class TagPopupMenu : public QMenu
{
    Q_OBJECT
public:
    // In menu order.
    enum Entry
    {
        ClipCopy,
        SendTo,
        EMail,
        Print,
        URLOpen,
        Update,
        Close,
        Delete,
        Create,
        ReSize,
        Default,
        Cancel
    };
    Q_ENUM(Entry)

    explicit TagPopupMenu(QWidget *parent = nullptr);

    // Sets the tag the next choice is for and whether a URL can be opened.
    void prepare(int k, bool urlEnabled);
    // prepare() and open at globalPos without waiting for the choice.
    void popupFor(int k, const QPoint &globalPos, bool urlEnabled);
    int tagIndex() const { return m_k; }
    QAction *entryAction(Entry entry) const { return m_actions[entry]; }
    static QString objectNameOf(Entry entry);

Q_SIGNALS:
    // Every entry, キャンセル included, for the tag the menu was prepared for.
    void chosen(int k, TagPopupMenu::Entry entry);

private:
    int m_k = 0;
    QAction *m_actions[Cancel + 1] = {};
};
