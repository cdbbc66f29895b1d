#pragma once

#include "onewire/SerialLine.h"
#include "onewire/SimulatedClock.h"
#include "onewire/SimulatedWire.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <vector>

// A passive 1-Wire probe with virtual keys behind a serial line, paced like the real thing: a character
// leaves the port after the one before it has gone, at the bit rate in force when it leaves, and its
// echo can be read once its ten bits have passed. A character still queued when the rate changes
// therefore goes out at the new rate, as on a real port. Faults can be set up: an unplugged probe,
// lost echoes, noise, keys touched or pulled at a given character, the latency of a USB adapter.
class SimulatedProbe : public SerialLine {
public:
    static constexpr int kDefaultBaud = 9600;

    // The clock is not owned; without one the probe runs on the steady clock.
    explicit SimulatedProbe(SimulatedClock* clock = nullptr);
    ~SimulatedProbe() override;

    void setPortNumber(int number) override { m_portNumber = number; }
    int portNumber() const override { return m_portNumber; }
    bool open(QString* error) override;
    void close() override;
    bool isOpen() const override { return m_open; }
    int inBufferCount() override;
    void discardInput() override;
    int outBufferCount() override;
    int readChar() override;
    bool write(const QByteArray& run) override;
    bool waitForInput(int count, int timeoutMs) override;
    bool waitForEchoes(int timeoutMs) override;
    bool setBaudRate(int bitsPerSecond) override;
    int baudRate() const override { return m_baud; }

    // Keys on the probe, from the next character that leaves the port on.
    VirtualIButton* insertKey(std::unique_ptr<VirtualIButton> key);
    std::unique_ptr<VirtualIButton> removeKey(const VirtualIButton* key);
    void removeKeys();
    int keyCount() const { return m_wire.keyCount(); }
    VirtualIButton* key(int index) const { return m_wire.key(index); }
    // The same, once exactly this many characters have left the port since the probe was made.
    void insertKeyAfterCharacters(std::unique_ptr<VirtualIButton> key, int64_t characters);
    void removeKeysAfterCharacters(int64_t characters);
    int64_t charactersSent();

    // Faults.
    // Unplugged: open() fails with this text, and an open line takes no more characters.
    void setUnplugged(bool unplugged, const QString& errorText = QStringLiteral("No such file or directory"));
    // Port present but no probe on it: characters leave and nothing comes back.
    void setProbeConnected(bool connected) { m_probeConnected = connected; }
    // A USB-serial adapter holds each write() this long before its first character leaves.
    void setTransferLatencyUs(int64_t latencyUs) { m_latency = std::chrono::microseconds(latencyUs); }
    // Each echo gets one random bit flipped with this probability.
    void setEchoNoise(double probability, uint32_t seed = 1);
    // The echo of the character with this index (from 0, counted like charactersSent()) is XOR-ed.
    void corruptEcho(int64_t characterIndex, uint8_t xorMask);

private:
    using Time = SimulatedClock::Time;

    struct Outgoing {
        uint8_t character;
        Time earliest;
    };
    struct Echo {
        Time due;
        uint8_t value;
    };
    struct KeyEvent {
        int64_t atCharacter;
        std::unique_ptr<VirtualIButton> key;  // null: remove every key
    };

    Time now() const { return m_clock->now(); }
    Time characterTime() const;
    void advance();
    void applyKeyEvents();
    uint8_t applyNoise(uint8_t echo);
    int readyCount() const;
    // When the nth echo not yet read will be readable, if nothing changes; max() when never.
    Time projectedEcho(int n) const;
    bool waitUntil(int count, int timeoutMs);

    std::unique_ptr<SimulatedClock> m_ownClock;
    SimulatedClock* m_clock;
    SimulatedWire m_wire;

    int m_portNumber = 1;
    bool m_open = false;
    bool m_unplugged = false;
    QString m_unpluggedText;
    bool m_probeConnected = true;
    int m_baud = kDefaultBaud;
    Time m_latency{0};

    std::deque<Outgoing> m_out;
    std::deque<Echo> m_echoes;
    Time m_lineFreeAt{0};
    int64_t m_sent = 0;
    int64_t m_lostSinceOpen = 0;  // characters that left without an echo

    std::vector<KeyEvent> m_keyEvents;
    double m_noiseProbability = 0;
    std::mt19937 m_noise;
    std::vector<std::pair<int64_t, uint8_t>> m_corruptions;
};
