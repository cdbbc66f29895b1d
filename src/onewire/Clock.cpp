#include "onewire/Clock.h"

#include <thread>

namespace {

class SteadyClock : public Clock {
public:
    Time now() const override {
        return std::chrono::duration_cast<Time>(std::chrono::steady_clock::now().time_since_epoch());
    }
    void sleepUntil(Time when) override {
        std::this_thread::sleep_until(std::chrono::steady_clock::time_point(
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(when)));
    }
};

}  // namespace

Clock& Clock::steady() {
    static SteadyClock clock;
    return clock;
}

void ManualClock::sleepUntil(Time when) {
    if (when > m_now) {
        moveTo(when);
    }
}

void ManualClock::advance(Time by) {
    if (by > Time::zero()) {
        moveTo(m_now + by);
    }
}

void ManualClock::moveTo(Time when) {
    m_now = when;
    if (!onAdvance || m_inHook) {
        return;
    }
    m_inHook = true;
    onAdvance(m_now);
    m_inHook = false;
}
