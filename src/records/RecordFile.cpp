#include "records/RecordFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "records/AtomicWrite.h"
#include "records/FileError.h"
#include "records/FileOps.h"
#include "records/FolderLock.h"
#include "records/PlainFile.h"

LoadedRecord LoadedRecord::none() {
    LoadedRecord nothing;
    nothing.m_checked = true;
    return nothing;
}

RecordFile::RecordFile(const QString& path, int recordLength, FileOps* ops)
    : m_path(path), m_length(recordLength), m_ops(ops ? ops : FileOps::real()) {}

QString RecordFile::scratchPath() const {
    return QFileInfo(m_path).dir().filePath(QStringLiteral("tmp.bst"));
}

Status RecordFile::refuseNumber(int n) const {
    return Status::failure(
        QStringLiteral("Recordnummer %1 bestaat niet in %2.").arg(n).arg(QFileInfo(m_path).fileName()));
}

Status RecordFile::refuseLength(const QByteArray& record) const {
    return Status::failure(QStringLiteral("Record van %1 bytes past niet in %2.").arg(record.size()).arg(m_path));
}

Status RecordFile::conflict(bool removal) const {
    return Status::conflictWith(QStringLiteral("De lijst in %1 is intussen door een ander gewijzigd; er is niets %2. "
                                               "De lijst wordt opnieuw gelezen.")
                                    .arg(QDir::toNativeSeparators(m_path),
                                         removal ? QStringLiteral("verwijderd") : QStringLiteral("opgeslagen")));
}

Result<int> RecordFile::count() const {
    QFile file(m_path);
    bool missing = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadOnly, &missing); !opened) {
        return opened;
    }
    return missing ? 0 : static_cast<int>(file.size() / m_length);
}

Result<QByteArray> RecordFile::read(int n) const {
    if (n < 1) {
        return refuseNumber(n);
    }
    QFile file(m_path);
    bool missing = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadOnly, &missing); !opened) {
        return opened;
    }
    if (missing || file.size() / m_length < n) {
        return QByteArray();
    }
    QByteArray bytes;
    if (file.seek(qint64(n - 1) * m_length)) {
        bytes = file.read(m_length);
    }
    if (bytes.size() != m_length) {
        return FileError::read(m_path, file.errorString());
    }
    return bytes;
}

Result<QByteArrayList> RecordFile::readAll() const {
    QFile file(m_path);
    bool missing = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadOnly, &missing); !opened) {
        return opened;
    }
    if (missing) {
        return QByteArrayList();
    }
    const qint64 whole = file.size() / m_length * m_length;
    const QByteArray bytes = file.read(whole);
    if (bytes.size() != whole) {
        return FileError::read(m_path, file.errorString());
    }
    QByteArrayList records;
    records.reserve(whole / m_length);
    for (qint64 offset = 0; offset < whole; offset += m_length) {
        records.append(bytes.mid(offset, m_length));
    }
    return records;
}

Status RecordFile::write(int n, const QByteArray& record) const {
    if (record.size() != m_length) {
        return refuseLength(record);
    }
    return update(n, [&record](QByteArray& bytes) {
        bytes = record;
        return Status();
    });
}

Result<QByteArray> RecordFile::update(int n, const Change& change, const LoadedRecord& loaded) const {
    if (n < 1) {
        return refuseNumber(n);
    }
    FolderLock lock(QFileInfo(m_path).absolutePath());
    if (const Status locked = lock.lock(m_path); !locked) {
        return locked;
    }
    if (const Status writable = PlainFile::checkWritable(m_path); !writable) {
        return writable;
    }
    QFile file(m_path);
    bool made = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadWrite | QIODevice::Unbuffered, &made);
        !opened) {
        return opened;
    }
    // Refused before anything is written: a file this call made is taken away again.
    auto refuse = [&](const Status& why) {
        if (made) {
            file.close();
            QFile::remove(m_path);
        }
        return why;
    };
    const qint64 size = file.size();
    const qint64 records = size / m_length;
    const qint64 offset = qint64(n - 1) * m_length;
    QByteArray old;
    if (n <= records) {
        if (file.seek(offset)) {
            old = file.read(m_length);
        }
        if (old.size() != m_length) {
            return refuse(FileError::read(m_path, file.errorString()));
        }
    }
    if (!loaded.matches(old)) {
        return refuse(conflict(false));
    }
    QByteArray bytes = old;
    if (const Status changed = change(bytes); !changed) {
        return refuse(changed);
    }
    if (n > records + 1) {
        return refuse(refuseNumber(n));
    }
    if (bytes.size() != m_length) {
        return refuse(refuseLength(bytes));
    }
    Status status;
    if (!file.seek(offset)) {
        status = Status::failure(file.errorString());
    }
    if (status) {
        status = m_ops->write(file, bytes);
        // A write cut short leaves part of a record: the old one goes back, or the file its old length.
        if (!status && !old.isEmpty() && file.seek(offset)) {
            (void)m_ops->write(file, old);
        } else if (!status) {
            file.resize(size);
        }
    }
    if (status) {
        status = m_ops->flush(file);
    }
    if (!status) {
        return FileError::write(m_path, status.error);
    }
    return bytes;
}

