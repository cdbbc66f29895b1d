#pragma once

#include <QString>

// Counts how often a file is opened, by anyone, from construction on (Linux inotify), so a test can
// tell one read of a whole file from one open per record.
class OpenCounter {
public:
    explicit OpenCounter(const QString& path);
    ~OpenCounter();
    OpenCounter(const OpenCounter&) = delete;
    OpenCounter& operator=(const OpenCounter&) = delete;

    // Whether the file could be watched at all.
    bool watching() const { return m_watch >= 0; }
    // Opens since construction or the last call.
    int take();

private:
    int m_fd = -1;
    int m_watch = -1;
};
