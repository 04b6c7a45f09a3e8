#pragma once

#include <QMenu>
#include <memory>

// The tray menu M_POPUP and the small menu mnu_PopUp2, built with their exact
// captions; every entry is a QAction whose objectName is the entry's name.
// Entries whose feature is not in this build are present and disabled.
class MainMenu
{
public:
    MainMenu();

    QMenu *popup() const { return m_popup.get(); }   // M_POPUP
    QMenu *popup2() const { return m_popup2.get(); } // mnu_PopUp2
    // The entry (or submenu's action) of that name in either menu.
    QAction *action(const QString &name) const;

    static constexpr int BackColors = 16;

private:
    std::unique_ptr<QMenu> m_popup;
    std::unique_ptr<QMenu> m_popup2;
};
