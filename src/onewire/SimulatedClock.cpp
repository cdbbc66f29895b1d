#include "onewire/SimulatedClock.h"

#include <thread>

SimulatedClock::Time SteadySimulatedClock::now() const {
    return std::chrono::duration_cast<Time>(std::chrono::steady_clock::now().time_since_epoch());
}

void SteadySimulatedClock::sleepUntil(Time when) {
    std::this_thread::sleep_until(
        std::chrono::steady_clock::time_point(std::chrono::duration_cast<std::chrono::steady_clock::duration>(when)));
}

void ManualSimulatedClock::sleepUntil(Time when) {
    if (when > m_now) {
        m_now = when;
    }
}
