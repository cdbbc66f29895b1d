#include "records/KeyHolderFile.h"

#include <QDir>

#include "records/PlainFile.h"
#include "records/ReaderFile.h"

namespace {

KeyHolder fromBytes(const QByteArray& bytes) {
    KeyHolder holder = KeyHolder::blank();
    if (!bytes.isEmpty()) {
        holder.setBytes(bytes);
    }
    return holder;
}

}  // namespace

KeyHolderFile::KeyHolderFile(const QString& folder, FileOps* ops)
    : m_folder(folder), m_ops(ops), m_file(QDir(folder).filePath(QLatin1String(kFileName)), KeyHolder::kSize, ops) {}

Result<int> KeyHolderFile::count() const {
    return m_file.count();
}

Status KeyHolderFile::record_load(int n) {
    const Result<QByteArray> bytes = m_file.read(n);
    if (bytes) {
        m_current = fromBytes(bytes.value);
    }
    return bytes;
}

Result<QList<KeyHolder>> KeyHolderFile::readAll() {
    const Result<QByteArrayList> records = m_file.readAll();
    if (!records) {
        return records;
    }
    QList<KeyHolder> holders;
    holders.reserve(records.value.size());
    for (const QByteArray& bytes : records.value) {
        holders.append(fromBytes(bytes));
    }
    if (!holders.isEmpty()) {
        m_current = holders.constLast();
    }
    return holders;
}

Status KeyHolderFile::write(int n) const {
    return m_file.write(n, m_current.bytes());
}

Result<KeyHolder> KeyHolderFile::update(int n, const std::function<void(KeyHolder&)>& change,
                                        const LoadedRecord& loaded) {
    const Result<QByteArray> written = m_file.update(
        n,
        [&](QByteArray& bytes) {
            KeyHolder holder = fromBytes(bytes);
            change(holder);
            bytes = holder.bytes();
            return Status();
        },
        loaded);
    if (!written) {
        return written;
    }
    m_current = fromBytes(written.value);
    return m_current;
}

Result<int> KeyHolderFile::newRecord() {
    const Result<int> records = count();
    if (!records) {
        return records;
    }
    m_current.setGeldig(QStringLiteral("1"));
    m_current.setNaam(QString());
    m_current.setSleutelcode(QString());
    // Another program may have added a record since the count: then this one is not written over it.
    const Result<QByteArray> written = m_file.update(
        records.value + 1,
        [this](QByteArray& record) {
            record = m_current.bytes();
            return Status();
        },
        LoadedRecord::none());
    if (!written) {
        return written;
    }
    return records.value + 1;
}

Result<int> KeyHolderFile::findByKeyCode(const QString& code) {
    const Result<QByteArrayList> records = m_file.readAll();
    if (!records) {
        return records;
    }
    const QString wanted = KeyHolder::plainKeyCode(code);
    for (int i = 0; i < records.value.size(); ++i) {
        m_current.setBytes(records.value.at(i));
        if (!wanted.isEmpty() && m_current.keyCode() == wanted) {
            return i + 1;
        }
    }
    return 0;
}

Result<KeyHolder> KeyHolderFile::record_update(int reader, int record, int mode, int selector, const QDate& today,
                                               const LoadedRecord& loaded) {
    QByteArray probe(KeyHolder::kMapBytes, '\0');
    int probeMode = 0;
    if (const Status fits = BitFind(probe, reader, probeMode); !fits) {
        return fits;
    }
    const ReaderFile readers(m_folder, m_ops);
    const Result<int> readerCount = readers.count();
    if (!readerCount) {
        return readerCount;
    }
    if (reader + 1 > readerCount.value) {
        return Status::failure(QStringLiteral("Lezer %1 bestaat niet.").arg(reader + 1));
    }
    const Status noHolder = Status::failure(QStringLiteral("Sleutelhouder %1 bestaat niet.").arg(record));
    if (record < 1) {
        return noHolder;
    }
    const Result<QByteArray> holder = m_file.read(record);
    if (!holder) {
        return holder;
    }
    // Looked at before the reader is marked, so that a change refused for a changed holder, or for a file
    // that cannot be written, marks none; the update looks again, under the lock.
    if (const Status writable = PlainFile::checkWritable(m_file.path()); !writable) {
        return writable;
    }
    if (!loaded.matches(holder.value)) {
        return m_file.conflict(false);
    }
    if (holder.value.isEmpty()) {
        return noHolder;
    }
    // The reader is marked first: should the holder's write fail, a reader marked without a change costs
    // one needless programming run, while a change without the mark would never reach the reader.
    if (const Status marked = readers.markChanged(reader + 1, today); !marked) {
        return marked;
    }
    return update(
        record,
        [&](KeyHolder& k) {
            QByteArray map = selector == 1 ? k.wijziging() : k.toegang();
            // The number passed the check above; BitFind cannot refuse it here.
            (void)BitFind(map, reader, mode);
            if (selector == 0) {
                k.setToegang(map);
            } else {
                k.setWijziging(map);
            }
        },
        loaded);
}

Status KeyHolderFile::remove(int n, const LoadedRecord& loaded) const {
    return m_file.remove(n, loaded);
}

Status KeyHolderFile::create() const {
    return m_file.create(KeyHolder().bytes());
}
