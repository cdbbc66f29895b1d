#pragma once

#include "onewire/PortIo.h"

#include <QList>

class SerialLine;

// Port registers without port access: the register programs for the UART are read for what they mean
// (divisor and line control) and the resulting bit rate is set on the serial line. So the same programs
// drive a legacy COM port and a USB-serial probe, and no root rights are needed.
class UartBridgePortIo : public PortIo {
public:
    static constexpr int kUartClockBaud = 115200;
    // Longest wait for characters in flight before a rate change; a whole 512-byte read is under 0.5 s.
    static constexpr int kEchoDrainTimeoutMs = 1000;

    struct Range {
        uint16_t first = 0;
        uint16_t last = 0;
        bool operator==(const Range&) const = default;
    };

    explicit UartBridgePortIo(SerialLine& line);

    // Non-zero: like NT, Linux wants a grant per port range (ioperm) for user-mode port access, so the
    // grants and releases are made. The bridge needs none itself and only keeps them.
    int isWinNT() override { return 1; }
    void enablePorts(uint16_t first, uint16_t last) override;
    void disablePorts(uint16_t first, uint16_t last) override;
    void outport(uint16_t port, uint16_t value) override;
    uint16_t inport(uint16_t port) override;

    // Ranges granted and not released again, in the order granted.
    const QList<Range>& grantedRanges() const { return m_granted; }
    // Divisor from the last closed latch; 0 before any.
    int divisor() const { return m_appliedDivisor; }

private:
    void applyDivisor();

    SerialLine& m_line;
    QList<Range> m_granted;
    bool m_latchOpen = false;
    uint8_t m_lineControl = 0x03;
    uint8_t m_interruptEnable = 0;
    uint8_t m_divisorLow = 0;
    uint8_t m_divisorHigh = 0;
    int m_appliedDivisor = 0;
};
