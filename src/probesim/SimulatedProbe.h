#pragma once

#include "onewire/Clock.h"
#include "onewire/SerialLine.h"
#include "probesim/PacedLine.h"
#include "probesim/SimulatedWire.h"

#include <cstdint>
#include <memory>
#include <vector>

// A passive 1-Wire probe with virtual keys behind a serial line, its characters paced like a real port's
// (see PacedLine). Faults can be set up: an unplugged probe, a port without a probe, flipped echoes, keys
// touched or pulled at a given character, the latency of a USB adapter.
class SimulatedProbe : public SerialLine {
public:
    static constexpr int kDefaultBaud = 9600;

    // The clock is not owned; waits on the line move it (a ManualClock) or sleep (the steady clock).
    explicit SimulatedProbe(Clock& clock = Clock::steady());
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
    // The echo of the character with this index (from 0, counted like charactersSent()) is XOR-ed.
    void corruptEcho(int64_t characterIndex, uint8_t xorMask);
    // Noise on the line as the master sees it: at this rate (0 to 1) the echo of a 1-slot comes back
    // with one bit low, so a read slot reads 0. The keys still see the slots as they were sent. The
    // same seed gives the same noise.
    void setEchoNoise(double rate, uint32_t seed = 1);
    // 1-slot echoes the noise has spoilt so far.
    int64_t noisyEchoes() const { return m_noisyEchoes; }

private:
    using Time = Clock::Time;

    struct KeyEvent {
        int64_t atCharacter;
        std::unique_ptr<VirtualIButton> key;  // null: remove every key
    };

    Time now() const { return m_clock.now(); }
    void advance();
    std::optional<uint8_t> transmit(uint8_t character, int bitsPerSecond);
    void applyKeyEvents();
    uint8_t applyCorruption(uint8_t echo);
    uint8_t applyNoise(uint8_t character, uint8_t echo);
    bool waitUntil(int count, int timeoutMs);

    Clock& m_clock;
    SimulatedWire m_wire;
    PacedLine m_paced;

    int m_portNumber = 1;
    bool m_open = false;
    bool m_unplugged = false;
    QString m_unpluggedText;
    bool m_probeConnected = true;
    int m_baud = kDefaultBaud;
    Time m_latency{0};

    int64_t m_sent = 0;
    int64_t m_lostSinceOpen = 0;  // characters that left without an echo

    std::vector<KeyEvent> m_keyEvents;
    std::vector<std::pair<int64_t, uint8_t>> m_corruptions;
    double m_noiseRate = 0;
    uint32_t m_noiseState = 1;
    int64_t m_noisyEchoes = 0;
};
