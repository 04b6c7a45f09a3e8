#pragma once

#include <QtGlobal>

class QFileDevice;

// Reads up to size bytes at offset in one call, without moving the file's
// position: a pass over thousands of records costs a system call each, not two.
// The bytes read, or -1 on an error.
qint64 readAt(QFileDevice &file, qint64 offset, char *data, qint64 size);
