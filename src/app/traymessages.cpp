#include "traymessages.h"

QString TrayMessages::tip(int index)
{
    static const char16_t *const Lines[] = {u"ﾀﾞﾌﾞﾙｸﾘｯｸで付箋作成", u"右ｸﾘｯｸで設定ﾒﾆｭｰ表示",
                                            u"左ｸﾘｯｸで付箋を前面に表示",
                                            u"Shift + 左ｸﾘｯｸでｺﾋﾟｰ画面表示"};
    return QStringLiteral("DeskTop Pin Board\r\n") + QString::fromUtf16(Lines[index & 3]);
}

TrayMessages::Action TrayMessages::decode(int message, bool shift)
{
    switch (message - MouseMove) {
    case 0:
        m_tip = tip(m_tooltipIndex);
        // The screen copy the fourth tip advertises is not built: skip it.
        m_tooltipIndex = (m_tooltipIndex + 1) % 3;
        return Action::ShowTip;
    case 1:
        return Action::None;
    case 2:
        return shift ? Action::ScreenCopy : Action::RaiseTags;
    case 3:
        return Action::NewTag;
    case 4:
        return Action::OpenMenu;
    default:
        return Action::None;
    }
}
