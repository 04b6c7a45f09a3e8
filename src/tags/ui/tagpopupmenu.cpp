#include "tagpopupmenu.h"

#include <iterator>

namespace {
struct EntryText
{
    const char *objectName;
    const char *caption; // UTF-8
};
constexpr EntryText Entries[] = {
    {"mnu_ClipCopy", "ｸﾘｯﾌﾟﾎﾞｰﾄﾞにｺﾋﾟｰ"},
    {"mnu_SendTo", "他のｺﾝﾋﾟｭｰﾀに送る"},
    {"mnu_EMail", "内容をE-Mailで送る"},
    {"mnu_Print", "印刷する"},
    {"mnu_URLOpen", "URLをﾌﾞﾗｳｻﾞで開く"},
    {"mnu_Update", "設定変更"},
    {"mnu_Close", "非表示"},
    {"mnu_Delete", "ごみ箱に入れる。（削除する）"},
    {"mnu_Create", "新規作成 (ｺﾋﾟｰの作成)"},
    {"mnu_ReSize", "サイズを最適化する"},
    {"mnu_Default", "配色等を現在の規定値にする"},
    {"mnu_Cancel", "キャンセル"},
};
static_assert(std::size(Entries) == TagPopupMenu::Cancel + 1);
} // namespace

TagPopupMenu::TagPopupMenu(QWidget *parent) : QMenu(parent)
{
    setObjectName(QStringLiteral("mnu_PopUp"));
    for (int i = 0; i <= Cancel; ++i) {
        QAction *a = addAction(QString::fromUtf8(Entries[i].caption));
        a->setObjectName(QString::fromLatin1(Entries[i].objectName));
        const auto entry = Entry(i);
        connect(a, &QAction::triggered, this, [this, entry] { Q_EMIT chosen(m_k, entry); });
        m_actions[i] = a;
    }
    // Sending to another computer is not there yet.
    m_actions[SendTo]->setEnabled(false);
}

void TagPopupMenu::prepare(int k, bool urlEnabled)
{
    m_k = k;
    m_actions[URLOpen]->setEnabled(urlEnabled);
}

void TagPopupMenu::popupFor(int k, const QPoint &globalPos, bool urlEnabled)
{
    prepare(k, urlEnabled);
    popup(globalPos);
}

QString TagPopupMenu::objectNameOf(Entry entry)
{
    return QString::fromLatin1(Entries[entry].objectName);
}
