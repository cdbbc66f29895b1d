#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>

class PortIo;
class SerialLine;

// The 1-Wire layer (module DOW_IO): UART rate programs, reset and slot primitives, ROM identification and
// memory iButton access over a serial line and the UART's port registers. One object is shared by every
// window; nothing here touches a widget.
class DowIo {
public:
    static constexpr uint16_t kCom1Base = 1016;  // 0x3F8
    static constexpr uint16_t kCom2Base = 760;   // 0x2F8
    static constexpr uint16_t kPortRangeLength = 8;
    static constexpr uint16_t kShutdownRangeLength = 3;

    static constexpr uint8_t kResetChar = 0xF0;
    static constexpr uint8_t kOneSlotChar = 0xFF;
    static constexpr uint8_t kZeroSlotChar = 0x00;

    static constexpr uint8_t kReadRom = 0x33;
    static constexpr uint8_t kReadRomOld = 0x0F;
    static constexpr uint8_t kSkipRom = 0xCC;
    static constexpr uint8_t kWriteScratchpad = 0x0F;
    static constexpr uint8_t kReadScratchpad = 0xAA;
    static constexpr uint8_t kCopyScratchpad = 0x55;
    static constexpr uint8_t kReadMemory = 0xF0;
    static constexpr uint8_t kFullPageEndingOffset = 0x1F;

    static constexpr int kFamilyDs1993 = 6;
    static constexpr int kFamilyDs1994 = 4;
    static constexpr int kPageCount = 16;
    static constexpr int kPageSize = 32;
    static constexpr int kMemorySize = kPageCount * kPageSize;
    static constexpr int kRomSlots = 64;

    static constexpr int kResetTimeoutMs = 100;
    static constexpr int kPageStageTimeoutMs = 1000;

    enum class ResetStep {
        Presence,    // the echo of the last reset showed a device
        NoKey,       // the echo was 0xF0: nothing on the line; a new reset has been sent
        NoPresence,  // another echo without presence (0: line held low); a new reset has been sent
        ResetSent,   // nothing was waiting; a reset has been sent
        Busy,        // nothing was waiting and output is still queued; nothing sent
    };

    struct Identification {
        enum Status { NotConnected, NoKey, ResetSent, NoResult, Ok };
        Status status = ResetSent;
        int family = 0;
        QString familyName;
        QString keyCode;
        QByteArray rom;  // the 8 ROM bytes, family first and CRC last
    };

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

    DowIo(SerialLine& line, PortIo& ports);

    SerialLine& line() { return m_line; }
    PortIo& ports() { return m_ports; }

    uint16_t portBase() const { return m_portBase; }
    bool initialised() const { return m_initialised; }
    // Windows clear it when they start or end a key capture, so the next reset reprograms the slow rate.
    void setInitialised(bool initialised) { m_initialised = initialised; }
    uint8_t commandByte() const { return m_commandByte; }
    uint8_t crc() const { return m_crc; }
    int commandToggle() const { return m_commandToggle; }
    void setCommandToggle(int toggle) { m_commandToggle = toggle ? 1 : 0; }
    const QString& keyCode() const { return m_keyCode; }
    // The key-holder screen shortens the string in place.
    void setKeyCode(const QString& keyCode) { m_keyCode = keyCode; }

    // Port access and adapter set-up.
    void selectBase();
    void initSlowRate();
    void switchFastRate();
    static uint16_t baseOf(int portNumber);

    // Start-up: the stored port number (empty keeps the line's), the grant for its range, then the line
    // is opened. False with a Dutch message when it cannot be opened; nothing else depends on it.
    bool startUp(const QString& poort, QString* error);
    void grantPort(int portNumber);
    // The port dialog: the line goes off-line and both whole ranges are released.
    void beginPortDialog();
    // The dialog's OK: reopen on the chosen number, reprogram on the next cycle, grant its range.
    bool applyPortChoice(int portNumber, QString* error);
    // Shutdown: releases the first three registers of both UARTs and closes the line.
    void shutdown();

    // Link primitives.
    static bool isPresence(int echo) { return echo > 0 && echo < kResetChar; }
    ResetStep resetStep();
    bool reset();
    static QByteArray byteSlots(uint8_t byte);
    static QByteArray readSlots(int bytes) { return QByteArray(bytes * 8, char(kOneSlotChar)); }
    bool writeByte(uint8_t byte);
    // LSB first from the echoes waiting; a missing echo leaves its bit 0.
    uint8_t readByte(uint8_t value = 0);
    // Sends a run of slots and waits once for all of its echoes.
    bool sendRun(const QByteArray& run);
    static int echoTimeoutMs(int characters);

    // ROM identification.
    Identification readKeyCode();
    Identification identifyProbe();

    // Memory iButton access.
    static void pageAddress(int page, uint8_t* ta1, uint8_t* ta2);
    bool writeScratchpad(const QByteArray& data, int page, QString* error);
    bool copyScratchpad(int page, const std::function<void()>& processEvents, QString* error);
    PageWrite writePage(int page, const QByteArray& data, const std::function<void()>& processEvents = {});
    MemoryRead readMemory(const std::function<void()>& processEvents = {});

    // Clear Dutch texts for the windows.
    static QString portOpenMessage(int portNumber, const QString& systemError);
    static QString probeGoneMessage();
    static QString noKeyMessage();
    static QString wrongFamilyMessage(int family);
    static bool isProgrammingKey(int family) { return family == kFamilyDs1993 || family == kFamilyDs1994; }

private:
    Identification identify(uint8_t command, bool probeVariant);
    bool resetWithin(int timeoutMs, const std::function<void()>& processEvents);

    SerialLine& m_line;
    PortIo& m_ports;
    uint16_t m_portBase = 0;
    bool m_initialised = false;
    uint8_t m_commandByte = 0;
    uint8_t m_crc = 0;
    int m_commandToggle = 0;
    QString m_keyCode;
};
