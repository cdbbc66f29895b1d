#pragma once

#include <chrono>

// Time for the simulated probe. The steady clock paces echoes in real time; tests may hand the probe a
// manual clock, whose waits move time forward at once.
class SimulatedClock {
public:
    using Time = std::chrono::nanoseconds;

    virtual ~SimulatedClock() = default;
    virtual Time now() const = 0;
    virtual void sleepUntil(Time when) = 0;
};

class SteadySimulatedClock : public SimulatedClock {
public:
    Time now() const override;
    void sleepUntil(Time when) override;
};

class ManualSimulatedClock : public SimulatedClock {
public:
    Time now() const override { return m_now; }
    void sleepUntil(Time when) override;
    void advance(Time by) { m_now += by; }

private:
    Time m_now{0};
};
