#pragma once

#include <QByteArrayList>
#include <QString>

class FileOps;

// A file of fixed-length records numbered from 1, without header. Every operation opens the file and
// closes it again before returning; no handle is kept. Errors come back as false (or -1) with a Dutch
// message that ends in the system's own error text.
class RecordFile {
public:
    // ops: the seam for writes, flushes and renames; nullptr means the real one.
    RecordFile(const QString& path, int recordLength, FileOps* ops = nullptr);

    const QString& path() const { return m_path; }
    int recordLength() const { return m_length; }
    // tmp.bst beside the file: after a delete it holds the file as it was before.
    QString scratchPath() const;

    // File length div record length; a partial record at the end does not count. A missing file has
    // 0 records. -1 on error.
    int count(QString* error) const;

    // Record n into *record. Past the end (or in a missing file) *record is left empty, which the
    // typed files turn into their blank record. n below 1 is refused.
    bool read(int n, QByteArray* record, QString* error) const;

    // Every whole record, in order.
    bool readAll(QByteArrayList* records, QString* error) const;

    // Writes record n in a single positioned write. n = count + 1 appends (over a partial tail, if
    // any); n below 1 or beyond count + 1 is refused. A missing file is created.
    bool write(int n, const QByteArray& record, QString* error) const;

    // Removes record n; the records behind it move down by one. The old file goes to tmp.bst and the
    // new one is written beside the file and renamed over it, so whatever fails, the file is the whole
    // old one or the whole new one. n outside 1..count is refused.
    bool remove(int n, QString* error) const;

    // Makes the file hold exactly content, built beside it and renamed over it.
    bool replaceWith(const QByteArray& content, QString* error) const;

private:
    bool writeBeside(const QString& target, const QByteArray& content, QString* error) const;

    QString m_path;
    int m_length;
    FileOps* m_ops;
};

// Looks in folder for an entry that is exactName apart from letter case. When one exists and the exact
// name does not, renames it to exactName. *exists tells whether the exact name is there afterwards.
bool fixFileNameCase(const QString& folder, const QString& exactName, bool* exists, QString* error,
                     FileOps* ops = nullptr);
