#include "screens/ReaderRow.h"

#include <cmath>
#include <limits>

namespace {

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

void ReaderRowChange::applyTo(Reader& reader) const {
    reader.setLezerNaam(name);
    reader.setAantalsleutels(keyCount);
    reader.setLezerkode(code);
    reader.setRelayTime(relayTime);
    reader.setDatum(date);
    reader.setChangedFlag(flag);
    reader.setMode(mode);
}

Result<ReaderRowChange> readerRowChange(const ReaderRow& row, const QDate& today) {
    ReaderRowChange change;
    const double number = leadingNumber(row.number);
    if (!(number >= 0.5)) {
        return change;
    }
    // A number beyond any file is left to the update, which refuses it with a message.
    change.number =
        number >= double(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max() : int(std::lround(number));
    const QString keyCountText = row.keyCount.trimmed().isEmpty() ? QStringLiteral("0") : row.keyCount.trimmed();
    bool numeric = false;
    const double keyCountValue = keyCountText.toDouble(&numeric);
    if (!numeric || !toInt16(keyCountValue, &change.keyCount)) {
        return Status::failure(QStringLiteral("Het aantal sleutels \"%1\" is geen getal van -32768 tot en met 32767; "
                                              "de lezer is niet opgeslagen.")
                                   .arg(row.keyCount));
    }
    if (!toInt16(leadingNumber(row.relayTime), &change.relayTime)) {
        return Status::failure(
            QStringLiteral("De relaistijd %1 is te groot (hoogstens 32767); de lezer is niet opgeslagen.")
                .arg(row.relayTime.trimmed()));
    }
    change.name = row.name;
    change.code = row.code;
    change.date = today;
    change.flag = row.flag == QLatin1String("X") ? row.flag : QString();
    change.mode = modeByte(row.led, row.relay);
    return change;
}

Result<std::optional<Reader>> saveReaderRow(const ReaderFile& file, const ReaderRow& row, const QDate& today,
                                            const LoadedRecord& loaded) {
    const Result<ReaderRowChange> change = readerRowChange(row, today);
    if (!change) {
        return Status(change);
    }
    if (change.value.number == 0) {
        return std::optional<Reader>();
    }
    const Result<Reader> saved = file.update(
        change.value.number, [&change](Reader& reader) { change.value.applyTo(reader); }, loaded);
    if (!saved) {
        return Status(saved);
    }
    return std::optional<Reader>(saved.value);
}

quint8 modeByte(const QString& led, const QString& relay) {
    quint8 mode = Reader::kModeAlways;
    if (relay == QLatin1String("Houd")) {
        mode += Reader::kModeHold;
    }
    if (led.left(6) == QLatin1String("Extern")) {
        mode += Reader::kModeExternal;
    }
    if (led.right(6) != QLatin1String("Invers")) {
        mode += Reader::kModeNotInverted;
    }
    return mode;
}
