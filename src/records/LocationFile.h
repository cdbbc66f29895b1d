#pragma once

#include <QList>

#include "records/Location.h"
#include "records/RecordFile.h"

// locatie.bst, directly in bestanden, with the record buffer the location screen shares. A saved row
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
    bool ensureFile(QString* error);

    // Every whole record in order; the buffer ends up holding the last one.
    bool readAll(QList<Location>* records, QString* error);

    // Fills the buffer's nine texts from grid columns 1..9 and writes it as record n; n = count + 1
    // appends. A Map (column 9) that fails checkFolderName is refused and nothing is written.
    bool saveRow(int n, const QStringList& columns1to9, QString* error);

    // Deletes record n (1..count); later records move down one number. tmp.bst keeps the old file.
    bool remove(int n, QString* error) const;

private:
    QString m_folder;
    FileOps* m_ops;
    RecordFile m_file;
    Location m_buffer;
};
