#pragma once

#include "records/FileOps.h"

// Fails the failAt-th operation (counted over writes, flushes and renames together, from 1) and lets
// every other one through to the real implementation. failAt 0 never fails.
class FaultyFileOps : public FileOps {
public:
    explicit FaultyFileOps(int failAt = 0) : m_failAt(failAt) {}

    Status write(QFile& file, const QByteArray& data) override;
    Status flush(QFile& file) override;
    Status rename(const QString& from, const QString& to) override;

    // Operations attempted so far, the failed one included.
    int operations() const { return m_count; }
    // The position and length of every write attempted, in order.
    const QList<QPair<qint64, qint64>>& writeSpans() const { return m_spans; }
    bool fired() const { return m_fired; }

    static QString faultText() { return QStringLiteral("injected fault"); }

private:
    bool failNow();

    int m_failAt;
    int m_count = 0;
    QList<QPair<qint64, qint64>> m_spans;
    bool m_fired = false;
};
