#include "programming/KeyPoller.h"

#include "onewire/Clock.h"
#include "onewire/MemoryKey.h"
#include "onewire/SerialLine.h"

#include <algorithm>

KeyPoller::KeyPoller(DowIo& dow, Purpose purpose) : m_dow(dow), m_purpose(purpose) {}

int KeyPoller::intervalMs() const {
    return m_purpose == Purpose::ProgrammingKey ? kProgrammingKeyTickMs : kKeyCodeTickMs;
}

KeyPoller::Step KeyPoller::poll() {
    Step step;
    step.id = m_purpose == Purpose::ProgrammingKey ? m_dow.identifyProbe() : m_dow.readKeyCode();
    switch (step.id.status) {
        case DowIo::Identification::NotConnected:
            step.outcome = Outcome::NotConnected;
            break;
        case DowIo::Identification::NoKey:
            step.outcome = Outcome::NoKey;
            break;
        case DowIo::Identification::Ok:
            step.outcome = m_purpose == Purpose::ProgrammingKey && !MemoryKey::isProgrammingKey(step.id.family)
                               ? Outcome::WrongFamily
                               : Outcome::Found;
            break;
        case DowIo::Identification::ResetSent:
        case DowIo::Identification::NoResult:
            step.outcome = Outcome::Waiting;
            break;
    }
    return step;
}

KeyPoller::Step KeyPoller::pollTick(int echoWaitMs) {
    const Step step = poll();
    const bool resetSent =
        step.id.status == DowIo::Identification::ResetSent || step.id.status == DowIo::Identification::NoKey;
    if (resetSent && m_dow.line().waitForInput(1, echoWaitMs)) {
        return poll();
    }
    return step;
}

KeyPoller::Step waitForKey(KeyPoller& poller, Clock& clock, int timeoutMs) {
    using std::chrono::milliseconds;
    const Clock::Time start = clock.now();
    const Clock::Time deadline = start + milliseconds(std::max(timeoutMs, 0));
    const Clock::Time interval = milliseconds(poller.intervalMs());
    for (Clock::Time tick = start;; tick += interval) {
        KeyPoller::Step step = poller.poll();
        const bool resetSent =
            step.id.status == DowIo::Identification::ResetSent || step.id.status == DowIo::Identification::NoKey;
        if (resetSent && clock.now() < deadline) {
            const Clock::Time wait = std::min(tick + interval, deadline) - clock.now();
            const auto waitMs = std::chrono::ceil<milliseconds>(wait).count();
            if (waitMs > 0 && poller.dow().line().waitForInput(1, int(waitMs))) {
                step = poller.poll();
            }
        }
        const bool decided = step.outcome == KeyPoller::Outcome::Found ||
                             step.outcome == KeyPoller::Outcome::WrongFamily ||
                             step.outcome == KeyPoller::Outcome::NotConnected;
        if (decided || clock.now() >= deadline) {
            return step;
        }
        clock.sleepUntil(std::min(tick + interval, deadline));
    }
}
