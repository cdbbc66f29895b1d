#pragma once

#include <QDate>

#include "records/FixedRecord.h"

// One 128-byte record of autonoom.bst. Its record number (from 1) is the reader's identity and its
// bit in every access map. Text getters return the field as stored, padding included.
class Reader : public FixedRecord {
public:
    static constexpr int kSize = 128;

    // Mode byte bits as the reader list writes them; 2 is always set and 16 has the inverted sense, on
    // purpose: files written so far carry these values.
    static constexpr quint8 kModeAlways = 2;
    static constexpr quint8 kModeHold = 4;
    static constexpr quint8 kModeExternal = 8;
    static constexpr quint8 kModeNotInverted = 16;  // set when the LED is *not* inverted

    // The blank record (what reading past the end gives): every text field blanks, every number
    // field (mode, relay time, the reserved numbers, key count) zero.
    Reader();

    QString lezerkode() const { return text(0, 6); }
    void setLezerkode(const QString& code) { setText(0, 6, code); }
    quint8 mode() const { return static_cast<quint8>(m_bytes[10]); }
    void setMode(quint8 mode) { m_bytes[10] = static_cast<char>(mode); }
    qint16 relayTime() const { return int16(12); }
    void setRelayTime(qint16 t) { setInt16(12, t); }
    QString datum() const { return text(14, 8); }
    void setDatum(const QString& date) { setText(14, 8, date); }
    void setDatum(const QDate& date);
    QString lezerNaam() const { return text(34, 20); }
    void setLezerNaam(const QString& name) { setText(34, 20, name); }
    qint16 aantalsleutels() const { return int16(58); }
    void setAantalsleutels(qint16 n) { setInt16(58, n); }
    // "X" when the reader needs a new programming key; anything else counts as blank.
    QString changedFlag() const { return text(60, 1); }
    void setChangedFlag(const QString& flag) { setText(60, 1, flag); }
    bool isChanged() const { return m_bytes[60] == 'X'; }

    // The record a new autonoom.bst starts with: code "000000", name "nieuwe lezer", flag blank,
    // mode 0, date today.
    static Reader defaultRecord(const QDate& today);
};

// "Intern", "Extern" or "Extern Invers" for a mode byte.
QString ledText(quint8 mode);
// "Houd" or "Tijd" for a mode byte.
QString relayText(quint8 mode);

// "dd-mm-yy", the date format of every date field.
QString datumText(const QDate& date);
