#include "records/Reader.h"

Reader::Reader() : FixedRecord(kSize, ' ') {
    m_bytes[10] = 0;
    for (int offset : {12, 26, 28, 30, 32, 58}) {
        setInt16(offset, 0);
    }
}

void Reader::setDatum(const QDate& date) {
    setDatum(datumText(date));
}

Reader Reader::defaultRecord(const QDate& today) {
    Reader r;
    r.setLezerkode(QStringLiteral("000000"));
    r.setLezerNaam(QStringLiteral("nieuwe lezer"));
    r.setChangedFlag(QString());
    r.setMode(0);
    r.setDatum(today);
    return r;
}

QString datumText(const QDate& date) {
    return date.toString(QStringLiteral("dd-MM-yy"));
}

QString ledText(quint8 mode) {
    if (!(mode & Reader::kModeExternal)) {
        return QStringLiteral("Intern");
    }
    return (mode & Reader::kModeNotInverted) ? QStringLiteral("Extern") : QStringLiteral("Extern Invers");
}

QString relayText(quint8 mode) {
    return (mode & Reader::kModeHold) ? QStringLiteral("Houd") : QStringLiteral("Tijd");
}

quint8 modeByte(const QString& led, const QString& relay) {
    // Bit 2 always set and bit 16 inverted, on purpose: files written so far carry these values.
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
