#include "records/LocationFile.h"

#include <QDir>

#include "records/FolderName.h"

LocationFile::LocationFile(const QString& bestandenFolder, FileOps* ops)
    : m_folder(bestandenFolder),
      m_ops(ops),
      m_file(QDir(bestandenFolder).filePath(QLatin1String(kFileName)), Location::kSize, ops) {}

bool LocationFile::ensureFile(QString* error) {
    bool exists = false;
    if (!fixFileNameCase(m_folder, QLatin1String(kFileName), &exists, error, m_ops)) {
        return false;
    }
    return exists || m_file.replaceWith(Location().bytes(), error);
}

bool LocationFile::readAll(QList<Location>* records, QString* error) {
    records->clear();
    QByteArrayList raw;
    if (!m_file.readAll(&raw, error)) {
        return false;
    }
    for (const QByteArray& bytes : raw) {
        m_buffer.setBytes(bytes);
        records->append(m_buffer);
    }
    return true;
}

bool LocationFile::saveRow(int n, const QStringList& columns1to9, QString* error) {
    Location updated = m_buffer;
    updated.setGridTexts(columns1to9);
    // Checked as it will be stored, cut to its field in the file's code page: "Zuidkantoor.x" becomes
    // "Zuidkantoor.", a name no folder can have.
    if (!checkFolderName(updated.text(Location::Map).trimmed(), error)) {
        return false;
    }
    m_buffer = updated;
    return m_file.write(n, m_buffer.bytes(), error);
}

bool LocationFile::remove(int n, QString* error) const {
    return m_file.remove(n, error);
}
