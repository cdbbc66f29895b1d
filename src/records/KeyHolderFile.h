#pragma once

#include <QDate>
#include <QList>
#include <functional>

#include "records/KeyHolder.h"
#include "records/RecordFile.h"

// asleutel.bst in one data folder, with the current record that the key-holder windows share. Every
// read overwrites current(); a new record copies its fields from it, on purpose, so "Nieuw" after
// looking at a key holder starts from that holder's address and maps.
class KeyHolderFile {
public:
    static constexpr const char* kFileName = "asleutel.bst";

    explicit KeyHolderFile(const QString& folder, FileOps* ops = nullptr);

    QString path() const { return m_file.path(); }
    KeyHolder& current() { return m_current; }
    const KeyHolder& current() const { return m_current; }

    Result<int> count() const;
    // Reads record n into current(); past the end gives KeyHolder::blank().
    Status record_load(int n);
    // Every record in file order, in one read of the file; current() ends holding the last one.
    Result<QList<KeyHolder>> readAll();
    // Writes current() as record n; n = count + 1 appends.
    Status write(int n) const;

    // Reads record n, lets change alter it and writes it back, in one open; every byte change leaves
    // alone stays. n = count + 1 appends a record made from KeyHolder::blank(). Given the record a window
    // loaded, one on disk that is no longer the same is a conflict and nothing is written. The value,
    // and current() after a write, is the record as it now is on disk.
    Result<KeyHolder> update(int n, const std::function<void(KeyHolder&)>& change, const LoadedRecord& loaded = {});

    // Appends a record made from current(): geldig "1", naam and sleutelcode empty, every other byte
    // as in current(). The value is its number. A record another program appended meanwhile is not
    // written over: that is a conflict.
    Result<int> newRecord();

    // The number of the first record whose sleutelcode equals code, blanks and zero bytes around
    // either left out; 0 when none. A blank code, or ten zeros, matches nothing, not even a holder
    // without a key.
    // current() ends holding the match, or else the last record.
    Result<int> findByKeyCode(const QString& code);

    // Changes the bit of reader number `reader` (from 0) in key holder `record`: mode 1 sets, 2 clears
    // it. selector 0 works on toegang, 1 on wijziging, any other value reads toegang and writes
    // wijziging (an old quirk, kept). Reader record reader + 1 first gets the changed flag "X" and
    // today's date, even when the bit does not change. Refused, nothing written, when the reader number
    // is outside 0..127, the reader does not exist, the key holder does not exist or asleutel.bst cannot
    // be written, and (a conflict) when the key holder on disk is no longer the one loaded. The value is the key holder
    // as it now is.
    Result<KeyHolder> record_update(int reader, int record, int mode, int selector, const QDate& today,
                                    const LoadedRecord& loaded = {});

    // Deletes record n (1..count); later records move down one number. tmp.bst keeps the old file.
    // Given the record a window loaded, one on disk that is no longer the same is a conflict.
    Status remove(int n, const LoadedRecord& loaded = {}) const;

    // Makes a missing file hold exactly one all-zero record of 512 bytes; one that another program made
    // meanwhile stays as it is.
    Status create() const;

private:
    QString m_folder;
    FileOps* m_ops;
    RecordFile m_file;
    KeyHolder m_current;
};
