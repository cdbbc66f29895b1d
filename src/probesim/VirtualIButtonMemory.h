#pragma once

#include "probesim/VirtualIButton.h"

// A DS1993 or DS1994: 512 bytes of memory written through a 32-byte scratchpad. The DS1994's clock
// registers above the memory are not modelled.
class VirtualIButtonMemory : public VirtualIButton {
public:
    // The device as its data sheet describes it, kept apart from the program's memory-key constants on
    // purpose, like the ROM commands.
    static constexpr int kMemoryBytes = 512;
    static constexpr int kScratchpadBytes = 32;

    static constexpr uint8_t kWriteScratchpad = 0x0F;
    static constexpr uint8_t kReadScratchpad = 0xAA;
    static constexpr uint8_t kCopyScratchpad = 0x55;
    static constexpr uint8_t kReadMemory = 0xF0;

    // E/S register: authorisation accepted, overflow, partial byte, ending offset.
    static constexpr uint8_t kFlagAa = 0x80;
    static constexpr uint8_t kFlagOf = 0x40;
    static constexpr uint8_t kFlagPf = 0x20;
    static constexpr uint8_t kEndingOffsetMask = 0x1F;

    VirtualIButtonMemory(Kind kind, const Rom& rom);

    QByteArray memory() const override { return m_memory; }
    void setMemory(const QByteArray& bytes) override;
    // A worn cell: these bits of the byte at address read 0 from now on, whatever is copied there.
    void setStuckLowBits(int address, uint8_t mask);
    QByteArray scratchpad() const override { return m_scratchpad; }
    uint8_t endingStatus() const override { return m_status; }

protected:
    void functionByte(uint8_t byte) override;
    uint8_t nextFunctionByte() override;
    void functionReset(int pendingBits) override;

private:
    void copyScratchpad();

    QByteArray m_memory;
    QByteArray m_stuckLow;
    QByteArray m_scratchpad;
    uint16_t m_target = 0;
    uint8_t m_status = 0;

    uint8_t m_command = 0;
    int m_argument = 0;  // bytes received after the command
    uint8_t m_arguments[3] = {};
    int m_writeOffset = 0;
    QByteArray m_sending;  // what a read sends before its trailing filler
    int m_sent = 0;
    uint8_t m_filler = 0xFF;
};
