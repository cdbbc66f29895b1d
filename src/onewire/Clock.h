#pragma once

#include <chrono>
#include <functional>

// Time for the bounded waits of the 1-Wire layer and for the simulated probe's pacing. The program runs
// on the steady clock; tests hand in a ManualClock, so that no test waits through a real time-out.
class Clock {
public:
    using Time = std::chrono::nanoseconds;

    virtual ~Clock() = default;
    virtual Time now() const = 0;
    virtual void sleepUntil(Time when) = 0;

    // The process's monotonic clock, shared.
    static Clock& steady();
};

// Time that moves only when told to: a wait moves it to its end at once.
class ManualClock : public Clock {
public:
    Time now() const override { return m_now; }
    void sleepUntil(Time when) override;
    void advance(Time by);

    // Called with the new time whenever time has moved, e.g. to fire the window timers that have come due.
    // A move made from inside the hook does not call it again; the hook sees the time it ends up at.
    std::function<void(Time)> onAdvance;

private:
    void moveTo(Time when);

    Time m_now{0};
    bool m_inHook = false;
};
