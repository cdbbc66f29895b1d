#include "onewire/ProbeStack.h"

#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/UartBridgePortIo.h"

ProbeStack::ProbeStack(std::unique_ptr<SerialLine> line, Clock& clock)
    : m_line(std::move(line)),
      m_ports(std::make_unique<UartBridgePortIo>(*m_line)),
      m_dowIo(std::make_unique<DowIo>(*m_line, *m_ports, clock)) {}

ProbeStack::~ProbeStack() = default;

std::unique_ptr<ProbeStack> ProbeStack::onDevice(const QString& devicePath, Clock& clock) {
    auto port = std::make_unique<QtSerialLine>();
    port->setDevicePath(1, devicePath);
    port->setDevicePath(2, devicePath);
    return std::make_unique<ProbeStack>(std::move(port), clock);
}

PortIo& ProbeStack::ports() {
    return *m_ports;
}
