#include "fileset.h"

#include "cp932.h"
#include "datafile.h"
#include "envrecord.h"
#include "tagrecord.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace {
QString join(const QString &dir, QChar sep, const QString &name)
{
    if (dir.endsWith(u'\\') || dir.endsWith(u'/'))
        return dir + name;
    return dir + sep + name;
}

// The old tag: the same fields up to 175, the file path in 260 bytes, then the
// message as a fixed field of 1600 bytes.
constexpr int OldPathOffset = 175;
constexpr int OldPathLength = 260;
constexpr int OldMessageOffset = OldPathOffset + OldPathLength;
constexpr int OldMessageLength = 1600;

TagRecord convertOldTag(const QByteArray &old)
{
    TagRecord tag;
    QByteArray fixed = tag.bytes();
    fixed.replace(0, OldPathOffset, old.first(OldPathOffset));
    fixed.replace(OldPathOffset, 278, Cp932::padded(old.mid(OldPathOffset, OldPathLength), 278));
    tag.setBytes(fixed);
    QByteArray message = old.mid(OldMessageOffset, OldMessageLength);
    const qsizetype nul = message.indexOf('\0');
    if (nul >= 0)
        message.truncate(nul);
    tag.setMessageBytes(message);
    return tag;
}

bool fail(PrepareResult &r, const QString &why)
{
    r.ok = false;
    r.error = why;
    return false;
}

// Steps a-e of the conversion; the new file is committed whole or not at all.
bool convert(const FileSet &files, PrepareResult &r)
{
    if (QFile::exists(files.oldDt1) && !QFile::remove(files.oldDt1))
        return fail(r, QStringLiteral("cannot remove %1").arg(files.oldDt1));
    if (!QFile::rename(files.dt1, files.oldDt1))
        return fail(r, QStringLiteral("cannot rename %1 to %2").arg(files.dt1, files.oldDt1));

    auto restore = [&](const QString &why) {
        QFile::rename(files.oldDt1, files.dt1);
        return fail(r, why);
    };

    QFile old(files.oldDt1);
    if (!old.open(QIODevice::ReadOnly))
        return restore(old.errorString());
    const QByteArray oldEnv = old.read(OldSlotSize);
    if (oldEnv.size() < OldSlotSize)
        return restore(QStringLiteral("record 1 of %1 is incomplete").arg(files.oldDt1));

    EnvRecord env;
    QByteArray envBytes = oldEnv;
    envBytes.append(EnvRecord::Size - OldSlotSize, ' '); // the tail of the last text field
    env.setBytes(envBytes);
    env.setVersionCode(programVersionCode());

    QSaveFile out(files.dt1);
    if (!out.open(QIODevice::WriteOnly))
        return restore(out.errorString());
    const int oldCount = qMax(0, env.tagCount());
    int converted = 0;
    for (int record = 2; record <= oldCount + 1; ++record) {
        old.seek(qint64(record - 1) * OldSlotSize);
        const QByteArray bytes = old.read(OldSlotSize);
        if (bytes.size() < OldMessageOffset + OldMessageLength)
            break; // the old file ends early: keep what is whole
        const QByteArray tag = convertOldTag(bytes).serialize();
        if (!out.seek(qint64(record - 1) * TagRecord::SlotSize) || out.write(tag) != tag.size())
            return restore(out.errorString());
        converted = record - 1;
    }
    if (converted != oldCount)
        qWarning("Pinboard: the old tag file holds %d of %d tags; the rest are lost", converted, oldCount);
    env.setTagCount(converted);
    if (!out.seek(0) || out.write(env.bytes()) != env.bytes().size())
        return restore(out.errorString());
    old.close();
    if (!out.commit())
        return restore(out.errorString());
    QFile::remove(files.oldDt1);
    r.converted = true;
    return true;
}
} // namespace

FileSet FileSet::forDirectory(const QString &dir, QChar sep)
{
    FileSet f;
    f.dir = dir;
    f.dt1 = join(dir, sep, QStringLiteral("Pinboard.dt1"));
    f.dt2 = join(dir, sep, QStringLiteral("Pinboard.dt2"));
    f.dt3 = join(dir, sep, QStringLiteral("Pinboard.dt3"));
    f.dt4 = join(dir, sep, QStringLiteral("Pinboard.dt4"));
    f.log = join(dir, sep, QStringLiteral("Pinboard.log"));
    f.oldDt1 = join(dir, sep, QStringLiteral("PinboardOld.dt1"));
#ifdef Q_OS_WIN
    f.exe = join(dir, sep, QStringLiteral("Pinboard.exe"));
#else
    f.exe = join(dir, sep, QStringLiteral("pinboard"));
#endif
    f.readme = join(dir, sep, QStringLiteral("Readme.html"));
    return f;
}

FileSet FileSet::forDirectory(const QString &dir)
{
    return forDirectory(dir, QDir::separator());
}

PrepareResult prepareFileSet(const FileSet &files)
{
    PrepareResult r;
    // A conversion cut off by a crash left only the old file: take it up again.
    if (!QFile::exists(files.dt1) && QFile::exists(files.oldDt1)
        && !QFile::rename(files.oldDt1, files.dt1)) {
        fail(r, QStringLiteral("cannot rename %1 back to %2").arg(files.oldDt1, files.dt1));
        return r;
    }
    if (!QFile::exists(files.dt1)) {
        r.ok = true;
        r.firstRun = true;
        return r;
    }
    QFile dt1(files.dt1);
    if (!dt1.open(QIODevice::ReadOnly)) {
        fail(r, QStringLiteral("%1: %2").arg(files.dt1, dt1.errorString()));
        return r;
    }
    const QByteArray record1 = dt1.read(OldSlotSize);
    dt1.close();
    r.ok = true;
    if (record1.size() < OldSlotSize)
        return r; // record 1 is missing: nothing to convert; reading it will report it
    const QString stored = QString::fromLatin1(record1.mid(1264, 6));
    if (stored < QLatin1String(FirstCurrentVersionCode))
        convert(files, r);
    return r;
}
