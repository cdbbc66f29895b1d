#include "onewire/Link.h"

#include "onewire/Clock.h"
#include "onewire/PortIo.h"
#include "onewire/SerialLine.h"

namespace {

constexpr uint8_t kLineControl8N1 = 0x03;
constexpr uint8_t kLatchOpen8N1 = PortIo::kDivisorLatchBit | kLineControl8N1;
// Received-data, line-status and modem-status interrupts: the serial driver must keep receiving.
constexpr uint8_t kInterruptsOn = 0x0D;
constexpr uint8_t kResetDivisor = 11;  // 115200 / 11: about 10,473 bit/s, a reset pulse per character
constexpr uint8_t kSlotDivisor = 1;    // 115200 bit/s: one 1-Wire slot per character

constexpr int kEchoSlackMs = 100;
constexpr int kEchoCharsPerMs = 4;  // a slot character takes 87 us; allow three times that

}  // namespace

Link::Link(SerialLine& line, PortIo& ports, Clock& clock) : m_line(line), m_ports(ports), m_clock(clock) {}

void Link::selectBase() {
    const uint16_t base = PortIo::baseOf(m_line.portNumber());
    if (base != 0) {
        m_portBase = base;
    }
}

void Link::initSlowRate() {
    if (m_initialised) {
        return;
    }
    m_line.discardInput();
    m_ports.outport(m_portBase + PortIo::kInterruptOrDivisorHigh, 0);
    m_ports.outport(m_portBase + PortIo::kLineControl, kLatchOpen8N1);
    m_ports.outport(m_portBase + PortIo::kInterruptOrDivisorHigh, 0);
    m_ports.outport(m_portBase + PortIo::kDataOrDivisorLow, kResetDivisor);
    m_ports.outport(m_portBase + PortIo::kLineControl, kLineControl8N1);
    m_ports.outport(m_portBase + PortIo::kInterruptOrDivisorHigh, kInterruptsOn);
    m_initialised = true;
}

void Link::switchFastRate() {
    m_initialised = false;
    m_ports.outport(m_portBase + PortIo::kInterruptOrDivisorHigh, 0);
    m_ports.outport(m_portBase + PortIo::kLineControl, kLatchOpen8N1);
    // The high divisor byte stays 0 from the slow program.
    m_ports.outport(m_portBase + PortIo::kDataOrDivisorLow, kSlotDivisor);
    m_ports.outport(m_portBase + PortIo::kLineControl, kLineControl8N1);
    m_ports.outport(m_portBase + PortIo::kInterruptOrDivisorHigh, kInterruptsOn);
}

Link::ResetStep Link::resetStep() {
    if (m_line.inBufferCount() > 1) {
        m_line.discardInput();
    }
    ResetStep outcome = ResetStep::ResetSent;
    if (m_line.inBufferCount() != 0) {
        const int echo = m_line.readChar();
        if (isPresence(echo)) {
            return ResetStep::Presence;
        }
        outcome = echo == kResetChar ? ResetStep::NoKey : ResetStep::NoPresence;
    }
    if (m_line.outBufferCount() == 0) {
        m_line.write(QByteArray(1, char(kResetChar)));
    } else if (outcome == ResetStep::ResetSent) {
        outcome = ResetStep::Busy;
    }
    return outcome;
}

bool Link::reset() {
    m_initialised = false;
    initSlowRate();
    const Clock::Time deadline = m_clock.now() + std::chrono::milliseconds(kResetTimeoutMs);
    m_line.discardInput();
    if (!m_line.write(QByteArray(1, char(kResetChar)))) {
        return false;
    }
    for (;;) {
        const Clock::Time left = deadline - m_clock.now();
        if (left <= Clock::Time::zero()) {
            return false;
        }
        const auto leftMs = std::chrono::ceil<std::chrono::milliseconds>(left).count();
        if (!m_line.waitForInput(1, static_cast<int>(leftMs))) {
            return false;
        }
        if (isPresence(m_line.readChar())) {
            return true;
        }
    }
}

QByteArray Link::writeSlots(const QByteArray& bytes) {
    QByteArray slots;
    slots.reserve(bytes.size() * 8);
    for (char byte : bytes) {
        for (int mask = 1; mask < 255; mask <<= 1) {
            slots.append(char((uint8_t(byte) & mask) ? kOneSlotChar : kZeroSlotChar));
        }
    }
    return slots;
}

int Link::echoTimeoutMs(int characters) {
    return kEchoSlackMs + characters / kEchoCharsPerMs;
}

bool Link::sendRun(const QByteArray& run) {
    // One wait per run, never per slot: the run is on the wire in one go, and its echoes say it has gone.
    return m_line.write(run) && m_line.waitForEchoes(echoTimeoutMs(run.size()));
}

uint8_t Link::readByte() {
    uint8_t value = 0;
    for (int mask = 1; mask < 255; mask <<= 1) {
        if (m_line.inBufferCount() > 0 && m_line.readChar() == kOneSlotChar) {
            value |= static_cast<uint8_t>(mask);
        }
    }
    return value;
}
