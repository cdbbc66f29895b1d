#include "records/LocationFile.h"

#include <QDir>

#include "records/FolderName.h"

LocationFile::LocationFile(const QString& bestandenFolder, FileOps* ops)
    : m_folder(bestandenFolder),
      m_ops(ops),
      m_file(QDir(bestandenFolder).filePath(QLatin1String(kFileName)), Location::kSize, ops) {}

Status LocationFile::ensureFile() {
    const Result<bool> exists = fixFileNameCase(m_folder, QLatin1String(kFileName), m_ops);
    if (!exists || exists.value) {
        return exists;
    }
    return m_file.create(Location().bytes());
}

Result<QList<Location>> LocationFile::readAll() {
    const Result<QByteArrayList> raw = m_file.readAll();
    if (!raw) {
        return raw;
    }
    QList<Location> records;
    records.reserve(raw.value.size());
    for (const QByteArray& bytes : raw.value) {
        m_buffer.setBytes(bytes);
        records.append(m_buffer);
    }
    return records;
}

Result<Location> LocationFile::saveRecord(int n, const Location::Texts& texts, const LoadedRecord& loaded) {
    Location updated = m_buffer;
    updated.setTexts(texts);
    // Checked as it will be stored, cut to its field in the file's code page: "Zuidkantoor.x" becomes
    // "Zuidkantoor.", a name no folder can have.
    if (const Status allowed = checkFolderName(updated.text(Location::Map).trimmed()); !allowed) {
        return allowed;
    }
    // The record on disk gives way whole: the buffer, not the disk, carries the reserved bytes.
    const Result<QByteArray> written = m_file.update(
        n,
        [&updated](QByteArray& record) {
            record = updated.bytes();
            return Status();
        },
        loaded);
    if (!written) {
        return written;
    }
    m_buffer = updated;
    return m_buffer;
}

Status LocationFile::remove(int n, const LoadedRecord& loaded) const {
    return m_file.remove(n, loaded);
}
