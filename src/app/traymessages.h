#pragma once

#include <QString>

// What the tray icon's mouse messages mean: 0x200 moved over it, 0x201 left
// button down, 0x202 left button up, 0x203 left double-click, 0x204 right
// button down. Moving over the icon shows the next of the tips.
class TrayMessages
{
public:
    enum class Action
    {
        None,
        ShowTip,
        RaiseTags,
        ScreenCopy,
        NewTag,
        OpenMenu
    };

    static constexpr int MouseMove = 0x200;
    static constexpr int LeftUp = 0x202;
    static constexpr int LeftDoubleClick = 0x203;
    static constexpr int RightDown = 0x204;

    // "DeskTop Pin Board" CR LF and the tip line of index 0-3.
    static QString tip(int index);
    static QString pausedTip() { return QStringLiteral("Pin Board Stoped"); }

    // Decodes one message; a move over the icon sets currentTip() and moves the index on.
    Action decode(int message, bool shift);
    QString currentTip() const { return m_tip; }
    int tooltipIndex() const { return m_tooltipIndex; }

private:
    int m_tooltipIndex = 0; // TooltipIndex
    QString m_tip = tip(0);
};
