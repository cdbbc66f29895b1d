#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

class DowIo;

// Writes a programming key's 512 bytes page by page and reads the key back to check it. A page that
// fails is reported and the run goes on with the next one, so a key touched again in time still gets
// the rest. Shared by the probe window and the probe tool.
class KeyWriter {
public:
    struct PageReport {
        int page = 0;         // 1..16
        bool ok = false;      // the scratchpad was written (the page's own result)
        bool copied = false;  // and copied into memory
        QString error;
    };

    struct Result {
        QList<int> failedPages;
        QList<PageReport> pageFailures;  // pages not written or not copied, with why
        bool readBack = false;           // the key answered the read-back
        QByteArray memory;               // what it read back
        QString readError;
        QList<int> differingPages;
        bool checkOk() const { return readBack && differingPages.isEmpty(); }
        bool ok() const { return failedPages.isEmpty() && checkOk(); }
        QString checkText() const { return KeyWriter::checkText(checkOk()); }
        // One line per failed page, then why the check failed; empty when all went well.
        QString failureText() const;
        // After the run the window closes itself, unless check1 asks that a failed check be tried again.
        bool closes(bool check1) const { return !check1 || checkOk(); }
    };

    explicit KeyWriter(DowIo& dow);

    // memory: the 512 bytes as they go into the key (CRC byte included). onPage is called after
    // each page; processEvents is handed to the stages that may keep a window alive.
    Result write(const QByteArray& memory, const std::function<void(const PageReport&)>& onPage = {},
                 const std::function<void()>& processEvents = {});

    // Reads the key back and compares it with memory.
    Result check(const QByteArray& memory, const std::function<void()>& processEvents = {});

    static QList<int> differingPages(const QByteArray& expected, const QByteArray& actual);
    static QString checkText(bool ok);
    static QString pageFailureText(const PageReport& report);

private:
    DowIo& m_dow;
};
