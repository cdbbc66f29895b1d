#pragma once

#include <QByteArrayList>
#include <QString>
#include <functional>

#include "records/FixedRecord.h"
#include "records/Result.h"

class FileOps;
class FolderLock;

// What a window loaded at a record number, to be found there unchanged before a change of that record
// is written or the record is deleted: another program on the same folder may have changed the file
// since. Made from the record as loaded (implicitly, so a window passes the record it holds), or none()
// for a row that stood for a record yet to come. The default checks nothing.
class LoadedRecord {
public:
    LoadedRecord() = default;
    LoadedRecord(const FixedRecord& loaded) : m_checked(true), m_bytes(loaded.bytes()) {}
    // There was no record at that number: it must still lie past the end.
    static LoadedRecord none();

    bool checked() const { return m_checked; }
    // Whether onDisk (empty: no record at that number) is what was loaded, or nothing is checked.
    bool matches(const QByteArray& onDisk) const { return !m_checked || onDisk == m_bytes; }

private:
    bool m_checked = false;
    QByteArray m_bytes;
};

// A file of fixed-length records numbered from 1, without header. Every operation opens the file and
// closes it again before returning; no handle is kept. Every change holds the folder's lock, so changes
// by several programs come one after the other. Only a plain file is opened or replaced: a FIFO,
// device or folder in its place is refused, as is a change of a file that is read-only. A failure's
// message names the file and ends in the system's own text.
class RecordFile {
public:
    // Given the record read (empty past the end), makes the record to write, or refuses: then nothing
    // is written and the refusal comes back.
    using Change = std::function<Status(QByteArray& record)>;

    // ops: the seam for writes, flushes and renames; nullptr means the real one.
    RecordFile(const QString& path, int recordLength, FileOps* ops = nullptr);

    const QString& path() const { return m_path; }
    int recordLength() const { return m_length; }
    // tmp.bst beside the file: after a delete it holds the file as it was before.
    QString scratchPath() const;

    // File length div record length; a partial record at the end does not count. A missing file has
    // 0 records.
    Result<int> count() const;

    // Record n. Past the end (or in a missing file) the value is empty, which the typed files turn into
    // their blank record. n below 1 is refused.
    Result<QByteArray> read(int n) const;

    // Every whole record, in order, in one open and one read, however long the file.
    Result<QByteArrayList> readAll() const;

    // Writes record n in a single positioned write. n = count + 1 appends (over a partial tail, if
    // any); n below 1 or beyond count + 1 is refused. A missing file is created.
    Status write(int n, const QByteArray& record) const;

    // The one read-modify-write of a record, in one open: reads record n, lets change make the new
    // record from it and writes that back in a single positioned write. Past the end change gets an
    // empty record; what it makes is then written only at count + 1 (appended), else refused. When the
    // record at n is not what loaded says, nothing is written and a conflict comes back. The value is
    // the record as it now is on disk. A write that fails half way is undone as far as it went.
    Result<QByteArray> update(int n, const Change& change, const LoadedRecord& loaded = {}) const;

    // Removes record n; the records behind it move down by one. The old file goes to tmp.bst and the
    // new one is written beside the file and renamed over it, so whatever fails, the file is the whole
    // old one or the whole new one. n outside 1..count is refused; a record at n that is not what loaded
    // says is a conflict, and nothing is deleted.
    Status remove(int n, const LoadedRecord& loaded = {}) const;
    // The same under the folder's lock, which the caller holds already (to change another file of the
    // folder with it).
    Status remove(const FolderLock& held, int n, const LoadedRecord& loaded = {}) const;

    // Makes the file hold exactly content, built beside it and renamed over it.
    Status replaceWith(const QByteArray& content) const;
    // Makes the file hold content when there is no file yet; one that another program made meanwhile
    // is left as it is.
    Status create(const QByteArray& content) const;

    // The refusal of a change (of a delete, with removal) of a record that another program changed
    // since the window loaded it.
    Status conflict(bool removal) const;

private:
    Status refuseNumber(int n) const;
    Status refuseLength(const QByteArray& record) const;

    QString m_path;
    int m_length;
    FileOps* m_ops;
};

// Looks in folder for an entry that is exactName apart from letter case. When one exists and the exact
// name does not, renames it to exactName. The value says whether the exact name is there afterwards.
Result<bool> fixFileNameCase(const QString& folder, const QString& exactName, FileOps* ops = nullptr);
