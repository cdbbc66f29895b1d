#pragma once

#include "onewire/PortIo.h"
#include "onewire/SerialLine.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

// A shared record of what happened on both seams, in order, so tests can check interleaving.
struct EventLog {
    QStringList events;
    void add(const QString& event) { events << event; }
    QStringList take() {
        QStringList all = events;
        events.clear();
        return all;
    }
};

class RecordingPortIo : public PortIo {
public:
    explicit RecordingPortIo(EventLog& log, int winNt = 1) : m_log(log), winNt(winNt) {}
    int isWinNT() override { return winNt; }
    void enablePorts(uint16_t first, uint16_t last) override {
        m_log.add(QStringLiteral("enable %1-%2").arg(first).arg(last));
    }
    void disablePorts(uint16_t first, uint16_t last) override {
        m_log.add(QStringLiteral("disable %1-%2").arg(first).arg(last));
    }
    void outport(uint16_t port, uint16_t value) override {
        m_log.add(QStringLiteral("out %1 %2").arg(port).arg(value));
    }
    uint16_t inport(uint16_t) override { return 0; }

    EventLog& m_log;
    int winNt;
};

// A serial line that keeps everything written and answers each run through a script. By default every
// character echoes unchanged and at once; with deferEchoes the echoes stay in flight until a wait.
class ScriptedSerialLine : public SerialLine {
public:
    explicit ScriptedSerialLine(EventLog* log = nullptr) : m_log(log) {}

    // Echoes for one run; may return fewer or more characters than the run has.
    std::function<QByteArray(const QByteArray& run)> respond;

    void setPortNumber(int n) override { number = n; }
    int portNumber() const override { return number; }
    bool open(QString* error) override {
        note(QStringLiteral("open %1").arg(number));
        if (!openError.isEmpty()) {
            if (error)
                *error = openError;
            return false;
        }
        opened = true;
        return true;
    }
    void close() override {
        note(QStringLiteral("close"));
        opened = false;
    }
    bool isOpen() const override { return opened; }
    int inBufferCount() override { return input.size(); }
    void discardInput() override {
        note(QStringLiteral("discard %1").arg(input.size()));
        input.clear();
    }
    int outBufferCount() override { return outQueued; }
    int readChar() override {
        if (input.isEmpty())
            return -1;
        const int c = uint8_t(input.at(0));
        input.remove(0, 1);
        return c;
    }
    bool write(const QByteArray& run) override {
        if (!opened || writeFails)
            return false;
        note(QStringLiteral("write %1 @%2").arg(QString::fromLatin1(run.toHex(' '))).arg(baud));
        written += run;
        runs << run;
        writtenCount += run.size();
        const QByteArray echoes = respond ? respond(run) : run;
        (deferEchoes ? inFlight : input) += echoes;
        echoedCount += echoes.size();
        return true;
    }
    bool waitForInput(int count, int) override {
        arrive();
        return input.size() >= count;
    }
    bool waitForEchoes(int) override {
        arrive();
        note(QStringLiteral("echoes"));
        return opened && echoedCount >= writtenCount;
    }
    bool setBaudRate(int rate) override {
        note(QStringLiteral("baud %1 inflight %2").arg(rate).arg(inFlight.size()));
        baud = rate;
        return true;
    }
    int baudRate() const override { return baud; }

    void arrive() {
        input += inFlight;
        inFlight.clear();
    }

    int number = 1;
    bool opened = true;
    bool writeFails = false;
    bool deferEchoes = false;
    QString openError;
    int outQueued = 0;
    int baud = 9600;
    QByteArray input;
    QByteArray inFlight;
    QByteArray written;
    QList<QByteArray> runs;
    qint64 writtenCount = 0;
    qint64 echoedCount = 0;

private:
    void note(const QString& event) {
        if (m_log)
            m_log->add(event);
    }
    EventLog* m_log;
};

// Slot characters as a passive probe echoes them for bits read from a device: 0xFF for 1, 0xFE for 0.
inline QByteArray readEchoes(const QByteArray& bytes) {
    QByteArray echoes;
    for (char byte : bytes) {
        for (int bit = 0; bit < 8; ++bit)
            echoes.append(char((uint8_t(byte) >> bit) & 1 ? 0xFF : 0xFE));
    }
    return echoes;
}
