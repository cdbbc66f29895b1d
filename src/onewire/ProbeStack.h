#pragma once

#include "onewire/Clock.h"

#include <QString>

#include <memory>

class DowIo;
class PortIo;
class SerialLine;
class UartBridgePortIo;

// The probe as the program, the tools and the tests put it together: a serial line, the register bridge
// over it and the 1-Wire layer over both. The line is opened by whoever uses the stack.
class ProbeStack {
public:
    // Over any line: a serial port, the simulated probe, a test double. clock times the 1-Wire windows.
    explicit ProbeStack(std::unique_ptr<SerialLine> line, Clock& clock = Clock::steady());
    ~ProbeStack();
    ProbeStack(const ProbeStack&) = delete;
    ProbeStack& operator=(const ProbeStack&) = delete;

    // A serial port at devicePath, whichever port number is chosen.
    static std::unique_ptr<ProbeStack> onDevice(const QString& devicePath, Clock& clock = Clock::steady());

    SerialLine& line() { return *m_line; }
    PortIo& ports();
    DowIo& dowIo() { return *m_dowIo; }

private:
    std::unique_ptr<SerialLine> m_line;
    std::unique_ptr<UartBridgePortIo> m_ports;
    std::unique_ptr<DowIo> m_dowIo;
};
