#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include "records/Result.h"

// Every write, flush and rename of the record layer goes through here, so tests can make any one of
// them fail and check that no record file is ever left half written. A failure carries the system's
// text only; the caller puts the file's name in front.
class FileOps {
public:
    virtual ~FileOps() = default;

    // Writes all of data at the file's position; any shortfall is a failure with the system's reason.
    virtual Status write(QFile& file, const QByteArray& data);
    // Pushes what was written down to the disk.
    virtual Status flush(QFile& file);
    // Renames from over to in one step; an existing `to` is replaced. Lasting once it returns: the
    // folder's entry is on disk too.
    virtual Status rename(const QString& from, const QString& to);

    // The implementation that does the real thing.
    static FileOps* real();
};
