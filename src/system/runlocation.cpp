#include "runlocation.h"

bool isNetworkPath(const QString &dir)
{
    return dir.startsWith(u'\\');
}

QString runLocationMessage(RunLocation where)
{
    switch (where) {
    case RunLocation::Ok:
        return {};
    case RunLocation::NetworkPath:
        return QStringLiteral(
            "ネットワークから直接実行できません。ドライブをマッピングしてから実行して下さい。");
    case RunLocation::UnsuitableDrive:
        return QStringLiteral("固定ディスク又は、ネットワークドライブから実行して下さい。");
    case RunLocation::NotWritable:
        return QStringLiteral(
            "予期せぬエラーが発生しました。ディスクが書込み禁止になっている可能性があります。");
    }
    return {};
}
