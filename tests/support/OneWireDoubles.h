#pragma once

#include "onewire/Clock.h"
#include "onewire/PortIo.h"
#include "onewire/SerialLine.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <utility>

// Slot characters for bytes, least significant bit first: 0xFF for a 1, `zero` for a 0. With zero 0x00
// these are the characters a master sends; with 0xFE, the echoes of read slots a device answers with 0s.
inline QByteArray slotsFor(const QByteArray& bytes, char zero = 0x00) {
    QByteArray slots;
    for (char byte : bytes) {
        for (int bit = 0; bit < 8; ++bit) {
            slots += (uint8_t(byte) >> bit) & 1 ? char(0xFF) : zero;
        }
    }
    return slots;
}

// Only an untouched 0xFF reads as a 1.
inline QByteArray bytesFromEchoes(const QByteArray& echoes) {
    QByteArray bytes(echoes.size() / 8, '\0');
    for (int i = 0; i < bytes.size() * 8; ++i) {
        if (uint8_t(echoes[i]) == 0xFF) {
            bytes[i / 8] = char(bytes[i / 8] | (1 << (i % 8)));
        }
    }
    return bytes;
}

// Bytes that differ from their neighbours, with no period inside a key's 512.
inline QByteArray pattern(int size, int seed) {
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i) {
        bytes[i] = char(i * 7 + (i >> 8) + seed);
    }
    return bytes;
}

inline QByteArray readAll(SerialLine& line) {
    QByteArray echoes;
    for (int c = line.readChar(); c >= 0; c = line.readChar()) {
        echoes += char(c);
    }
    return echoes;
}

// What happened on both seams, in order, so tests can check the interleaving.
struct EventLog {
    QStringList events;
    void add(const QString& event) { events << event; }
    QStringList take() { return std::exchange(events, {}); }
};

class RecordingPortIo : public PortIo {
public:
    explicit RecordingPortIo(EventLog& log, int winNt = 1) : log(log), winNt(winNt) {}
    int isWinNT() override { return winNt; }
    void enablePorts(uint16_t f, uint16_t l) override { log.add(QStringLiteral("enable %1-%2").arg(f).arg(l)); }
    void disablePorts(uint16_t f, uint16_t l) override { log.add(QStringLiteral("disable %1-%2").arg(f).arg(l)); }
    void outport(uint16_t port, uint16_t v) override { log.add(QStringLiteral("out %1 %2").arg(port).arg(v)); }
    uint16_t inport(uint16_t) override { return 0; }

    EventLog& log;
    int winNt;
};

// A serial line that keeps everything written and answers each run through `respond` (by default every
// character echoes unchanged, at once); with deferEchoes the echoes stay in flight until a wait. With a
// clock, a wait that is not met moves it on by its whole time-out, as a real one would take.
class ScriptedSerialLine : public SerialLine {
public:
    explicit ScriptedSerialLine(EventLog* log = nullptr) : log(log ? *log : own) {}

    std::function<QByteArray(const QByteArray& run)> respond;

    void setPortNumber(int n) override { number = n; }
    int portNumber() const override { return number; }
    bool open(QString* error) override {
        log.add(QStringLiteral("open %1").arg(number));
        if (error) {
            *error = openError;
        }
        return opened = openError.isEmpty();
    }
    void close() override {
        log.add(QStringLiteral("close"));
        opened = false;
    }
    bool isOpen() const override { return opened; }
    int inBufferCount() override { return input.size(); }
    void discardInput() override { log.add(QStringLiteral("discard %1").arg(std::exchange(input, {}).size())); }
    int outBufferCount() override { return outQueued; }
    int readChar() override { return input.isEmpty() ? -1 : uint8_t(std::exchange(input, input.mid(1)).at(0)); }
    bool write(const QByteArray& run) override {
        if (!opened) {
            return false;
        }
        log.add(QStringLiteral("write %1 @%2").arg(QString::fromLatin1(run.toHex(' '))).arg(baud));
        written += run;
        runs << run;
        const QByteArray echoes = respond ? respond(run) : run;
        (deferEchoes ? inFlight : input) += echoes;
        missingEchoes += run.size() - echoes.size();
        return true;
    }
    bool waitForInput(int count, int timeoutMs) override {
        arrive();
        return waited(input.size() >= count, timeoutMs);
    }
    bool waitForEchoes(int timeoutMs) override {
        arrive();
        log.add(QStringLiteral("echoes"));
        return waited(opened && missingEchoes <= 0, timeoutMs);
    }
    bool setBaudRate(int rate) override {
        log.add(QStringLiteral("baud %1 inflight %2").arg(rate).arg(inFlight.size()));
        baud = rate;
        return true;
    }
    int baudRate() const override { return baud; }
    void arrive() { input += std::exchange(inFlight, {}); }
    bool waited(bool met, int timeoutMs) {
        if (!met && clock) {
            clock->sleepUntil(clock->now() + std::chrono::milliseconds(timeoutMs));
        }
        return met;
    }

    EventLog own;
    Clock* clock = nullptr;
    EventLog& log;
    int number = 1;
    bool opened = true;
    bool deferEchoes = false;
    QString openError;
    int outQueued = 0;
    int baud = 9600;
    QByteArray input, inFlight, written;
    QList<QByteArray> runs;
    qint64 missingEchoes = 0;
};
