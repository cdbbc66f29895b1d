#pragma once

#include "onewire/DowIo.h"

class Clock;

// Waiting for a key on the probe, one identification per timer tick: the probe window's Timer2 waits for
// a programming key (Read ROM 0x33 only), the key-holder window's Timer1 for any key's code (0x33 and
// 0x0F in turn). A tick never waits longer than the echoes of one run; a reset sent in one tick is
// answered in the next.
class KeyPoller {
public:
    enum class Purpose { ProgrammingKey, KeyCode };
    static constexpr int kProgrammingKeyTickMs = 100;  // Timer2
    static constexpr int kKeyCodeTickMs = 250;         // Timer1
    // A reset's echo is back within about a millisecond; USB-serial adapters may hold it for up to 16 ms.
    static constexpr int kEchoWaitMs = 20;

    enum class Outcome {
        Waiting,       // a reset went out, or a ROM read gave no result: poll again
        NotConnected,  // the line is closed
        NoKey,         // the reset's echo says nothing touches the probe
        Found,         // a key answered with a good ROM
        WrongFamily,   // found, but not a DS1993 or DS1994 (ProgrammingKey only)
    };
    struct Step {
        Outcome outcome = Outcome::Waiting;
        DowIo::Identification id;
    };

    KeyPoller(DowIo& dow, Purpose purpose);

    Step poll();
    // A window's tick: one poll and, when that sent a reset, one more as soon as the reset's echo is in
    // (at most echoWaitMs), so a key touched between two ticks is read in the next tick, not the one
    // after it.
    Step pollTick(int echoWaitMs = kEchoWaitMs);
    int intervalMs() const;
    Purpose purpose() const { return m_purpose; }
    DowIo& dow() { return m_dow; }

private:
    DowIo& m_dow;
    Purpose m_purpose;
};

// The tools' blocking wait. Polls at once and then once every intervalMs on clock until a key answers,
// timeoutMs has passed, or the line is found closed (nothing in here opens it again). A tick that sent a
// reset is followed by one more step as soon as that reset's echo is in, so a key already on the probe
// is read within a millisecond or two rather than a tick later. The last step is returned.
KeyPoller::Step waitForKey(KeyPoller& poller, Clock& clock, int timeoutMs);
