// Times a full programming-key write (16 pages), its read-back and a ROM read through the simulated
// probe, which paces every character like a real port, and sets each against the least time the
// characters actually sent need on the wire. Then the same with the latency of a USB-serial adapter.
// Last, whole writes and checks with echo noise on the line, on the simulated clock: how often the
// first read-back differed (each of those was "Controle mislukt" before pages were read again), how
// often the check said OK, how many pages were read again, and the time on the wire.

#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"
#include "onewire/ProbeStack.h"
#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButton.h"
#include "programming/KeyPoller.h"
#include "programming/KeyWriter.h"
#include "programming/ProgrammingImage.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

constexpr double kBitsPerCharacter = 10.0;  // start, 8 data, stop
constexpr int kSlotBaud = 115200;

// Passes everything through and counts what leaves, per bit rate.
class CountingLine : public SerialLine {
public:
    explicit CountingLine(SerialLine& inner) : m_inner(inner) {}

    void setPortNumber(int number) override { m_inner.setPortNumber(number); }
    int portNumber() const override { return m_inner.portNumber(); }
    bool open(QString* error) override { return m_inner.open(error); }
    void close() override { m_inner.close(); }
    bool isOpen() const override { return m_inner.isOpen(); }
    int inBufferCount() override { return m_inner.inBufferCount(); }
    void discardInput() override { m_inner.discardInput(); }
    int outBufferCount() override { return m_inner.outBufferCount(); }
    int readChar() override { return m_inner.readChar(); }
    bool write(const QByteArray& run) override {
        ++m_transfers;
        if (m_inner.baudRate() >= kSlotBaud) {
            m_fastChars += run.size();
        } else {
            m_slowChars += run.size();
            m_slowSeconds += run.size() * kBitsPerCharacter / m_inner.baudRate();
        }
        return m_inner.write(run);
    }
    bool waitForInput(int count, int timeoutMs) override { return m_inner.waitForInput(count, timeoutMs); }
    bool waitForEchoes(int timeoutMs) override { return m_inner.waitForEchoes(timeoutMs); }
    bool setBaudRate(int bitsPerSecond) override {
        ++m_rateChanges;
        return m_inner.setBaudRate(bitsPerSecond);
    }
    int baudRate() const override { return m_inner.baudRate(); }

    void reset() { *this = CountingLine(m_inner); }
    double wireSeconds() const { return m_slowSeconds + m_fastChars * kBitsPerCharacter / kSlotBaud; }

    int64_t m_transfers = 0;
    int64_t m_rateChanges = 0;
    int64_t m_slowChars = 0;
    int64_t m_fastChars = 0;
    double m_slowSeconds = 0;

private:
    CountingLine& operator=(const CountingLine& other) {
        m_transfers = other.m_transfers;
        m_rateChanges = other.m_rateChanges;
        m_slowChars = other.m_slowChars;
        m_fastChars = other.m_fastChars;
        m_slowSeconds = other.m_slowSeconds;
        return *this;
    }
    SerialLine& m_inner;
};

void report(const char* what, double seconds, const CountingLine& line, bool ok) {
    const double wire = line.wireSeconds();
    std::printf(
        "  %-22s %8.3f s  wire %7.3f s  ratio %5.2f  (%lld resets, %lld slots, %lld transfers, %lld rate "
        "changes)%s\n",
        what, seconds, wire, wire > 0 ? seconds / wire : 0.0, static_cast<long long>(line.m_slowChars),
        static_cast<long long>(line.m_fastChars), static_cast<long long>(line.m_transfers),
        static_cast<long long>(line.m_rateChanges), ok ? "" : "  FAILED");
}

double timed(const std::function<void()>& work) {
    QElapsedTimer clock;
    clock.start();
    work();
    return clock.nsecsElapsed() / 1e9;
}

