#include "datafolder.h"

#include "datamove.h"
#include "prompt.h"
#include "singleinstance.h"

#include <QDebug>
#include <QDir>
#include <QFile>

QString dataMovedText(const QString &from, const QString &to)
{
    return QStringLiteral("付箋のデータを、次のフォルダに移動しました。\r\n%1\r\n（移動元：%2）")
        .arg(QDir::toNativeSeparators(to), QDir::toNativeSeparators(from));
}

QString dataNotMovedText(const QString &from, const QString &to)
{
    return QStringLiteral("付箋のデータを、次のフォルダに移動できませんでした。\r\n%1\r\n"
                          "今回は、%2 のデータを使用します。")
        .arg(QDir::toNativeSeparators(to), QDir::toNativeSeparators(from));
}

QString settleDataFolder(const DataLocation &where, const QString &exeDir, Prompt &prompt)
{
    if (where.source != DataLocation::User || !DataMove::isNeeded(exeDir, where.dir)) {
        QDir().mkpath(where.dir);
        return where.dir;
    }
    // A Pinboard still running on the old folder keeps it; start-up then says so.
    SingleInstance old(exeDir);
    if (old.acquire() != SingleInstance::Result::Acquired)
        return exeDir;
    const DataMove::Result moved = DataMove::move(exeDir, where.dir);
    old.release();
    if (!moved.ok) {
        qWarning().noquote() << "Pinboard:" << moved.error;
        prompt.warn(dataNotMovedText(exeDir, where.dir));
        return exeDir;
    }
    if (!moved.error.isEmpty())
        qWarning().noquote() << "Pinboard:" << moved.error;
    prompt.inform(dataMovedText(exeDir, where.dir));
    return where.dir;
}
