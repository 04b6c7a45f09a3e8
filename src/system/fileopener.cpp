#include "fileopener.h"

#include "prompt.h"

QString openFailureText(int code)
{
    if (code >= 32)
        return {};
    switch (code) {
    case OpenCode::SharingViolation:
        return QStringLiteral("共有違反が発生しました。");
    case OpenCode::AssociationIncomplete:
        return QStringLiteral("ファイルの関連付けが不完全か無効です。");
    case OpenCode::DdeTimeout:
        return QStringLiteral("要求がタイムアウトしました。");
    case OpenCode::DdeFailed:
        return QStringLiteral("ＤＤＥトランザクションが失敗しました。");
    case OpenCode::DdeBusy:
        return QStringLiteral("ＤＤＥトランザクションが処理中でした。");
    case OpenCode::NoAssociation:
        return QStringLiteral("指定ファイルには、関連付けがありません。");
    default:
        return QStringLiteral("処理が失敗しました。");
    }
}

bool OpenFileWithAssociation(const QString &path, Prompt &prompt)
{
    const int code = openWithAssociation(path);
    if (code >= 32)
        return true;
    prompt.warn(openFailureText(code));
    return false;
}
