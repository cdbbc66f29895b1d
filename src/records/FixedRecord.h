#pragma once

#include <QByteArray>
#include <QString>

// One fixed-length record held as its raw bytes. The typed records read and change only their named
// fields, so every byte they do not name (the reserved fields) goes back to disk exactly as read.
class FixedRecord {
public:
    const QByteArray& bytes() const { return m_bytes; }
    int size() const { return m_bytes.size(); }

    // Replaces the whole record. Refused (false) when raw is not exactly the record's length.
    bool setBytes(const QByteArray& raw);

    bool operator==(const FixedRecord& other) const = default;

protected:
    FixedRecord(int size, char fill) : m_bytes(size, fill) {}

    QString text(int offset, int width) const;
    void setText(int offset, int width, const QString& value);
    qint16 int16(int offset) const;
    void setInt16(int offset, qint16 value);

    QByteArray m_bytes;
};
