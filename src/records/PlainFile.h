#pragma once

#include <QFile>
#include <QString>

#include "records/Result.h"

// What the record layer reads and replaces must be a plain file: a FIFO would block the open, a device
// would be touched by it, a folder holds no records. Each is refused with a message that names it,
// before anything opens it.
namespace PlainFile {

// Opens path into file, ReadOnly or ReadWrite, without ever waiting. *missing tells whether nothing
// was there: ReadOnly then leaves file closed and is no error, ReadWrite makes the file.
Status open(QFile& file, const QString& path, QIODevice::OpenMode mode, bool* missing);

// Refuses path when something other than a plain file stands there; nothing at all is fine.
Status checkKind(const QString& path);

// Refuses changing path when something other than a plain file stands there, or when its mode bits
// do not let this process write it. The superuser writes through any mode bits; a file that nobody
// may write is still refused, since its owner meant it to stay as it is. A missing file may be made.
Status checkWritable(const QString& path);

// The file path leads to through symbolic links, which need not exist; path itself when it is none.
QString resolveLinks(const QString& path);

// The system's own text for an error number.
QString systemText(int error);

}  // namespace PlainFile
