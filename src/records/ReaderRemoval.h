#pragma once

#include <QString>

#include "records/RecordFile.h"
#include "records/Result.h"

class FileOps;

// What deleting a reader did beyond the delete itself.
struct ReaderRemoval {
    // Every key holder's maps were moved with the readers.
    bool accessShifted = false;
    // Why the maps were not moved after all, when they were to be and the reader is gone regardless.
    QString shiftError;
};

// Deletes reader n of the folder's autonoom.bst; the readers behind it move down one number. Given the
// reader a window loaded, one on disk that is no longer the same is a conflict and nothing is deleted.
// Reader numbers are the bits of the key holders' maps, so without shiftAccess every later reader takes
// over the access of the one before it. With shiftAccess, each key holder's toegang and wijziging lose
// the deleted reader's bit and the later bits move down with their readers, so each reader keeps its own
// access list: asleutel.bst is rebuilt beside itself and renamed over, under the same hold of the
// folder's lock as the delete, so no other program's change comes in between. An asleutel.bst that
// cannot be written refuses the whole delete before anything is touched.
Result<ReaderRemoval> removeReader(const QString& folder, int n, bool shiftAccess, const LoadedRecord& loaded = {},
                                   FileOps* ops = nullptr);
