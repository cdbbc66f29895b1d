#pragma once

#include "onewire/PortIo.h"

class SerialLine;

// Port registers without port access: the register programs for the UART are read for what they mean
// (divisor and line control) and the resulting bit rate is set on the serial line. So the same programs
// drive a legacy COM port and a USB-serial probe, and no root rights are needed.
class UartBridgePortIo : public PortIo {
public:
    // Longest wait for characters in flight before a rate change; a whole 512-byte read is under 0.5 s.
    static constexpr int kEchoDrainTimeoutMs = 1000;

    explicit UartBridgePortIo(SerialLine& line);

    // Non-zero: like NT, Linux wants a grant per port range (ioperm) for user-mode port access, so the
    // grants and releases are made. The bridge needs none itself.
    int isWinNT() override { return 1; }
    void enablePorts(uint16_t, uint16_t) override {}
    void disablePorts(uint16_t, uint16_t) override {}
    void outport(uint16_t port, uint16_t value) override;
    uint16_t inport(uint16_t port) override;

private:
    void applyDivisor();

    SerialLine& m_line;
    bool m_latchOpen = false;
    uint8_t m_lineControl = 0x03;
    uint8_t m_interruptEnable = 0;
    uint8_t m_divisorLow = 0;
    uint8_t m_divisorHigh = 0;
};
