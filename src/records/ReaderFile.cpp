#include "records/ReaderFile.h"

#include <QDir>

namespace {

Reader fromBytes(const QByteArray& bytes) {
    Reader reader;
    if (!bytes.isEmpty()) {
        reader.setBytes(bytes);
    }
    return reader;
}

Result<Reader> asReader(const Result<QByteArray>& bytes) {
    if (!bytes) {
        return Status(bytes);
    }
    return fromBytes(bytes.value);
}

}  // namespace

ReaderFile::ReaderFile(const QString& folder, FileOps* ops)
    : m_file(QDir(folder).filePath(QLatin1String(kFileName)), Reader::kSize, ops) {}

Result<int> ReaderFile::count() const {
    return m_file.count();
}

Result<Reader> ReaderFile::read(int n) const {
    return asReader(m_file.read(n));
}

Result<QList<Reader>> ReaderFile::readAll() const {
    const Result<QByteArrayList> records = m_file.readAll();
    if (!records) {
        return records;
    }
    QList<Reader> readers;
    readers.reserve(records.value.size());
    for (const QByteArray& bytes : records.value) {
        readers.append(fromBytes(bytes));
    }
    return readers;
}

Status ReaderFile::write(int n, const Reader& reader) const {
    return m_file.write(n, reader.bytes());
}

Result<Reader> ReaderFile::update(int n, const std::function<void(Reader&)>& change, const LoadedRecord& loaded) const {
    return changeReader(n, change, loaded, false);
}

Result<Reader> ReaderFile::changeReader(int n, const std::function<void(Reader&)>& change, const LoadedRecord& loaded,
                                        bool mustExist) const {
    const Status missing =
        Status::failure(QStringLiteral("Lezer %1 bestaat niet in %2.").arg(n).arg(QLatin1String(kFileName)));
    if (mustExist && n < 1) {
        return missing;
    }
    return asReader(m_file.update(
        n,
        [&](QByteArray& bytes) {
            if (mustExist && bytes.isEmpty()) {
                return missing;
            }
            Reader reader = fromBytes(bytes);
            change(reader);
            bytes = reader.bytes();
            return Status();
        },
        loaded));
}

Result<Reader> ReaderFile::markChanged(int n, const QDate& today, const LoadedRecord& loaded) const {
    return changeReader(
        n,
        [&today](Reader& reader) {
            reader.setChangedFlag(QStringLiteral("X"));
            reader.setDatum(today);
        },
        loaded, true);
}

Result<Reader> ReaderFile::clearChanged(int n, const LoadedRecord& loaded) const {
    return changeReader(
        n, [](Reader& reader) { reader.setChangedFlag(QString()); }, loaded, true);
}

Status ReaderFile::remove(int n, const LoadedRecord& loaded) const {
    return m_file.remove(n, loaded);
}

Status ReaderFile::createDefault(const QDate& today) const {
    return m_file.create(Reader::defaultRecord(today).bytes());
}
