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
