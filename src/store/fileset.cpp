#include "fileset.h"

#include "cp932.h"
#include "datafile.h"
#include "durable.h"
#include "envrecord.h"
#include "tagrecord.h"
#include "tagstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

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
constexpr int VersionCodeOffset = 1264;

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

bool isDigits(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isBlank(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c == ' ' || c == '\0'; });
}

// Whether the file has the size and records of the old format: 2048-byte slots,
// a tag number (or nothing) at the head of every slot present, and no more
// slots than TagCount asks for. A current file is far longer than that.
QString oldLayoutProblem(QFile &file, const QByteArray &record1)
{
    const EnvRecord env = [&] {
        EnvRecord e;
        QByteArray b = record1;
        b.append(EnvRecord::Size - b.size(), ' ');
        e.setBytes(b);
        return e;
    }();
    const qint64 size = file.size();
    if (!isDigits(record1.first(5)))
        return QStringLiteral("NextTagNumber is not five digits");
    const int count = env.tagCount();
    if (count < 0)
        return QStringLiteral("TagCount is negative");
    if (size > qint64(count + 1) * OldSlotSize)
        return QStringLiteral("%1 bytes is too long for %2 tags in 2048-byte records")
            .arg(size)
            .arg(count);
    for (int record = 2; qint64(record - 1) * OldSlotSize + 5 <= size; ++record) {
        file.seek(qint64(record - 1) * OldSlotSize);
        const QByteArray number = file.read(5);
        if (!isDigits(number) && !isBlank(number))
            return QStringLiteral("record %1 does not start with a tag number").arg(record);
    }
    return {};
}

// The conversion: the old file is kept as Pinboard.dt1.bak until the new one is
// complete and on the disk; the new file is committed whole or not at all.
bool convert(const FileSet &files, PrepareResult &r)
{
    QString why;
    if (!Durable::copyFile(files.dt1, files.backup, &why))
        return fail(r, why);
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
        qWarning("Pinboard: the old tag file holds %d of %d tags; the rest are lost", converted,
                 oldCount);
    env.setTagCount(converted);
    if (!out.seek(0) || out.write(env.bytes()) != env.bytes().size())
        return restore(out.errorString());
    old.close();
    if (!Durable::commit(out))
        return restore(out.errorString());
    QFile::remove(files.oldDt1);
    QFile::remove(files.backup);
    Durable::syncDirectory(files.dir);
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
    f.backup = join(dir, sep, QStringLiteral("Pinboard.dt1.bak"));
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

DataFileCheck inspectDataFile(const QString &dt1Path)
{
    DataFileCheck check;
    auto damaged = [&](const QString &why) {
        check.kind = DataFileCheck::Damaged;
        check.reason = QStringLiteral("%1: %2").arg(dt1Path, why);
        return check;
    };
    if (!QFileInfo(dt1Path).exists())
        return check;
    QFile file(dt1Path);
    if (!QFileInfo(dt1Path).isFile() || !file.open(QIODevice::ReadOnly))
        return damaged(file.errorString());
    const QByteArray record1 = file.read(OldSlotSize);
    if (record1.size() < OldSlotSize)
        return damaged(QStringLiteral("record 1 ends after %1 of %2 bytes")
                           .arg(record1.size())
                           .arg(EnvRecord::Size));
    const QByteArray code = record1.mid(VersionCodeOffset, 6);
    if (!isDigits(code))
        return damaged(QStringLiteral("VersionCode is not six digits"));
    if (code < QByteArray(FirstCurrentVersionCode)) {
        const QString why = oldLayoutProblem(file, record1);
        if (!why.isEmpty())
            return damaged(QStringLiteral("VersionCode %1 is of the old format, but %2")
                               .arg(QString::fromLatin1(code), why));
        check.kind = DataFileCheck::OldFormat;
        return check;
    }
    file.close();
    QString why;
    if (!TagStore(dt1Path).readEnv(&why)) {
        check.kind = DataFileCheck::Damaged;
        check.reason = why;
        return check;
    }
    check.kind = DataFileCheck::Current;
    return check;
}

PrepareResult prepareFileSet(const FileSet &files)
{
    PrepareResult r;
    // A conversion cut off by a crash left only the old file: take it up again.
    if (!QFile::exists(files.dt1) && QFile::exists(files.oldDt1) &&
        !QFile::rename(files.oldDt1, files.dt1)) {
        fail(r, QStringLiteral("cannot rename %1 back to %2").arg(files.oldDt1, files.dt1));
        return r;
    }
    const DataFileCheck check = inspectDataFile(files.dt1);
    r.ok = true;
    switch (check.kind) {
    case DataFileCheck::Missing:
        r.firstRun = true;
        break;
    case DataFileCheck::Current:
        break;
    case DataFileCheck::OldFormat:
        convert(files, r);
        break;
    case DataFileCheck::Damaged:
        r.damaged = true;
        r.error = check.reason;
        break;
    }
    return r;
}

bool createDataFile(const QString &dt1Path, const QByteArray &env, QString *error)
{
    return Durable::writeFile(dt1Path, env, error);
}
