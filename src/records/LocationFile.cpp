#include "LocationFile.h"

#include <QDir>

#include "FolderName.h"

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
    if (!checkFolderName(columns1to9.value(Location::gridColumn(Location::Map) - 1), error)) {
        return false;
    }
    m_buffer.setGridTexts(columns1to9);
    return m_file.write(n, m_buffer.bytes(), error);
}

bool LocationFile::remove(int n, QString* error) const {
    return m_file.remove(n, error);
}
