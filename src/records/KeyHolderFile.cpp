#include "records/KeyHolderFile.h"

#include <QDir>

#include "records/ReaderFile.h"

KeyHolderFile::KeyHolderFile(const QString& folder, FileOps* ops)
    : m_folder(folder), m_ops(ops), m_file(QDir(folder).filePath(QLatin1String(kFileName)), KeyHolder::kSize, ops) {}

int KeyHolderFile::count(QString* error) const {
    return m_file.count(error);
}

bool KeyHolderFile::record_load(int n, QString* error) {
    QByteArray bytes;
    if (!m_file.read(n, &bytes, error)) {
        return false;
    }
    if (bytes.isEmpty()) {
        m_current = KeyHolder::blank();
    } else {
        m_current.setBytes(bytes);
    }
    return true;
}

bool KeyHolderFile::write(int n, QString* error) const {
    return m_file.write(n, m_current.bytes(), error);
}

bool KeyHolderFile::record_save(int n, const QString& naam, const QString& adres, const QString& woonplaats,
                                const QString& vrijetekst, QString* error) {
    if (!record_load(n, error)) {
        return false;
    }
    m_current.setNaam(naam);
    m_current.setAdres(adres);
    m_current.setWoonplaats(woonplaats);
    m_current.setVrijetekst(vrijetekst);
    return write(n, error);
}

bool KeyHolderFile::saveDetails(int n, const KeyHolderDetails& details, QString* error) {
    if (!record_load(n, error)) {
        return false;
    }
    m_current.setNaam(details.naam);
    m_current.setAdres(details.adres);
    m_current.setWoonplaats(details.woonplaats);
    m_current.setTelefoon(details.telefoon);
    m_current.setMobiel(details.mobiel);
    m_current.setSleutelcode(details.sleutelcode);
    m_current.setGeldig(details.geldig ? QStringLiteral("1") : QStringLiteral("0"));
    return write(n, error);
}

int KeyHolderFile::newRecord(QString* error) {
    const int records = count(error);
    if (records < 0) {
        return -1;
    }
    m_current.setGeldig(QStringLiteral("1"));
    m_current.setNaam(QString());
    m_current.setSleutelcode(QString());
    return write(records + 1, error) ? records + 1 : -1;
}

int KeyHolderFile::findByKeyCode(const QString& code, QString* error) {
    QByteArrayList records;
    if (!m_file.readAll(&records, error)) {
        return -1;
    }
    const QString wanted = code.trimmed();
    for (int i = 0; i < records.size(); ++i) {
        m_current.setBytes(records[i]);
        if (m_current.sleutelcode().trimmed() == wanted) {
            return i + 1;
        }
    }
    return 0;
}

bool KeyHolderFile::record_update(int reader, int record, int mode, int selector, const QDate& today, QString* error) {
    QByteArray probe(KeyHolder::kMapBytes, '\0');
    int probeMode = 0;
    if (!BitFind(probe, reader, probeMode, error)) {
        return false;
    }
    const ReaderFile readers(m_folder, m_ops);
    const int readerCount = readers.count(error);
    if (readerCount < 0) {
        return false;
    }
    if (reader + 1 > readerCount) {
        if (error) {
            *error = QStringLiteral("Lezer %1 bestaat niet.").arg(reader + 1);
        }
        return false;
    }
    const int holders = count(error);
    if (holders < 0) {
        return false;
    }
    if (record < 1 || record > holders) {
        if (error) {
            *error = QStringLiteral("Sleutelhouder %1 bestaat niet.").arg(record);
        }
        return false;
    }
    if (!record_load(record, error)) {
        return false;
    }
    QByteArray map = selector == 1 ? m_current.wijziging() : m_current.toegang();
    BitFind(map, reader, mode);
    if (selector == 0) {
        m_current.setToegang(map);
    } else {
        m_current.setWijziging(map);
    }
    // The reader is marked first: should the second write fail, a reader marked without a change costs one
    // needless programming run, while a change without the mark would never reach the reader.
    if (!readers.markChanged(reader + 1, today, error)) {
        return false;
    }
    return write(record, error);
}

bool KeyHolderFile::remove(int n, QString* error) const {
    return m_file.remove(n, error);
}

bool KeyHolderFile::create(QString* error) const {
    return m_file.replaceWith(KeyHolder().bytes(), error);
}