Status RecordFile::remove(int n, const LoadedRecord& loaded) const {
    FolderLock lock(QFileInfo(m_path).absolutePath());
    if (const Status locked = lock.lock(m_path); !locked) {
        return locked;
    }
    return remove(lock, n, loaded);
}

Status RecordFile::remove(const FolderLock& lock, int n, const LoadedRecord& loaded) const {
    if (const Status writable = PlainFile::checkWritable(m_path); !writable) {
        return writable;
    }
    QFile file(m_path);
    bool missing = false;
    if (const Status opened = PlainFile::open(file, m_path, QIODevice::ReadOnly, &missing); !opened || missing) {
        return missing ? FileError::open(m_path, PlainFile::systemText(ENOENT)) : opened;
    }
    const QByteArray old = file.readAll();
    if (file.error() != QFile::NoError) {
        return FileError::read(m_path, file.errorString());
    }
    file.close();
    const int records = static_cast<int>(old.size() / m_length);
    const QByteArray seen = n >= 1 && n <= records ? old.mid(qint64(n - 1) * m_length, m_length) : QByteArray();
    if (!loaded.matches(seen)) {
        return conflict(true);
    }
    if (seen.isEmpty()) {
        return refuseNumber(n);
    }
    // The old content is safe in tmp.bst before the file itself is touched.
    if (const Status saved = writeAtomically(lock, scratchPath(), old, m_ops, m_path); !saved) {
        return saved;
    }
    QByteArray kept = old.left(qint64(records) * m_length);
    kept.remove(qint64(n - 1) * m_length, m_length);
    return writeAtomically(lock, m_path, kept, m_ops);
}

Status RecordFile::replaceWith(const QByteArray& content) const {
    FolderLock lock(QFileInfo(m_path).absolutePath());
    if (const Status locked = lock.lock(m_path); !locked) {
        return locked;
    }
    if (const Status writable = PlainFile::checkWritable(m_path); !writable) {
        return writable;
    }
    return writeAtomically(lock, m_path, content, m_ops);
}

Status RecordFile::create(const QByteArray& content) const {
    FolderLock lock(QFileInfo(m_path).absolutePath());
    if (const Status locked = lock.lock(m_path); !locked) {
        return locked;
    }
    if (QFileInfo::exists(m_path)) {
        return PlainFile::checkKind(m_path);
    }
    return writeAtomically(lock, m_path, content, m_ops);
}

Result<bool> fixFileNameCase(const QString& folder, const QString& exactName, FileOps* ops) {
    const QDir dir(folder);
    if (QFileInfo::exists(dir.filePath(exactName))) {
        // On a case-sensitive disk an "AUTONOOM.BST" beside it is another file; leave it alone.
        return true;
    }
    const QStringList entries = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& entry : entries) {
        if (entry.compare(exactName, Qt::CaseInsensitive) == 0) {
            const Status renamed = (ops ? ops : FileOps::real())->rename(dir.filePath(entry), dir.filePath(exactName));
            if (!renamed) {
                return Status::failure(
                    QStringLiteral("Kan %1 niet hernoemen naar %2: %3")
                        .arg(QDir::toNativeSeparators(dir.filePath(entry)), exactName, renamed.error));
            }
            return true;
        }
    }
    return false;
}
