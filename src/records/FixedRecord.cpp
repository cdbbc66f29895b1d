#include "records/FixedRecord.h"

#include "records/Cp1252.h"

bool FixedRecord::setBytes(const QByteArray& raw) {
    if (raw.size() != m_bytes.size()) {
        return false;
    }
    m_bytes = raw;
    return true;
}

QString FixedRecord::text(int offset, int width) const {
    return Cp1252::field(m_bytes, offset, width);
}

void FixedRecord::setText(int offset, int width, const QString& value) {
    Cp1252::putField(m_bytes, offset, width, value);
}

qint16 FixedRecord::int16(int offset) const {
    const auto lo = static_cast<quint8>(m_bytes[offset]);
    const auto hi = static_cast<quint8>(m_bytes[offset + 1]);
    return static_cast<qint16>(static_cast<quint16>(lo | (hi << 8)));
}

void FixedRecord::setInt16(int offset, qint16 value) {
    const auto u = static_cast<quint16>(value);
    m_bytes[offset] = static_cast<char>(u & 0xFF);
    m_bytes[offset + 1] = static_cast<char>(u >> 8);
}
