#pragma once

#include <QByteArray>

#include <cstdint>

class Clock;
class PortIo;
class SerialLine;

// The 1-Wire bus master over a passive probe: every character on the serial line is one time slot, and
// the UART's registers switch between the slow reset rate and the fast slot rate. It keeps the port base
// and whether the slow rate is programmed; everything above (ROM commands, memory keys) is built on
// these primitives.
class Link {
public:
    static constexpr uint8_t kResetChar = 0xF0;
    static constexpr uint8_t kOneSlotChar = 0xFF;
    static constexpr uint8_t kZeroSlotChar = 0x00;

    static constexpr int kResetTimeoutMs = 100;

    enum class ResetStep {
        Presence,    // the echo of the last reset showed a device
        NoKey,       // the echo was 0xF0: nothing on the line; a new reset has been sent
        NoPresence,  // another echo without presence (0: line held low); a new reset has been sent
        ResetSent,   // nothing was waiting; a reset has been sent
        Busy,        // nothing was waiting and output is still queued; nothing sent
    };

    Link(SerialLine& line, PortIo& ports, Clock& clock);

    SerialLine& line() const { return m_line; }
    Clock& clock() const { return m_clock; }

    // The UART: the base follows the line's port number (any number but 1 and 2 keeps the last base).
    void selectBase();
    bool initialised() const { return m_initialised; }
    void setInitialised(bool initialised) { m_initialised = initialised; }
    // Programs the reset rate unless the flag says it is; empties the input first.
    void initSlowRate();
    // Programs the slot rate and clears the flag, so that the next reset programs the slow rate again.
    void switchFastRate();

    static bool isPresence(int echo) { return echo > 0 && echo < kResetChar; }
    // The polling reset, spread over two calls and never waiting: reads the echo of the reset sent last
    // time, if it is in, and sends the next one.
    ResetStep resetStep();
    // Programs the slow rate, sends a reset and waits for a presence for at most kResetTimeoutMs on the
    // clock.
    bool reset();

    // Slot characters for bytes, least significant bit first.
    static QByteArray writeSlots(const QByteArray& bytes);
    static QByteArray readSlots(int bytes) { return QByteArray(bytes * 8, char(kOneSlotChar)); }
    // Sends a run of slots and waits once for all of its echoes.
    bool sendRun(const QByteArray& run);
    static int echoTimeoutMs(int characters);
    // A byte from the next eight echoes, LSB first; only 0xFF is a 1, and a missing echo leaves its bit 0.
    uint8_t readByte();

private:
    SerialLine& m_line;
    PortIo& m_ports;
    Clock& m_clock;
    uint16_t m_portBase = 0;
    bool m_initialised = false;
};
