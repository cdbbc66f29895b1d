#pragma once

#include <QDate>
#include <QString>
#include <optional>

#include "records/ReaderFile.h"

// The texts of one reader-grid row, columns 0..7, as the grid holds them.
struct ReaderRow {
    QString flag;       // 0: "X" or blank
    QString number;     // 1: record number
    QString name;       // 2
    QString keyCount;   // 3: empty counts as "0"
    QString code;       // 4
    QString led;        // 5: "Intern", "Extern", "Extern Invers"
    QString relay;      // 6: "Tijd" or "Houd"
    QString relayTime;  // 7
};

// What saving a row does to its record: name, key count, code, relay time, date, changed flag and mode
// byte replaced; every other byte of the record stays.
struct ReaderRowChange {
    int number = 0;  // the record; 0 when the row has no number and nothing is saved
    QString name;
    qint16 keyCount = 0;
    QString code;
    qint16 relayTime = 0;
    QDate date;
    QString flag;  // "X" or blank
    quint8 mode = 0;

    void applyTo(Reader& reader) const;
};

// Reads a row as the grid's numeric cells are read: the number a text starts with (blanks before it
// skipped, whatever follows ignored, no number at all is 0), rounded half away from zero. A key count
// or relay time that does not fit 16 bits (or a key count that is not a number) is refused with a
// message. Anything but "X" in the flag column is saved blank; the date is today.
Result<ReaderRowChange> readerRowChange(const ReaderRow& row, const QDate& today);

// record_save's file half: the row's change applied to its record in one update; the value is the
// record as it now is on disk. A row without a number writes nothing and is no error (no value); a
// refused row writes nothing either, and neither does one whose record on disk is not what loaded says.
Result<std::optional<Reader>> saveReaderRow(const ReaderFile& file, const ReaderRow& row, const QDate& today,
                                            const LoadedRecord& loaded = {});

// The mode byte the reader list stores for an LED text and a relay text: 2, plus 4 for "Houd", plus 8
// when the LED text starts with "Extern", plus 16 when it does not end with "Invers".
quint8 modeByte(const QString& led, const QString& relay);
