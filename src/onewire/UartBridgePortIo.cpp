#include "onewire/UartBridgePortIo.h"

#include "onewire/SerialLine.h"

namespace {

// Only the two UARTs are ours; anything else (the speaker at 0x61) is left alone.
bool isUartPort(uint16_t port) {
    const uint16_t base = port & ~(PortIo::kRegisterCount - 1);
    return base == PortIo::kCom1Base || base == PortIo::kCom2Base;
}

}  // namespace

UartBridgePortIo::UartBridgePortIo(SerialLine& line) : m_line(line) {}

void UartBridgePortIo::outport(uint16_t port, uint16_t value) {
    if (!isUartPort(port)) {
        return;
    }
    const uint8_t byte = static_cast<uint8_t>(value & 0xFF);
    switch (port & (kRegisterCount - 1)) {
        case kDataOrDivisorLow:
            if (m_latchOpen) {
                m_divisorLow = byte;
            }
            break;
        case kInterruptOrDivisorHigh:
            if (m_latchOpen) {
                m_divisorHigh = byte;
            } else {
                m_interruptEnable = byte;
            }
            break;
        case kLineControl: {
            const bool wasOpen = m_latchOpen;
            m_lineControl = byte;
            m_latchOpen = (byte & kDivisorLatchBit) != 0;
            if (wasOpen && !m_latchOpen) {
                applyDivisor();
            }
            break;
        }
        default:
            break;
    }
}

uint16_t UartBridgePortIo::inport(uint16_t port) {
    if (!isUartPort(port)) {
        return 0;
    }
    switch (port & (kRegisterCount - 1)) {
        case kDataOrDivisorLow:
            return m_latchOpen ? m_divisorLow : 0;
        case kInterruptOrDivisorHigh:
            return m_latchOpen ? m_divisorHigh : m_interruptEnable;
        case kLineControl:
            return m_lineControl;
        default:
            return 0;
    }
}

void UartBridgePortIo::applyDivisor() {
    const int divisor = (m_divisorHigh << 8) | m_divisorLow;
    if (divisor == 0) {
        return;
    }
    const int rate = kUartClockBaud / divisor;
    if (rate == m_line.baudRate()) {
        return;
    }
    // A USB adapter reports its queue empty while characters are still on their way; only their echoes
    // prove they have left at the old rate.
    m_line.waitForEchoes(kEchoDrainTimeoutMs);
    m_line.setBaudRate(rate);
}
