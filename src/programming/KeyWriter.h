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
        bool readBack = false;  // the key answered the read-back
        QByteArray memory;      // what it read back
        QString readError;
        QList<int> differingPages;
        bool checkOk() const { return readBack && differingPages.isEmpty(); }
        bool ok() const { return failedPages.isEmpty() && checkOk(); }
        QString checkText() const { return KeyWriter::checkText(checkOk()); }
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

private:
    DowIo& m_dow;
};

// Polls the probe the way the windows do, one identification per tick, until a key answers or the time
// is up. keyCodeRead: the key-holder window's read that alternates 0x33 and 0x0F; otherwise the probe
// window's 0x33. *lastStatus, if given, tells what the last tick saw (no key, no probe, ...).
struct PolledKey {
    bool found = false;
    int family = 0;
    QString familyName;
    QString keyCode;
    QByteArray rom;
    bool notConnected = false;  // the line was closed on the last tick
};
PolledKey pollForKey(DowIo& dow, bool keyCodeRead, int tickMs, int timeoutMs);
