#pragma once

#include <cstdint>

// The port library's five operations on the UART's I/O registers, and where the probe's two UARTs sit.
class PortIo {
public:
    static constexpr uint16_t kCom1Base = 0x3F8;  // 1016
    static constexpr uint16_t kCom2Base = 0x2F8;  // 760
    static constexpr uint16_t kRegisterCount = 8;

    // Offsets from the base. With the divisor latch bit set in the line control register, +0 and +1 hold
    // the divisor; with it clear, the data register and the interrupt enable register.
    enum Register : uint16_t { kDataOrDivisorLow = 0, kInterruptOrDivisorHigh = 1, kLineControl = 3 };
    static constexpr uint8_t kDivisorLatchBit = 0x80;
    static constexpr int kUartClockBaud = 115200;  // the rate of divisor 1

    // Com1 and Com2 by port number; 0 for any other number.
    static constexpr uint16_t baseOf(int portNumber) {
        return portNumber == 1 ? kCom1Base : portNumber == 2 ? kCom2Base : 0;
    }

    virtual ~PortIo() = default;

    // Non-zero where port ranges must be granted before use and released afterwards.
    virtual int isWinNT() = 0;
    virtual void enablePorts(uint16_t first, uint16_t last) = 0;
    virtual void disablePorts(uint16_t first, uint16_t last) = 0;
    // Writes the low byte of value to the register.
    virtual void outport(uint16_t port, uint16_t value) = 0;
    virtual uint16_t inport(uint16_t port) = 0;
};
