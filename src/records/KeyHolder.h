#pragma once

#include "records/FixedRecord.h"
#include "records/Result.h"

// One 512-byte record of asleutel.bst: a key holder's particulars, key code and two reader maps.
// Text getters return the field as stored, padding included.
class KeyHolder : public FixedRecord {
public:
    static constexpr int kSize = 512;
    static constexpr int kMapBytes = 16;
    static constexpr int kMaxReaders = kMapBytes * 8;

    // All zero bytes: the record buffer before any read, and the record a new file starts with.
    KeyHolder();
    // What reading past the end gives: every text field blanks and both reader maps zero (a blank
    // map would grant reader 5 of every byte).
    static KeyHolder blank();

    QString geldig() const { return text(0, 1); }
    void setGeldig(const QString& g) { setText(0, 1, g); }
    QString naam() const { return text(14, 30); }
    void setNaam(const QString& v) { setText(14, 30, v); }
    QString adres() const { return text(44, 30); }
    void setAdres(const QString& v) { setText(44, 30, v); }
    QString woonplaats() const { return text(81, 21); }
    void setWoonplaats(const QString& v) { setText(81, 21, v); }
    QString telefoon() const { return text(102, 15); }
    void setTelefoon(const QString& v) { setText(102, 15, v); }
    QString mobiel() const { return text(132, 15); }
    void setMobiel(const QString& v) { setText(132, 15, v); }
    QString sleutelcode() const { return text(157, 10); }
    // The code as a key: blanks and zero bytes around it left out; "0000000000", which old records hold
    // for a holder without a key, is no code either.
    QString keyCode() const { return plainKeyCode(sleutelcode()); }
    static QString plainKeyCode(QString code);
    void setSleutelcode(const QString& v) { setText(157, 10, v); }
    QString vrijetekst() const { return text(175, 58); }
    void setVrijetekst(const QString& v) { setText(175, 58, v); }

    // Reader map 0 and 1, 16 raw bytes each.
    QByteArray toegang() const { return m_bytes.mid(kToegangOffset, kMapBytes); }
    QByteArray wijziging() const { return m_bytes.mid(kWijzigingOffset, kMapBytes); }
    // A map of another length is cut or padded with zero bytes.
    void setToegang(const QByteArray& map) { setMap(kToegangOffset, map); }
    void setWijziging(const QByteArray& map) { setMap(kWijzigingOffset, map); }

private:
    static constexpr int kToegangOffset = 291;
    static constexpr int kWijzigingOffset = 307;
    void setMap(int offset, const QByteArray& map);
};

// The one operation on a reader map. Reader number n (from 0) is bit n mod 8 of byte n div 8.
// mode 1 sets the bit, 2 clears it (mode left as it is); any other mode tests it and becomes 3 when
// the bit is set, 0 when it is clear. A reader number outside 0..127 or a map that is not 16 bytes is
// refused with a message, map and mode untouched.
Status BitFind(QByteArray& map, int n, int& mode);

// map with reader n (from 0) taken out: the bits of the readers behind it move down one place, and the
// last reader's bit ends clear. What a map must become when reader record n + 1 is deleted, for every
// other reader to keep its own access. n outside 0..127 or a map that is not 16 bytes gives map as it is.
QByteArray withoutReader(const QByteArray& map, int n);
