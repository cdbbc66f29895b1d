#pragma once

#include "probesim/VirtualIButton.h"

#include <cstdint>
#include <memory>
#include <vector>

// The probe's 1-Wire line: the UART's TX pulls it low, so does any key on it, and RX reads it back.
// One character goes in with the bit rate it travels at; every low stretch of TX in it is one pulse for
// the keys (a reset or a slot, by its length), and what comes back is the line sampled in the middle of
// each data bit, as a UART does.
class SimulatedWire {
public:
    // How a slave tells the master's low pulses apart (1-Wire data sheets: a master's 1 or read slot is
    // low 1-15 us, a 0 is 60-120 us, a reset 480 us or more). The reset character 0xF0 at 115200/11
    // bit/s is only 477 us low, and keys take it as a reset, so a slave counts anything from 240 us on
    // as a reset; 120-240 us is no valid pulse at all and counts as a 0 here.
    static constexpr double kWriteOneMaxUs = 15.0;
    static constexpr double kWriteZeroMaxUs = 120.0;
    static constexpr double kResetMinUs = 2 * kWriteZeroMaxUs;

    enum class Pulse { OneOrRead, Zero, Reset };
    static Pulse classify(double lowUs);

    static constexpr int kBitsPerCharacter = 10;  // start, 8 data, stop
    static double characterUs(double bitsPerSecond) { return kBitsPerCharacter * 1e6 / bitsPerSecond; }

    // Keys on the line; a key put on the line starts unpowered, waiting for a reset.
    VirtualIButton* attach(std::unique_ptr<VirtualIButton> key);
    std::unique_ptr<VirtualIButton> detach(const VirtualIButton* key);
    void detachAll() { m_keys.clear(); }
    int keyCount() const { return int(m_keys.size()); }
    VirtualIButton* key(int index) const { return m_keys.at(index).get(); }

    // Sends one character at the given rate; returns its echo.
    uint8_t transmit(uint8_t character, double bitsPerSecond);

private:
    std::vector<std::unique_ptr<VirtualIButton>> m_keys;
};
