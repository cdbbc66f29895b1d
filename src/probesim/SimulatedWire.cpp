#include "probesim/SimulatedWire.h"

#include <algorithm>

namespace {

struct Interval {
    double fromUs;
    double toUs;
};

}  // namespace

SimulatedWire::Pulse SimulatedWire::classify(double lowUs) {
    if (lowUs < kWriteOneMaxUs) {
        return Pulse::OneOrRead;
    }
    return lowUs < kResetMinUs ? Pulse::Zero : Pulse::Reset;
}

VirtualIButton* SimulatedWire::attach(std::unique_ptr<VirtualIButton> key) {
    key->powerUp();
    m_keys.push_back(std::move(key));
    return m_keys.back().get();
}

std::unique_ptr<VirtualIButton> SimulatedWire::detach(const VirtualIButton* key) {
    const auto it = std::find_if(m_keys.begin(), m_keys.end(), [key](const auto& k) { return k.get() == key; });
    if (it == m_keys.end()) {
        return nullptr;
    }
    std::unique_ptr<VirtualIButton> taken = std::move(*it);
    m_keys.erase(it);
    taken->powerUp();
    return taken;
}

uint8_t SimulatedWire::transmit(uint8_t character, double bitsPerSecond) {
    const double bitUs = 1e6 / bitsPerSecond;
    // Bit i of the frame: 0 start (low), 1..8 data LSB first, 9 stop (high).
    auto txLow = [character](int i) { return i == 0 || (i <= 8 && !((character >> (i - 1)) & 1)); };

    std::vector<Interval> low;
    for (int i = 0; i < kBitsPerCharacter;) {
        if (!txLow(i)) {
            ++i;
            continue;
        }
        int end = i;
        while (end < kBitsPerCharacter && txLow(end)) {
            ++end;
        }
        const Interval pulse{i * bitUs, end * bitUs};
        low.push_back(pulse);
        const Pulse kind = classify(pulse.toUs - pulse.fromUs);
        if (kind == Pulse::Reset) {
            for (const auto& key : m_keys) {
                const VirtualIButton::PresenceTiming presence = key->busReset();
                const double fromUs = pulse.toUs + presence.delayUs;
                low.push_back({fromUs, fromUs + presence.lowUs});
            }
        } else {
            bool bit = kind == Pulse::OneOrRead;
            for (const auto& key : m_keys) {
                if (!key->releasesLine()) {
                    bit = false;
                    low.push_back({pulse.fromUs, pulse.fromUs + key->nextReadZeroHoldUs()});
                }
            }
            for (const auto& key : m_keys) {
                key->busSlot(bit);
            }
        }
        i = end;
    }

    uint8_t echo = 0;
    for (int bit = 0; bit < 8; ++bit) {
        const double sampleUs = (bit + 1.5) * bitUs;
        const bool isLow = std::any_of(low.begin(), low.end(), [sampleUs](const Interval& interval) {
            return sampleUs >= interval.fromUs && sampleUs < interval.toUs;
        });
        if (!isLow) {
            echo |= uint8_t(1 << bit);
        }
    }
    return echo;
}