void runAt(int64_t latencyUs) {
    SimulatedProbe probe;
    probe.setTransferLatencyUs(latencyUs);
    QString error;
    auto key = VirtualIButton::fromText(QStringLiteral("ds1993:06A1B2C3D4E5F6"), &error);
    probe.insertKey(std::move(key));
    auto counting = std::make_unique<CountingLine>(probe);
    CountingLine& line = *counting;
    ProbeStack stack(std::move(counting));
    DowIo& dow = stack.dowIo();
    line.setPortNumber(1);
    if (!line.open(&error)) {
        std::printf("cannot open the simulated probe: %s\n", qPrintable(error));
        return;
    }
    std::printf("latency per transfer %lld ms\n", static_cast<long long>(latencyUs / 1000));

    QByteArray text;
    for (int i = 0; i < 512; ++i) {
        text += QByteArray::number((i * 37 + 5) & 0xFF, 16).rightJustified(2, '0');
    }
    QByteArray memory;
    ProgrammingImage::parse(text, &memory, &error);

    // The tools' wait for a key already on the probe: the reset, and the ROM read once its echo is in.
    line.reset();
    KeyPoller::Step step;
    const double romSeconds = timed([&] {
        KeyPoller poller(dow, KeyPoller::Purpose::KeyCode);
        step = waitForKey(poller, Clock::steady(), 1000);
    });
    report("ROM read", romSeconds, line, step.outcome == KeyPoller::Outcome::Found);

    KeyWriter writer(dow);
    line.reset();
    bool allPages = true;
    const double writeSeconds = timed([&] {
        for (int page = 1; page <= MemoryKey::kPageCount; ++page) {
            allPages =
                dow.writePage(page, memory.mid((page - 1) * MemoryKey::kPageSize, MemoryKey::kPageSize)).ok && allPages;
        }
    });
    report("image write, 16 pages", writeSeconds, line, allPages);

    line.reset();
    KeyWriter::Result checked;
    const double checkSeconds = timed([&] { checked = writer.check(memory); });
    report("read-back (512 bytes)", checkSeconds, line, checked.checkOk());
}

void noiseRuns(double rate, int runs) {
    int firstDiffered = 0;
    int checkedOk = 0;
    int keyHoldsImage = 0;
    int64_t rereads = 0;
    int64_t spoilt = 0;
    double seconds = 0;
    double slowest = 0;
    for (int run = 0; run < runs; ++run) {
        ManualClock clock;
        auto owned = std::make_unique<SimulatedProbe>(clock);
        SimulatedProbe& probe = *owned;
        ProbeStack stack(std::move(owned), clock);
        QString error;
        VirtualIButton* key =
            probe.insertKey(VirtualIButton::fromText(QStringLiteral("ds1993:06A1B2C3D4E5F6"), &error));
        probe.setEchoNoise(rate, uint32_t(run + 1));
        probe.open(&error);
        stack.dowIo().selectBase();
        QByteArray memory(MemoryKey::kMemorySize, '\0');
        for (int i = 0; i < memory.size(); ++i) {
            memory[i] = char((i * 37 + 5) & 0xFF);
        }
        const KeyWriter::Result result = KeyWriter(stack.dowIo()).write(memory);
        firstDiffered += result.firstDiffering.isEmpty() ? 0 : 1;
        checkedOk += result.checkOk() ? 1 : 0;
        keyHoldsImage += key->memory() == memory ? 1 : 0;
        rereads += result.pageRereads;
        spoilt += probe.noisyEchoes();
        const double runSeconds = std::chrono::duration<double>(clock.now()).count();
        seconds += runSeconds;
        slowest = std::max(slowest, runSeconds);
    }
    std::printf(
        "  noise %-9g %3d runs: key holds image %3d, first read-back differed %3d, Controle OK %3d, "
        "pages read again %5.2f per run, spoilt echoes %6.1f per run, wire %5.3f s per run (slowest "
        "%5.3f s)\n",
        rate, runs, keyHoldsImage, firstDiffered, checkedOk, double(rereads) / runs, double(spoilt) / runs,
        seconds / runs, slowest);
}

}  // namespace

int main() {
    for (int64_t latencyUs : {0, 1000, 16000}) {
        runAt(latencyUs);
    }
    std::printf("echo noise on 1-slots, write and check on the simulated clock\n");
    for (double rate : {0.0, 0.0001, 0.001, 0.01}) {
        noiseRuns(rate, 50);
    }
    return 0;
}
