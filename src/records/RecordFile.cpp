#include "records/RecordFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "records/FileOps.h"

namespace {

void setError(QString* error, const QString& text) {
    if (error) {
        *error = text;
    }
}

QString openFailed(const QFile& file) {
    return QStringLiteral("Kan %1 niet openen: %2").arg(QDir::toNativeSeparators(file.fileName()), file.errorString());
}

QString readFailed(const QFile& file) {
    return QStringLiteral("Kan %1 niet lezen: %2").arg(QDir::toNativeSeparators(file.fileName()), file.errorString());
}

// A missing file reads as one without records; a file that is there but cannot be opened is an error.
bool openForReading(QFile& file, bool* missing, QString* error) {
    *missing = !file.exists();
    if (*missing || file.open(QIODevice::ReadOnly)) {
        return true;
    }
    setError(error, openFailed(file));
    return false;
}

QString badNumber(int n, const QString& path) {
    return QStringLiteral("Recordnummer %1 bestaat niet in %2.").arg(n).arg(QFileInfo(path).fileName());
}

}  // namespace

RecordFile::RecordFile(const QString& path, int recordLength, FileOps* ops)
    : m_path(path), m_length(recordLength), m_ops(ops ? ops : FileOps::real()) {}

QString RecordFile::scratchPath() const {
    return QFileInfo(m_path).dir().filePath(QStringLiteral("tmp.bst"));
}

int RecordFile::count(QString* error) const {
    QFile file(m_path);
    if (!file.exists()) {
        return 0;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        setError(error, openFailed(file));
        return -1;
    }
    return static_cast<int>(file.size() / m_length);
}

bool RecordFile::read(int n, QByteArray* record, QString* error) const {
    record->clear();
    if (n < 1) {
        setError(error, badNumber(n, m_path));
        return false;
    }
    QFile file(m_path);
    bool missing = false;
    if (!openForReading(file, &missing, error)) {
        return false;
    }
    if (missing || file.size() / m_length < n) {
        return true;
    }
    QByteArray bytes;
    if (file.seek(qint64(n - 1) * m_length)) {
        bytes = file.read(m_length);
    }
    if (bytes.size() != m_length) {
        setError(error, readFailed(file));
        return false;
    }
    *record = bytes;
    return true;
}

bool RecordFile::readAll(QByteArrayList* records, QString* error) const {
    records->clear();
    QFile file(m_path);
    bool missing = false;
    if (!openForReading(file, &missing, error)) {
        return false;
    }
    if (missing) {
        return true;
    }
    const qint64 whole = file.size() / m_length * m_length;
    const QByteArray bytes = file.read(whole);
    if (bytes.size() != whole) {
        setError(error, readFailed(file));
        return false;
    }
    for (qint64 offset = 0; offset < whole; offset += m_length) {
        records->append(bytes.mid(offset, m_length));
    }
    return true;
}

bool RecordFile::write(int n, const QByteArray& record, QString* error) const {
    if (record.size() != m_length) {
        setError(error, QStringLiteral("Record van %1 bytes past niet in %2.").arg(record.size()).arg(m_path));
        return false;
    }
    if (n < 1) {
        setError(error, badNumber(n, m_path));
        return false;
    }
    QFile file(m_path);
    const bool existed = file.exists();
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        setError(error, openFailed(file));
        return false;
    }
    const qint64 records = file.size() / m_length;
    if (n > records + 1) {
        if (!existed) {
            file.remove();
        }
        setError(error, badNumber(n, m_path));
        return false;
    }
    QString reason;
    if (!file.seek(qint64(n - 1) * m_length)) {
        reason = file.errorString();
    } else if (m_ops->write(file, record, &reason) && m_ops->flush(file, &reason)) {
        return true;
    }
    setError(error, QStringLiteral("Kan %1 niet schrijven: %2").arg(QDir::toNativeSeparators(m_path), reason));
    return false;
}

bool RecordFile::writeBeside(const QString& target, const QByteArray& content, QString* error) const {
    const QString newPath = target + QStringLiteral(".new");
    QFile file(newPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        setError(error, openFailed(file));
        return false;
    }
    QString reason;
    bool ok = m_ops->write(file, content, &reason) && m_ops->flush(file, &reason);
    file.close();
    ok = ok && m_ops->rename(newPath, target, &reason);
    if (!ok) {
        QFile::remove(newPath);
        setError(error, QStringLiteral("Kan %1 niet schrijven: %2").arg(QDir::toNativeSeparators(target), reason));
    }
    return ok;
}

bool RecordFile::remove(int n, QString* error) const {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        setError(error, openFailed(file));
        return false;
    }
    const QByteArray old = file.readAll();
    if (file.error() != QFile::NoError) {
        setError(error, readFailed(file));
        return false;
    }
    file.close();
    const int records = static_cast<int>(old.size() / m_length);
    if (n < 1 || n > records) {
        setError(error, badNumber(n, m_path));
        return false;
    }
    // The old content is safe in tmp.bst before the file itself is touched.
    if (!writeBeside(scratchPath(), old, error)) {
        return false;
    }
    QByteArray kept = old.left(qint64(records) * m_length);
    kept.remove(qint64(n - 1) * m_length, m_length);
    return writeBeside(m_path, kept, error);
}

bool RecordFile::replaceWith(const QByteArray& content, QString* error) const {
    return writeBeside(m_path, content, error);
}

bool fixFileNameCase(const QString& folder, const QString& exactName, bool* exists, QString* error, FileOps* ops) {
    const QDir dir(folder);
    *exists = QFileInfo::exists(dir.filePath(exactName));
    if (*exists) {
        // On a case-sensitive disk an "AUTONOOM.BST" beside it is another file; leave it alone.
        return true;
    }
    const QStringList entries = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& entry : entries) {
        if (entry.compare(exactName, Qt::CaseInsensitive) == 0) {
            QString reason;
            if (!(ops ? ops : FileOps::real())->rename(dir.filePath(entry), dir.filePath(exactName), &reason)) {
                setError(error, QStringLiteral("Kan %1 niet hernoemen naar %2: %3")
                                    .arg(QDir::toNativeSeparators(dir.filePath(entry)), exactName, reason));
                return false;
            }
            *exists = true;
            return true;
        }
    }
    return true;
}
