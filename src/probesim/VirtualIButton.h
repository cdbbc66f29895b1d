#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>
#include <memory>

// One iButton as the simulated probe sees it: the 1-Wire slave state machine of the ROM layer, bit by
// bit, plus the timing with which it answers a reset and a read slot. The ROM-only keys (DS1990A and
// the old DS1990) are this class itself; memory keys add their function commands on top.
class VirtualIButton {
public:
    using Rom = std::array<uint8_t, 8>;

    enum class Kind { Ds1990A, Ds1990, Ds1993, Ds1994 };

    // When, after the end of a reset pulse, the key pulls the line low to show its presence, and for
    // how long.
    struct PresenceTiming {
        double delayUs = 0;
        double lowUs = 0;
    };

    // The key's own side of the ROM commands, from the data sheet and apart from the program's codes on
    // purpose: a wrong code in the program then shows up as a key that does not answer.
    static constexpr uint8_t kReadRom = 0x33;
    static constexpr uint8_t kReadRomOld = 0x0F;
    static constexpr uint8_t kMatchRom = 0x55;
    static constexpr uint8_t kSearchRom = 0xF0;
    static constexpr uint8_t kSkipRom = 0xCC;

    // Data-sheet bounds: the presence pulse starts 15-60 us after the reset and lasts 60-240 us; a 0
    // in a read slot is held 15-60 us from the master's falling edge.
    static constexpr double kPresenceDelayMinUs = 15.0;
    static constexpr double kPresenceLowMinUs = 60.0;
    static constexpr double kReadZeroHoldMinUs = 15.0;
    static constexpr double kReadZeroHoldMaxUs = 60.0;

    // The reset character 0xF0 at 115200/11 bit/s: start bit plus four zero bits low.
    static constexpr double kResetBitsPerSecond = 115200.0 / 11.0;
    static constexpr int kResetLowBits = 5;

    virtual ~VirtualIButton() = default;

    // A key of the given kind. The ROM is used as given, CRC byte included (a bad CRC models a bad key).
    static std::unique_ptr<VirtualIButton> create(Kind kind, const Rom& rom);
    // "ds1993:06A1B2C3D4E5F6" or with the CRC byte "ds1993:06A1B2C3D4E5F6xx": the ROM bytes in the order
    // they travel on the wire, family code first, two hex digits each. Without the CRC byte it is
    // computed. Null with a Dutch message in *error when the text is not understood.
    static std::unique_ptr<VirtualIButton> fromText(const QString& text, QString* error);
    static bool kindFromName(const QString& name, Kind* kind);
    static QString kindName(Kind kind);
    static bool romFromHex(const QString& hex, Rom* rom);
    static QString romToHex(const Rom& rom);
    // Dallas/Maxim CRC-8 over bytes (x^8 + x^5 + x^4 + 1, reflected, start 0).
    // Bit by bit, as the key's own silicon does it, and on purpose apart from the program's table-driven
    // Crc8: a wrong table entry must show up against the simulated keys, not be shared by them.
    static uint8_t crc8(const uint8_t* bytes, int length);
    static Rom romWithCrc(const std::array<uint8_t, 7>& familyAndSerial);

    Kind kind() const { return m_kind; }
    const Rom& rom() const { return m_rom; }

    // The echo of a reset character at the reset rate decides the timing: its low bits after the reset
    // (a single run of them, e.g. 0xE0, 0xC0, 0x90) are the presence pulse. False for other values.
    bool setPresenceEcho(uint8_t echoAtResetRate);
    // What the echo of a reset character at the reset rate looks like with this key alone on the line.
    uint8_t presenceEcho() const;
    // Each 0 sent in a read slot is held for a length drawn from this range.
    void setReadZeroHold(double minUs, double maxUs);

    // Memory keys: the 512 bytes and the scratchpad registers; empty for ROM-only keys.
    virtual QByteArray memory() const { return {}; }
    virtual void setMemory(const QByteArray&) {}
    virtual QByteArray scratchpad() const { return {}; }
    virtual uint8_t endingStatus() const { return 0; }

    // --- The bus side, driven by SimulatedWire. ---
    // Contact made or lost: a key without power forgets where it was in a transaction.
    void powerUp();
    // A reset pulse ended; returns when the key answers with its presence pulse.
    PresenceTiming busReset();
    // Before a slot: false when the key pulls the line low for it (it is sending a 0).
    bool releasesLine() const;
    // How long the key holds a 0 in the coming read slot.
    double nextReadZeroHoldUs();
    // A slot took place; bit is the line as the key sampled it.
    void busSlot(bool bit);

protected:
    VirtualIButton(Kind kind, const Rom& rom);

    // The function layer (after Skip, Match, Search or Read ROM). Each whole byte received, the first
    // being the function command.
    virtual void functionByte(uint8_t byte);
    // The next byte to send while transmitting.
    virtual uint8_t nextFunctionByte() { return 0xFF; }
    // A reset arrived in the function layer, with this many bits of an unfinished byte received.
    virtual void functionReset(int pendingBits) { (void)pendingBits; }
    // Switches the function layer between receiving and sending; sending fetches the first byte.
    void setTransmitting(bool transmitting);
    // Stops listening until the next reset.
    void goIdle();

private:
    enum class Phase { Idle, RomCommand, ReadRom, MatchRom, SearchRom, FunctionReceive, FunctionTransmit };

    bool romBit(int index) const { return (m_rom[index / 8] >> (index % 8)) & 1; }
    void romCommand(uint8_t command);
    void enterFunctionLayer();
    bool answersRomCommand(uint8_t command) const;

    Kind m_kind;
    Rom m_rom;
    PresenceTiming m_presence;
    double m_holdMinUs = 0;
    double m_holdMaxUs = 0;
    uint32_t m_random = 0;

    Phase m_phase = Phase::Idle;
    int m_bitIndex = 0;
    int m_searchStep = 0;
    uint8_t m_byte = 0;
};
