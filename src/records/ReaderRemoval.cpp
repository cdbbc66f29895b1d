#include "records/ReaderRemoval.h"

#include <QDir>
#include <QFile>

#include "records/AtomicWrite.h"
#include "records/FileError.h"
#include "records/FolderLock.h"
#include "records/KeyHolder.h"
#include "records/KeyHolderFile.h"
#include "records/PlainFile.h"
#include "records/Reader.h"
#include "records/ReaderFile.h"

namespace {

// Every whole record of content with the deleted reader's bit taken out of both maps; every other byte,
// a partial record at the end included, stays.
QByteArray shiftedHolders(QByteArray content, int reader) {
    const qint64 records = content.size() / KeyHolder::kSize;
    for (qint64 i = 0; i < records; ++i) {
        KeyHolder holder;
        holder.setBytes(content.mid(i * KeyHolder::kSize, KeyHolder::kSize));
        holder.setToegang(withoutReader(holder.toegang(), reader));
        holder.setWijziging(withoutReader(holder.wijziging(), reader));
        content.replace(i * KeyHolder::kSize, KeyHolder::kSize, holder.bytes());
    }
    return content;
}

Result<QByteArray> readWhole(const QString& path, bool* missing) {
    QFile file(path);
    if (const Status opened = PlainFile::open(file, path, QIODevice::ReadOnly, missing); !opened || *missing) {
        return opened ? Result<QByteArray>(QByteArray()) : Result<QByteArray>(opened);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        return FileError::read(path, file.errorString());
    }
    return bytes;
}

}  // namespace

Result<ReaderRemoval> removeReader(const QString& folder, int n, bool shiftAccess, const LoadedRecord& loaded,
                                   FileOps* ops) {
    const QString readerPath = QDir(folder).filePath(QLatin1String(ReaderFile::kFileName));
    const QString holderPath = QDir(folder).filePath(QLatin1String(KeyHolderFile::kFileName));
    FolderLock lock(folder);
    if (const Status locked = lock.lock(readerPath); !locked) {
        return Status(locked);
    }
    QByteArray holders;
    bool noHolders = true;
    const bool shifting = shiftAccess && n >= 1 && n <= KeyHolder::kMaxReaders;
    if (shifting) {
        if (const Status writable = PlainFile::checkWritable(holderPath); !writable) {
            return Status(writable);
        }
        const Result<QByteArray> read = readWhole(holderPath, &noHolders);
        if (!read) {
            return Status(read);
        }
        holders = read.value;
    }
    if (const Status removed = RecordFile(readerPath, Reader::kSize, ops).remove(lock, n, loaded); !removed) {
        return Status(removed);
    }
    ReaderRemoval removal;
    if (!shifting || noHolders) {
        removal.accessShifted = shifting;
        return removal;
    }
    // The reader goes first: should the maps not follow, the folder is as a delete without shifting
    // leaves it, which the user is told; maps shifted for a reader still there would be worse.
    const Status shifted = writeAtomically(lock, holderPath, shiftedHolders(holders, n - 1), ops);
    removal.accessShifted = shifted.ok();
    removal.shiftError = shifted.error;
    return removal;
}
