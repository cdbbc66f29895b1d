#pragma once

#include <QDate>

#include "records/Reader.h"
#include "records/RecordFile.h"

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

// autonoom.bst in one data folder.
class ReaderFile {
public:
    static constexpr const char* kFileName = "autonoom.bst";

    explicit ReaderFile(const QString& folder, FileOps* ops = nullptr);

    QString path() const { return m_file.path(); }
    // -1 on error.
    int count(QString* error) const;
    // Past the end gives the blank Reader.
    bool read(int n, Reader* reader, QString* error) const;
    // n = count + 1 appends.
    bool write(int n, const Reader& reader, QString* error) const;

    // Saves one grid row into its record: reads the record, replaces name, key count, code, relay
    // time, date (today), changed flag and mode byte, and writes it back; every other byte stays.
    // A record number of 0 or one that is not a number writes nothing and is no error. A key count
    // or relay time that does not fit 16 bits (or a key count that is not a number) is refused with
    // a message and nothing is written. Numbers are rounded half away from zero.
    bool record_save(const ReaderRow& row, const QDate& today, QString* error) const;

    // Sets the changed flag of reader n to "X" and its date to today. Reader n must exist.
    bool markChanged(int n, const QDate& today, QString* error) const;

    // Deletes reader n (1..count); later readers move down one number. tmp.bst keeps the old file.
    bool remove(int n, QString* error) const;

    // Makes the file hold exactly one record, Reader::defaultRecord(today): 128 bytes.
    bool createDefault(const QDate& today, QString* error) const;

private:
    RecordFile m_file;
};
