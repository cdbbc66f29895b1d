#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Every write, flush and rename of the record layer goes through here, so tests can make any one of
// them fail and check that no record file is ever left half written.
class FileOps {
public:
    virtual ~FileOps() = default;

    // Writes all of data at the file's position; false with the system's text on any shortfall.
    virtual bool write(QFile& file, const QByteArray& data, QString* error);
    // Pushes what was written down to the disk.
    virtual bool flush(QFile& file, QString* error);
    // Renames from over to in one step; an existing `to` is replaced.
    virtual bool rename(const QString& from, const QString& to, QString* error);

    // The implementation that does the real thing.
    static FileOps* real();
};

// Fails the failAt-th operation (counted over writes, flushes and renames together, from 1) and lets
// every other one through to the real implementation. failAt 0 never fails.
class FaultyFileOps : public FileOps {
public:
    explicit FaultyFileOps(int failAt) : m_failAt(failAt) {}

    bool write(QFile& file, const QByteArray& data, QString* error) override;
    bool flush(QFile& file, QString* error) override;
    bool rename(const QString& from, const QString& to, QString* error) override;

    // Operations attempted so far, the failed one included.
    int operations() const { return m_count; }
    bool fired() const { return m_fired; }

    static QString faultText() { return QStringLiteral("injected fault"); }

private:
    bool failNow(QString* error);

    int m_failAt;
    int m_count = 0;
    bool m_fired = false;
};
