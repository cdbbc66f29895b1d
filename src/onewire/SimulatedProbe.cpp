#include "onewire/SimulatedProbe.h"

#include <algorithm>

SimulatedProbe::SimulatedProbe(SimulatedClock* clock) : m_clock(clock) {
    if (!m_clock) {
        m_ownClock = std::make_unique<SteadySimulatedClock>();
        m_clock = m_ownClock.get();
    }
}

SimulatedProbe::~SimulatedProbe() = default;

bool SimulatedProbe::open(QString* error) {
    if (m_unplugged) {
        if (error) {
            *error = m_unpluggedText;
        }
        return false;
    }
    m_open = true;
    m_lostSinceOpen = 0;
    return true;
}

void SimulatedProbe::close() {
    advance();
    m_open = false;
    m_out.clear();
    m_echoes.clear();
}

SimulatedProbe::Time SimulatedProbe::characterTime() const {
    return Time(int64_t(SimulatedWire::characterUs(m_baud) * 1000.0 + 0.5));
}

void SimulatedProbe::advance() {
    const Time current = now();
    while (!m_out.empty()) {
        const Time start = std::max(m_lineFreeAt, m_out.front().earliest);
        if (start > current) {
            break;
        }
        applyKeyEvents();
        const uint8_t echo = applyNoise(m_wire.transmit(m_out.front().character, m_baud));
        m_lineFreeAt = start + characterTime();
        if (m_probeConnected) {
            m_echoes.push_back({m_lineFreeAt, echo});
        } else {
            ++m_lostSinceOpen;
        }
        m_out.pop_front();
        ++m_sent;
    }
    applyKeyEvents();
}

void SimulatedProbe::applyKeyEvents() {
    for (auto it = m_keyEvents.begin(); it != m_keyEvents.end();) {
        if (it->atCharacter > m_sent) {
            ++it;
            continue;
        }
        if (it->key) {
            m_wire.attach(std::move(it->key));
        } else {
            m_wire.detachAll();
        }
        it = m_keyEvents.erase(it);
    }
}

uint8_t SimulatedProbe::applyNoise(uint8_t echo) {
    for (auto it = m_corruptions.begin(); it != m_corruptions.end();) {
        if (it->first == m_sent) {
            echo ^= it->second;
            it = m_corruptions.erase(it);
        } else {
            ++it;
        }
    }
    if (m_noiseProbability > 0 && std::uniform_real_distribution<double>(0, 1)(m_noise) < m_noiseProbability) {
        echo ^= uint8_t(1u << (m_noise() % 8));
    }
    return echo;
}

int SimulatedProbe::readyCount() const {
    const Time current = now();
    int count = 0;
    for (const Echo& echo : m_echoes) {
        if (echo.due > current) {
            break;
        }
        ++count;
    }
    return count;
}

int SimulatedProbe::inBufferCount() {
    advance();
    return readyCount();
}

void SimulatedProbe::discardInput() {
    advance();
    for (int ready = readyCount(); ready > 0; --ready) {
        m_echoes.pop_front();
    }
}

int SimulatedProbe::outBufferCount() {
    advance();
    return int(m_out.size());
}

int SimulatedProbe::readChar() {
    advance();
    if (m_echoes.empty() || m_echoes.front().due > now()) {
        return -1;
    }
    const int value = m_echoes.front().value;
    m_echoes.pop_front();
    return value;
}

bool SimulatedProbe::write(const QByteArray& run) {
    if (!m_open || m_unplugged) {
        return false;
    }
    advance();
    const Time earliest = now() + m_latency;
    for (char c : run) {
        m_out.push_back({uint8_t(c), earliest});
    }
    advance();
    return true;
}

SimulatedProbe::Time SimulatedProbe::projectedEcho(int n) const {
    if (n <= 0) {
        return Time::min();
    }
    if (n <= int(m_echoes.size())) {
        return m_echoes[n - 1].due;
    }
    if (!m_probeConnected || n > int(m_echoes.size() + m_out.size())) {
        return Time::max();
    }
    Time free = m_lineFreeAt;
    const int index = n - int(m_echoes.size()) - 1;
    for (int i = 0; i <= index; ++i) {
        free = std::max(free, m_out[i].earliest) + characterTime();
    }
    return free;
}

bool SimulatedProbe::waitUntil(int count, int timeoutMs) {
    const Time deadline = now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    for (;;) {
        advance();
        if (readyCount() >= count) {
            return true;
        }
        const Time due = projectedEcho(count);
        if (due > deadline) {
            m_clock->sleepUntil(deadline);
            advance();
            return readyCount() >= count;
        }
        m_clock->sleepUntil(due);
    }
}

bool SimulatedProbe::waitForInput(int count, int timeoutMs) {
    if (!m_open) {
        return false;
    }
    return waitUntil(count, timeoutMs);
}

bool SimulatedProbe::waitForEchoes(int timeoutMs) {
    if (!m_open) {
        return false;
    }
    advance();
    if (m_lostSinceOpen > 0 || (!m_probeConnected && !m_out.empty())) {
        m_clock->sleepUntil(now() + std::chrono::milliseconds(std::max(timeoutMs, 0)));
        return false;
    }
    return waitUntil(int(m_echoes.size() + m_out.size()), timeoutMs);
}

bool SimulatedProbe::setBaudRate(int bitsPerSecond) {
    if (bitsPerSecond <= 0) {
        return false;
    }
    advance();
    m_baud = bitsPerSecond;
    return true;
}

VirtualIButton* SimulatedProbe::insertKey(std::unique_ptr<VirtualIButton> key) {
    advance();
    return m_wire.attach(std::move(key));
}

std::unique_ptr<VirtualIButton> SimulatedProbe::removeKey(const VirtualIButton* key) {
    advance();
    return m_wire.detach(key);
}

void SimulatedProbe::removeKeys() {
    advance();
    m_wire.detachAll();
}

void SimulatedProbe::insertKeyAfterCharacters(std::unique_ptr<VirtualIButton> key, int64_t characters) {
    m_keyEvents.push_back({characters, std::move(key)});
}

void SimulatedProbe::removeKeysAfterCharacters(int64_t characters) {
    m_keyEvents.push_back({characters, nullptr});
}

int64_t SimulatedProbe::charactersSent() {
    advance();
    return m_sent;
}

void SimulatedProbe::setUnplugged(bool unplugged, const QString& errorText) {
    advance();
    m_unplugged = unplugged;
    m_unpluggedText = errorText;
    if (unplugged) {
        m_out.clear();
    }
}

void SimulatedProbe::setEchoNoise(double probability, uint32_t seed) {
    m_noiseProbability = probability;
    m_noise.seed(seed);
}

void SimulatedProbe::corruptEcho(int64_t characterIndex, uint8_t xorMask) {
    m_corruptions.emplace_back(characterIndex, xorMask);
}
