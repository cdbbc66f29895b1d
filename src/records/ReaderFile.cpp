#include "records/ReaderFile.h"

#include <QDir>
#include <cmath>
#include <limits>

namespace {

// The number a text starts with, as the grid's numeric columns are read: leading blanks skipped,
// an optional sign, digits and a fraction; whatever follows is ignored and no number at all is 0.
double leadingNumber(const QString& text) {
    const QString t = text.trimmed();
    int end = 0;
    if (end < t.size() && (t[end] == u'-' || t[end] == u'+')) {
        ++end;
    }
    while (end < t.size() && t[end].isDigit()) {
        ++end;
    }
    if (end < t.size() && t[end] == u'.') {
        ++end;
        while (end < t.size() && t[end].isDigit()) {
            ++end;
        }
    }
    bool ok = false;
    const double value = t.left(end).toDouble(&ok);
    return ok ? value : 0.0;
}

bool toInt16(double value, qint16* out) {
    const double rounded = std::round(value);
    if (!std::isfinite(rounded) || rounded < std::numeric_limits<qint16>::min() ||
        rounded > std::numeric_limits<qint16>::max()) {
        return false;
    }
    *out = static_cast<qint16>(rounded);
    return true;
}

}  // namespace

ReaderFile::ReaderFile(const QString& folder, FileOps* ops)
    : m_file(QDir(folder).filePath(QLatin1String(kFileName)), Reader::kSize, ops) {}

int ReaderFile::count(QString* error) const {
    return m_file.count(error);
}

bool ReaderFile::read(int n, Reader* reader, QString* error) const {
    QByteArray bytes;
    if (!m_file.read(n, &bytes, error)) {
        return false;
    }
    *reader = Reader();
    if (!bytes.isEmpty()) {
        reader->setBytes(bytes);
    }
    return true;
}

bool ReaderFile::write(int n, const Reader& reader, QString* error) const {
    return m_file.write(n, reader.bytes(), error);
}

bool ReaderFile::record_save(const ReaderRow& row, const QDate& today, QString* error) const {
    const double number = leadingNumber(row.number);
    if (!(number >= 0.5)) {
        return true;
    }
    // A number beyond any file is left to the write, which refuses it with a message.
    const int n =
        number >= double(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max() : int(std::lround(number));
    const QString keyCountText = row.keyCount.trimmed().isEmpty() ? QStringLiteral("0") : row.keyCount.trimmed();
    bool numeric = false;
    qint16 keyCount = 0;
    const double keyCountValue = keyCountText.toDouble(&numeric);
    if (!numeric || !toInt16(keyCountValue, &keyCount)) {
        if (error) {
            *error = QStringLiteral(
                         "Het aantal sleutels \"%1\" is geen getal van -32768 tot en met 32767; "
                         "de lezer is niet opgeslagen.")
                         .arg(row.keyCount);
        }
        return false;
    }
    qint16 relayTime = 0;
    if (!toInt16(leadingNumber(row.relayTime), &relayTime)) {
        if (error) {
            *error = QStringLiteral("De relaistijd %1 is te groot (hoogstens 32767); de lezer is niet opgeslagen.")
                         .arg(row.relayTime.trimmed());
        }
        return false;
    }
    Reader reader;
    if (!read(n, &reader, error)) {
        return false;
    }
    reader.setLezerNaam(row.name);
    reader.setAantalsleutels(keyCount);
    reader.setLezerkode(row.code);
    reader.setRelayTime(relayTime);
    reader.setDatum(today);
    // Anything but "X" goes back blank.
    reader.setChangedFlag(row.flag == QLatin1String("X") ? row.flag : QString());
    reader.setMode(modeByte(row.led, row.relay));
    return write(n, reader, error);
}

bool ReaderFile::markChanged(int n, const QDate& today, QString* error) const {
    const int readers = count(error);
    if (readers < 0) {
        return false;
    }
    if (n < 1 || n > readers) {
        if (error) {
            *error = QStringLiteral("Lezer %1 bestaat niet in %2.").arg(n).arg(QLatin1String(kFileName));
        }
        return false;
    }
    Reader reader;
    if (!read(n, &reader, error)) {
        return false;
    }
    reader.setChangedFlag(QStringLiteral("X"));
    reader.setDatum(today);
    return write(n, reader, error);
}

bool ReaderFile::remove(int n, QString* error) const {
    return m_file.remove(n, error);
}

bool ReaderFile::createDefault(const QDate& today, QString* error) const {
    return m_file.replaceWith(Reader::defaultRecord(today).bytes(), error);
}
