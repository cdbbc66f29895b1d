#include "probesim/SimulatedProbe.h"

#include <algorithm>

SimulatedProbe::SimulatedProbe(Clock& clock) : m_clock(clock) {}

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
    m_paced.clear();
}

void SimulatedProbe::advance() {
    m_paced.advance(now(), m_baud,
                    [this](uint8_t character, int bitsPerSecond) { return transmit(character, bitsPerSecond); });
    applyKeyEvents();
}

std::optional<uint8_t> SimulatedProbe::transmit(uint8_t character, int bitsPerSecond) {
    applyKeyEvents();
    const uint8_t echo = applyNoise(character, applyCorruption(m_wire.transmit(character, bitsPerSecond)));
    ++m_sent;
    if (!m_probeConnected) {
        ++m_lostSinceOpen;
        return std::nullopt;
    }
    return echo;
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

uint8_t SimulatedProbe::applyCorruption(uint8_t echo) {
    for (auto it = m_corruptions.begin(); it != m_corruptions.end();) {
        if (it->first == m_sent) {
            echo ^= it->second;
            it = m_corruptions.erase(it);
        } else {
            ++it;
        }
    }
    return echo;
}

uint8_t SimulatedProbe::applyNoise(uint8_t character, uint8_t echo) {
    if (m_noiseRate <= 0 || character != 0xFF) {
        return echo;
    }
    auto next = [this] {
        m_noiseState ^= m_noiseState << 13;
        m_noiseState ^= m_noiseState >> 17;
        m_noiseState ^= m_noiseState << 5;
        return m_noiseState;
    };
    if (next() / 4294967296.0 >= m_noiseRate) {
        return echo;
    }
    ++m_noisyEchoes;
    return uint8_t(echo & ~(1u << (next() % 8)));
}

int SimulatedProbe::inBufferCount() {
    advance();
    return m_paced.readyCount(now());
}

void SimulatedProbe::discardInput() {
    advance();
    m_paced.dropReady(now());
}

int SimulatedProbe::outBufferCount() {
    advance();
    return m_paced.queuedCount();
}

int SimulatedProbe::readChar() {
    advance();
    return m_paced.takeEcho(now());
}

bool SimulatedProbe::write(const QByteArray& run) {
    if (!m_open || m_unplugged) {
        return false;
    }
    advance();
    m_paced.queue(run, now() + m_latency);
    advance();
    return true;
}

bool SimulatedProbe::waitUntil(int count, int timeoutMs) {
    const Time deadline = now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    for (;;) {
        advance();
        if (m_paced.readyCount(now()) >= count) {
            return true;
        }
        const bool lost = !m_probeConnected && count > m_paced.echoCount();
        const Time due = lost ? Time::max() : m_paced.projectedEcho(count, m_baud);
        if (due > deadline) {
            m_clock.sleepUntil(deadline);
            advance();
            return m_paced.readyCount(now()) >= count;
        }
        m_clock.sleepUntil(due);
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
    if (m_lostSinceOpen > 0 || (!m_probeConnected && m_paced.queuedCount() > 0)) {
        m_clock.sleepUntil(now() + std::chrono::milliseconds(std::max(timeoutMs, 0)));
        return false;
    }
    return waitUntil(m_paced.echoCount() + m_paced.queuedCount(), timeoutMs);
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
        m_paced.clearQueue();
    }
}

void SimulatedProbe::corruptEcho(int64_t characterIndex, uint8_t xorMask) {
    m_corruptions.emplace_back(characterIndex, xorMask);
}

void SimulatedProbe::setEchoNoise(double rate, uint32_t seed) {
    m_noiseRate = rate;
    m_noiseState = seed ? seed : 1;
}
