#pragma once

#include <QByteArray>
#include <QString>

class QFileDevice;
class QSaveFile;

// What the data files need to survive a crash or a power cut: a write is not
// done until it has reached the disk, nor a create or rename until the
// directory that holds it has.
namespace Durable {

// Pushes what was written to file down to the disk.
bool sync(QFileDevice &file);
// Makes the creates, renames and removes inside dir reach the disk.
bool syncDirectory(const QString &dir);
// The directory that holds path.
QString directoryOf(const QString &path);
// Commits a save file (QSaveFile syncs its data before the rename) and syncs the
// directory, so the new file is in place for good when this returns true; on a
// failed write the new file is dropped and the old one stays.
bool commit(QSaveFile &file);
// Writes the whole of bytes to path through a save file and commits it; on
// failure the old file stays and error says why.
bool writeFile(const QString &path, const QByteArray &bytes, QString *error = nullptr);
// Copies from to to through a temporary name, synced, replacing to.
bool copyFile(const QString &from, const QString &to, QString *error = nullptr);

} // namespace Durable
