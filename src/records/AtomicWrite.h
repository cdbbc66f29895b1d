#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "records/Result.h"

class FileOps;
class FolderLock;

// Makes path hold exactly content, or leaves it as it was. The new file is built beside the file path
// leads to (symbolic links are followed and stay links) under a name of its own, "<name>.<pid>-<n>.new",
// pushed to disk and renamed over it; on any failure the scratch is removed. A FIFO, device or folder
// at path is refused, not replaced. The new file takes the mode, owner and group of recordFile (by
// default path itself) as far as this process may give them, so a rewrite never opens up a file its
// owner had closed; a failure names recordFile, never the scratch. The folder's lock is held throughout.
// ops: the seam for writes, flushes and renames; nullptr for the real one.
Status writeAtomically(const QString& path, const QByteArray& content, FileOps* ops = nullptr,
                       const QString& recordFile = QString());
// The same under the folder's lock, which the caller holds already.
Status writeAtomically(const FolderLock& held, const QString& path, const QByteArray& content, FileOps* ops = nullptr,
                       const QString& recordFile = QString());

// Removes from folder the scratch files that a write killed half way left behind for any of names,
// under the folder's lock, which the caller holds (so no running write loses its scratch).
void removeScratchFiles(const FolderLock& held, const QString& folder, const QStringList& names);
