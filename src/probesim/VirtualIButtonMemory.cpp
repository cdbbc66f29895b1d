#include "probesim/VirtualIButtonMemory.h"

VirtualIButtonMemory::VirtualIButtonMemory(Kind kind, const Rom& rom)
    : VirtualIButton(kind, rom),
      m_memory(kMemoryBytes, '\0'),
      m_stuckLow(kMemoryBytes, '\0'),
      m_scratchpad(kScratchpadBytes, '\0') {}

void VirtualIButtonMemory::setMemory(const QByteArray& bytes) {
    m_memory = bytes.left(kMemoryBytes);
    m_memory.append(QByteArray(kMemoryBytes - m_memory.size(), '\0'));
    for (int address = 0; address < kMemoryBytes; ++address) {
        m_memory[address] = char(uint8_t(m_memory[address]) & ~uint8_t(m_stuckLow[address]));
    }
}

void VirtualIButtonMemory::setStuckLowBits(int address, uint8_t mask) {
    if (address < 0 || address >= kMemoryBytes) {
        return;
    }
    m_stuckLow[address] = char(mask);
    m_memory[address] = char(uint8_t(m_memory[address]) & ~mask);
}

void VirtualIButtonMemory::functionByte(uint8_t byte) {
    if (m_command == 0) {
        m_command = byte;
        m_argument = 0;
        switch (byte) {
            case kWriteScratchpad:
                m_status &= ~kFlagAa;
                break;
            case kReadScratchpad: {
                const int offset = m_target & kEndingOffsetMask;
                m_sending = QByteArray(1, char(m_target & 0xFF)) + char(m_target >> 8) + char(m_status) +
                            m_scratchpad.mid(offset);
                m_sent = 0;
                m_filler = 0xFF;
                setTransmitting(true);
                break;
            }
            case kCopyScratchpad:
            case kReadMemory:
                break;
            default:
                goIdle();
                break;
        }
        return;
    }

    if (m_command == kWriteScratchpad && m_argument >= 2) {
        // Past the last scratchpad byte the data is dropped and only the overflow flag tells.
        if (m_writeOffset >= kScratchpadBytes) {
            m_status |= kFlagOf;
        } else {
            m_scratchpad[m_writeOffset] = char(byte);
            m_status = uint8_t((m_status & ~kEndingOffsetMask) | m_writeOffset);
            ++m_writeOffset;
        }
        ++m_argument;
        return;
    }

    m_arguments[m_argument++] = byte;
    const uint16_t address = uint16_t(m_arguments[0] | (m_arguments[1] << 8));
    if (m_command == kWriteScratchpad && m_argument == 2) {
        m_target = address;
        m_writeOffset = m_target & kEndingOffsetMask;
        m_status = uint8_t(m_writeOffset);
    } else if (m_command == kReadMemory && m_argument == 2) {
        // The target registers take the address; the E/S register stays as it was.
        m_target = address;
        m_sending = m_target < kMemoryBytes ? m_memory.mid(m_target) : QByteArray();
        m_sent = 0;
        m_filler = 0xFF;
        setTransmitting(true);
    } else if (m_command == kCopyScratchpad && m_argument == 3) {
        if (address != m_target || m_arguments[2] != m_status) {
            goIdle();
            return;
        }
        copyScratchpad();
        // After a copy the key holds the line low in every read slot until the next reset.
        m_sending.clear();
        m_filler = 0x00;
        setTransmitting(true);
    }
}

void VirtualIButtonMemory::copyScratchpad() {
    m_status |= kFlagAa;
    const int first = m_target & kEndingOffsetMask;
    const int last = m_status & kEndingOffsetMask;
    for (int offset = first; offset <= last; ++offset) {
        const int address = m_target + (offset - first);
        if (address < kMemoryBytes) {
            m_memory[address] = char(uint8_t(m_scratchpad[offset]) & ~uint8_t(m_stuckLow[address]));
        }
    }
}

uint8_t VirtualIButtonMemory::nextFunctionByte() {
    if (m_sent < m_sending.size()) {
        return uint8_t(m_sending[m_sent++]);
    }
    return m_filler;
}

void VirtualIButtonMemory::functionReset(int pendingBits) {
    if (m_command == kWriteScratchpad && m_argument >= 2 && pendingBits > 0 && !(m_status & kFlagOf)) {
        m_status |= kFlagPf;
    }
    m_command = 0;
    m_argument = 0;
    m_sending.clear();
    m_sent = 0;
}
