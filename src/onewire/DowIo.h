#pragma once

#include "onewire/Clock.h"
#include "onewire/Link.h"
#include "onewire/RomIdentification.h"

#include <QByteArray>
#include <QString>

#include <functional>

class PortIo;
class SerialLine;

// The 1-Wire layer as the windows see it (module DOW_IO): one object shared by every window, holding the
// module's state (the link with its port base and initialised flag, the Read ROM toggle, the last key
// code string), the port grants, and the identification and memory-key calls with their Dutch messages.
// Nothing here touches a widget.
class DowIo {
public:
    using Identification = RomIdentification::Identification;

    struct PageWrite {
        bool ok = false;  // the Write Scratchpad stage
        bool copied = false;
        QString error;
    };

    struct MemoryRead {
        bool ok = false;
        QByteArray data;
        QString error;
    };

    // The page stages and the blocking reset time their windows on clock.
    DowIo(SerialLine& line, PortIo& ports, Clock& clock = Clock::steady());

    SerialLine& line() { return m_line; }
    Link& link() { return m_link; }

    bool initialised() const { return m_link.initialised(); }
    // Windows clear it when they start or end a key capture, so the next reset reprograms the slow rate.
    void setInitialised(bool initialised) { m_link.setInitialised(initialised); }
    // Which Read ROM code the next key-code read uses: 1 for 0x33, 0 for 0x0F.
    void setCommandToggle(int toggle) { m_commandToggle = toggle ? 1 : 0; }
    const QString& keyCode() const { return m_keyCode; }
    // The key-holder screen shortens the string in place.
    void setKeyCode(const QString& keyCode) { m_keyCode = keyCode; }

    // Start-up: the stored port number (empty or not a number keeps the line's), the grant for its range, then the line
    // is opened. False with a Dutch message when it cannot be opened; nothing else depends on it.
    bool startUp(const QString& poort, QString* error);
    void grantPort(int portNumber);
    // The port dialog: the line goes off-line and both whole ranges are released.
    void beginPortDialog();
    // The dialog's OK: reopen on the chosen number, reprogram on the next cycle, grant its range.
    bool applyPortChoice(int portNumber, QString* error);
    // Shutdown: releases the first three registers of both UARTs and closes the line.
    void shutdown();

    void selectBase() { m_link.selectBase(); }
    // One polling step each. The key-holder window's read alternates Read ROM 0x33 and 0x0F; the probe
    // window's always uses 0x33. Both replace keyCode() whenever a ROM was read, with "" when it failed.
    Identification readKeyCode();
    Identification identifyProbe();

    // Page 1..16 of a memory key: 32 bytes. processEvents runs while the copy stage waits for the key.
    PageWrite writePage(int page, const QByteArray& data, const std::function<void()>& processEvents = {});
    MemoryRead readMemory(const std::function<void()>& processEvents = {});
    // Page 1..16 alone: 32 bytes.
    MemoryRead readPage(int page, const std::function<void()>& processEvents = {});

    static QString portOpenMessage(int portNumber, const QString& systemError);
    static QString probeGoneMessage();
    static QString noKeyMessage();
    static QString wrongFamilyMessage(int family);

private:
    Identification identify(int* alternation);

    SerialLine& m_line;
    PortIo& m_ports;
    Link m_link;
    int m_commandToggle = 0;
    QString m_keyCode;
};
