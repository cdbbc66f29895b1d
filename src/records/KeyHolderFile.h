#pragma once

#include <QDate>

#include "records/KeyHolder.h"
#include "records/RecordFile.h"

// The text boxes of the key-holder details window.
struct KeyHolderDetails {
    QString naam;
    QString adres;
    QString woonplaats;
    QString telefoon;
    QString mobiel;
    QString sleutelcode;
    bool geldig = false;
};

// asleutel.bst in one data folder, with the current record that the key-holder windows share. Every
// read overwrites current(); a new record copies its fields from it, on purpose, so "Nieuw" after
// looking at a key holder starts from that holder's address and maps.
class KeyHolderFile {
public:
    static constexpr const char* kFileName = "asleutel.bst";

    explicit KeyHolderFile(const QString& folder, FileOps* ops = nullptr);

    QString path() const { return m_file.path(); }
    QString folder() const { return m_folder; }
    KeyHolder& current() { return m_current; }
    const KeyHolder& current() const { return m_current; }

    // -1 on error.
    int count(QString* error) const;
    // Reads record n into current(); past the end gives KeyHolder::blank().
    bool record_load(int n, QString* error);
    // Writes current() as record n; n = count + 1 appends.
    bool write(int n, QString* error) const;

    // The access grid's save: reads record n, replaces naam, adres, woonplaats and vrijetekst, writes
    // it back.
    bool record_save(int n, const QString& naam, const QString& adres, const QString& woonplaats,
                     const QString& vrijetekst, QString* error);
    // The details window's save: reads record n, replaces the six texts and geldig ("1" or "0").
    bool saveDetails(int n, const KeyHolderDetails& details, QString* error);
    // Appends a record made from current(): geldig "1", naam and sleutelcode empty, every other byte
    // as in current(). Returns its number, -1 on error.
    int newRecord(QString* error);

    // The first record whose blank-trimmed sleutelcode equals code, 0 when none, -1 on error.
    // Records are read into current() in turn, up to the match.
    int findByKeyCode(const QString& code, QString* error);

    // Changes the bit of reader number `reader` (from 0) in key holder `record`: mode 1 sets, 2 clears
    // it. selector 0 works on toegang, 1 on wijziging, any other value reads toegang and writes
    // wijziging (an old quirk, kept). Then reader record reader + 1 gets the changed flag "X" and
    // today's date, even when the bit did not change. Refused, nothing written, when the reader number
    // is outside 0..127, the reader does not exist or the key holder does not exist.
    bool record_update(int reader, int record, int mode, int selector, const QDate& today, QString* error);

    // Deletes record n (1..count); later records move down one number. tmp.bst keeps the old file.
    bool remove(int n, QString* error) const;

    // Makes the file hold exactly one all-zero record of 512 bytes.
    bool create(QString* error) const;

private:
    QString m_folder;
    FileOps* m_ops;
    RecordFile m_file;
    KeyHolder m_current;
};
