#pragma once

#include <QList>

#include "records/Location.h"
#include "records/RecordFile.h"

// locatie.bst, directly in bestanden, with the record buffer the location screen shares. A saved record
// takes its reserved bytes from whatever record was read last (all zero before any read); that
// carry-over is on purpose.
class LocationFile {
public:
    static constexpr const char* kFileName = "locatie.bst";

    explicit LocationFile(const QString& bestandenFolder, FileOps* ops = nullptr);

    QString path() const { return m_file.path(); }
    Location& buffer() { return m_buffer; }
    const Location& buffer() const { return m_buffer; }

    // When bestanden holds no locatie.bst (letter case aside), creates it with one all-zero record
    // (986 bytes). A name in other letter case is renamed to locatie.bst.
    Status ensureFile();

    // Every whole record in order, in one read of the file; the buffer ends up holding the last one.
    Result<QList<Location>> readAll();

    // Fills the buffer's nine texts and writes it as record n; n = count + 1 appends. A Map that fails
    // checkFolderName, as it will be stored, is refused and nothing is written. Given the record a
    // window loaded (LoadedRecord::none() for a new row), one on disk that is no longer the same is a
    // conflict and nothing is written. The value is the record as it now is on disk.
    Result<Location> saveRecord(int n, const Location::Texts& texts, const LoadedRecord& loaded = {});

    // Deletes record n (1..count); later records move down one number. tmp.bst keeps the old file.
    // Given the record a window loaded, one on disk that is no longer the same is a conflict.
    Status remove(int n, const LoadedRecord& loaded = {}) const;

private:
    QString m_folder;
    FileOps* m_ops;
    RecordFile m_file;
    Location m_buffer;
};
