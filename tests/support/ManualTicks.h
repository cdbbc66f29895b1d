#include <QCoreApplication>
#include <chrono>
#include <functional>
#include <map>

#include "onewire/Clock.h"
#include "screens/Ticker.h"

// Window timers on a manual clock: a Ticker armed here fires when the clock is moved past its due time,
// so a test steps through polling ticks and closing delays without waiting for them.
class ManualTicks : public TickSource {
public:
    using Time = Clock::Time;

    // On a clock of its own, or on the clock the simulated probe runs on.
    ManualTicks() : m_clock(m_ownClock) {}
    explicit ManualTicks(ManualClock& clock) : m_clock(clock) {}

    void arm(Ticker* ticker) override { m_due[ticker] = m_clock.now() + std::chrono::milliseconds(ticker->interval()); }
    void disarm(Ticker* ticker) override { m_due.erase(ticker); }

    ManualClock& clock() { return m_clock; }
    bool armed(const Ticker* ticker) const { return m_due.count(const_cast<Ticker*>(ticker)) > 0; }
    int armedCount() const { return int(m_due.size()); }
    void advance(int ms) { advance(std::chrono::milliseconds(ms)); }

    // Moves the clock on by `by`, firing every ticker that comes due on the way in time order; a tick may
    // move the clock itself (the simulated probe's waits do). Events posted by the ticks are delivered.
    void advance(Time by) {
        const Time target = m_clock.now() + by;
        for (;;) {
            auto next = m_due.end();
            for (auto it = m_due.begin(); it != m_due.end(); ++it) {
                if (it->second <= target && (next == m_due.end() || it->second < next->second)) {
                    next = it;
                }
            }
            if (next == m_due.end()) {
                break;
            }
            Ticker* ticker = next->first;
            const Time due = next->second;
            m_clock.sleepUntil(due);
            next->second = due + std::chrono::milliseconds(ticker->interval());
            ticker->fire();
            // Late after a long tick, like a real timer: once, not once for every period missed.
            auto still = m_due.find(ticker);
            if (still != m_due.end() && still->second < m_clock.now()) {
                still->second = m_clock.now();
            }
            QCoreApplication::processEvents();
        }
        m_clock.sleepUntil(target);
        QCoreApplication::processEvents();
    }

    // Advances in steps of `step` until done() holds or `limit` has passed; whether done() held.
    bool advanceUntil(const std::function<bool()>& done, Time limit, Time step = std::chrono::milliseconds(10)) {
        const Time end = m_clock.now() + limit;
        while (!done()) {
            if (m_clock.now() >= end) {
                return false;
            }
            advance(step);
        }
        return true;
    }

private:
    ManualClock m_ownClock;
    ManualClock& m_clock;
    std::map<Ticker*, Time> m_due;
};
