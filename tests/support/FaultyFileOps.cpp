#include "support/FaultyFileOps.h"

bool FaultyFileOps::failNow() {
    ++m_count;
    m_fired = m_fired || m_count == m_failAt;
    return m_count == m_failAt;
}

Status FaultyFileOps::write(QFile& file, const QByteArray& data) {
    m_spans.append({file.pos(), data.size()});
    return failNow() ? Status::failure(faultText()) : FileOps::write(file, data);
}

Status FaultyFileOps::flush(QFile& file) {
    return failNow() ? Status::failure(faultText()) : FileOps::flush(file);
}

Status FaultyFileOps::rename(const QString& from, const QString& to) {
    return failNow() ? Status::failure(faultText()) : FileOps::rename(from, to);
}
