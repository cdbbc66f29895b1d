#pragma once

#include <QLockFile>
#include <QString>

#include "records/Result.h"

// The short-lived lock that puts the changes of one folder's record files in a row, across programs:
// two administrators on a shared folder, or the program started twice. Taken for one update, delete,
// creation or rewrite and given back at once; a lock whose program has gone is taken over.
class FolderLock {
public:
    static constexpr const char* kFileName = "vondrel.lck";
    // Longer than any one change takes, even of a large file on a slow share.
    static constexpr int kWaitMs = 10000;
    // A lock this old is left by a program that cannot be asked (on another computer) and has died.
    static constexpr int kStaleMs = 30000;
    // A lock file still empty after this long was never filled in: its maker died taking it.
    static constexpr int kUnfinishedMs = 2000;

    explicit FolderLock(const QString& folder);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Takes the lock, waiting at most kWaitMs. When it cannot be had, the message names forFile (the
    // file the change was for) and says why.
    Status lock(const QString& forFile);

private:
    QString m_path;
    QLockFile m_file;
};
