#pragma once

#include "onewire/Clock.h"

#include <QByteArray>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

// A serial line to a passive probe, paced like a real port: a character leaves once the one before it
// has gone and not before its write lets it, at the bit rate in force when it leaves, and its echo can be
// read once its ten bits have passed. A character still queued when the rate changes therefore goes
// out at the new rate. The in-process probe and the probe on a pseudo-terminal both run on this one.
class PacedLine {
public:
    using Time = Clock::Time;
    // One character on the wire at a rate: its echo, or nothing when no echo comes back.
    using Transmit = std::function<std::optional<uint8_t>(uint8_t character, int bitsPerSecond)>;

    static Time characterTime(int bitsPerSecond);

    // A run whose characters may leave from `earliest` on.
    void queue(const QByteArray& run, Time earliest);
    // Sends every queued character due to leave by `now`, at bitsPerSecond.
    void advance(Time now, int bitsPerSecond, const Transmit& transmit);

    int queuedCount() const { return int(m_out.size()); }
    // Echoes not yet taken, due or not.
    int echoCount() const { return int(m_echoes.size()); }
    int readyCount(Time now) const;
    // The first echo, taken out, when it is due by `now`; -1 otherwise.
    int takeEcho(Time now);
    void dropReady(Time now);

    // When the nth echo not yet taken will be due if the rate stays and every queued character echoes;
    // max() when fewer than n are made or queued.
    Time projectedEcho(int n, int bitsPerSecond) const;
    // When something next happens: an echo comes due or a character may leave; max() when idle.
    Time nextEvent() const;

    void clearQueue() { m_out.clear(); }
    void clear();

private:
    struct Outgoing {
        uint8_t character;
        Time earliest;
    };
    struct Echo {
        Time due;
        uint8_t value;
    };

    std::deque<Outgoing> m_out;
    std::deque<Echo> m_echoes;
    Time m_lineFreeAt{0};
};
