#pragma once

#include <QDate>
#include <QList>
#include <functional>

#include "records/Reader.h"
#include "records/RecordFile.h"

// autonoom.bst in one data folder.
class ReaderFile {
public:
    static constexpr const char* kFileName = "autonoom.bst";

    explicit ReaderFile(const QString& folder, FileOps* ops = nullptr);

    QString path() const { return m_file.path(); }
    Result<int> count() const;
    // Past the end gives the blank Reader.
    Result<Reader> read(int n) const;
    // Every reader in file order, in one read of the file.
    Result<QList<Reader>> readAll() const;
    // n = count + 1 appends.
    Status write(int n, const Reader& reader) const;

    // Reads reader n, lets change alter it and writes it back, in one open; every byte change leaves
    // alone stays. n = count + 1 appends a record made from the blank Reader. Given the reader a window
    // loaded, a reader on disk that is no longer the same is a conflict and nothing is written. The
    // value is the reader as it now is on disk.
    Result<Reader> update(int n, const std::function<void(Reader&)>& change, const LoadedRecord& loaded = {}) const;

    // Sets the changed flag of reader n to "X" and its date to today. Reader n must exist.
    Result<Reader> markChanged(int n, const QDate& today, const LoadedRecord& loaded = {}) const;
    // Blanks the changed flag of reader n, once its programming key is written; the date stays.
    // Reader n must exist.
    Result<Reader> clearChanged(int n, const LoadedRecord& loaded = {}) const;

    // Deletes reader n (1..count); later readers move down one number. tmp.bst keeps the old file.
    // Given the reader a window loaded, a reader on disk that is no longer the same is a conflict.
    Status remove(int n, const LoadedRecord& loaded = {}) const;

    // Makes a missing file hold exactly one record, Reader::defaultRecord(today): 128 bytes. One that
    // another program made meanwhile stays as it is.
    Status createDefault(const QDate& today) const;

private:
    // mustExist: reader n must be there already, else the change is refused.
    Result<Reader> changeReader(int n, const std::function<void(Reader&)>& change, const LoadedRecord& loaded,
                                bool mustExist) const;

    RecordFile m_file;
};
