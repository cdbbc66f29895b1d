#pragma once

#include <cstdint>

// The port library's five operations on the UART's I/O registers.
class PortIo {
public:
    virtual ~PortIo() = default;

    // Non-zero where port ranges must be granted before use and released afterwards.
    virtual int isWinNT() = 0;
    virtual void enablePorts(uint16_t first, uint16_t last) = 0;
    virtual void disablePorts(uint16_t first, uint16_t last) = 0;
    // Writes the low byte of value to the register.
    virtual void outport(uint16_t port, uint16_t value) = 0;
    virtual uint16_t inport(uint16_t port) = 0;
};
