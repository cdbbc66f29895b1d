#include "probesim/PacedLine.h"

#include "probesim/SimulatedWire.h"

#include <algorithm>

PacedLine::Time PacedLine::characterTime(int bitsPerSecond) {
    return Time(int64_t(SimulatedWire::characterUs(bitsPerSecond) * 1000.0 + 0.5));
}

void PacedLine::queue(const QByteArray& run, Time earliest) {
    for (char c : run) {
        m_out.push_back({uint8_t(c), earliest});
    }
}

void PacedLine::advance(Time now, int bitsPerSecond, const Transmit& transmit) {
    while (!m_out.empty()) {
        const Time start = std::max(m_lineFreeAt, m_out.front().earliest);
        if (start > now) {
            break;
        }
        const uint8_t character = m_out.front().character;
        m_out.pop_front();
        m_lineFreeAt = start + characterTime(bitsPerSecond);
        if (const std::optional<uint8_t> echo = transmit(character, bitsPerSecond)) {
            m_echoes.push_back({m_lineFreeAt, *echo});
        }
    }
}

int PacedLine::readyCount(Time now) const {
    int count = 0;
    for (const Echo& echo : m_echoes) {
        if (echo.due > now) {
            break;
        }
        ++count;
    }
    return count;
}

int PacedLine::takeEcho(Time now) {
    if (m_echoes.empty() || m_echoes.front().due > now) {
        return -1;
    }
    const int value = m_echoes.front().value;
    m_echoes.pop_front();
    return value;
}

void PacedLine::dropReady(Time now) {
    while (!m_echoes.empty() && m_echoes.front().due <= now) {
        m_echoes.pop_front();
    }
}

PacedLine::Time PacedLine::projectedEcho(int n, int bitsPerSecond) const {
    if (n <= 0) {
        return Time::min();
    }
    if (n <= echoCount()) {
        return m_echoes[n - 1].due;
    }
    const int index = n - echoCount() - 1;
    if (index >= queuedCount()) {
        return Time::max();
    }
    Time free = m_lineFreeAt;
    for (int i = 0; i <= index; ++i) {
        free = std::max(free, m_out[i].earliest) + characterTime(bitsPerSecond);
    }
    return free;
}

PacedLine::Time PacedLine::nextEvent() const {
    Time next = m_echoes.empty() ? Time::max() : m_echoes.front().due;
    if (!m_out.empty()) {
        next = std::min(next, std::max(m_lineFreeAt, m_out.front().earliest));
    }
    return next;
}

void PacedLine::clear() {
    m_out.clear();
    m_echoes.clear();
}
