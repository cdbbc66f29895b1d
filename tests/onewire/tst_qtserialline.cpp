#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/UartBridgePortIo.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include <asm/termbits.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// The far end of a pseudo-terminal, played by a thread: every character that arrives is answered
// through `answer`, by default with itself, like a passive probe's echo.
class PtyProbe {
public:
    PtyProbe() {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0)
            m_path = QString::fromLocal8Bit(::ptsname(m_master));
        m_thread = std::thread([this] { run(); });
    }
    ~PtyProbe() { hangUp(); }

    QString path() const { return m_path; }
    // Once it returns, no further character is read until echoing is switched on again.
    void setEchoing(bool on) {
        std::lock_guard lock(m_mutex);
        m_echoing = on;
    }
    void setAnswer(std::function<QByteArray(uint8_t)> answer) {
        std::lock_guard lock(m_mutex);
        m_answer = std::move(answer);
    }
    // The bit rate the slave side is set to, as the line discipline holds it.
    int rate() const {
        struct termios2 tio {};
        if (::ioctl(m_master, TCGETS2, &tio) != 0)
            return -1;
        return int(tio.c_ospeed);
    }
    // Like pulling the USB adapter out.
    void hangUp() {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }

private:
    void run() {
        while (!m_stop) {
            pollfd pfd{m_master, POLLIN, 0};
            if (::poll(&pfd, 1, 5) <= 0 || !(pfd.revents & POLLIN)) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                continue;
            }
            std::lock_guard lock(m_mutex);
            if (!m_echoing)
                continue;
            char buffer[256];
            const ssize_t n = ::read(m_master, buffer, sizeof buffer);
            QByteArray reply;
            for (ssize_t i = 0; i < n; ++i)
                reply += m_answer ? m_answer(uint8_t(buffer[i])) : QByteArray(1, buffer[i]);
            if (!reply.isEmpty() && ::write(m_master, reply.constData(), size_t(reply.size())) < 0)
                continue;
        }
    }

    int m_master = -1;
    QString m_path;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    bool m_echoing = true;
    std::mutex m_mutex;
    std::function<QByteArray(uint8_t)> m_answer;
};

}  // namespace

class TestQtSerialLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void openFailures_data();
    void openFailures();
    void echoesOverPty();
    void discardedCountAsEchoes();
    void rateChange();
    void closedLine();
    void unplugged();
    void identifyThroughBridge();
};

void TestQtSerialLine::openFailures_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("path");
    QTest::newRow("no device for the number") << 5 << QString();
    QTest::newRow("missing device") << 2 << "/nonexistent/ttyVondrel";
}

void TestQtSerialLine::openFailures() {
    QFETCH(int, number);
    QFETCH(QString, path);
    QtSerialLine line;
    if (!path.isEmpty())
        line.setDevicePath(number, path);
    line.setPortNumber(number);
    QString error;
    QVERIFY(!line.open(&error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!line.isOpen());
}

void TestQtSerialLine::echoesOverPty() {
    PtyProbe probe;
    QVERIFY(!probe.path().isEmpty());
    QtSerialLine line;
    line.setDevicePath(2, probe.path());
    line.setPortNumber(2);
    QVERIFY(line.setBaudRate(10472));
    QString error;
    QVERIFY2(line.open(&error), qPrintable(error));
    QCOMPARE(probe.rate(), 10472);

    QByteArray run;
    for (int i = 0; i < 72; ++i)
        run.append(char(i * 3 + 1));
    run.append(char(0xFF));
    run.append(char(0x00));
    QVERIFY(line.write(run));
    QVERIFY(line.waitForEchoes(2000));
    QCOMPARE(line.inBufferCount(), run.size());
    QCOMPARE(line.outBufferCount(), 0);
    QByteArray echoes;
    for (int c = line.readChar(); c >= 0; c = line.readChar())
        echoes.append(char(c));
    QCOMPARE(echoes, run);
    QCOMPARE(line.readChar(), -1);
}

void TestQtSerialLine::discardedCountAsEchoes() {
    PtyProbe probe;
    QtSerialLine line;
    line.setDevicePath(1, probe.path());
    QVERIFY(line.open(nullptr));

    QVERIFY(line.write(QByteArray(10, 'a')));
    QVERIFY(line.waitForInput(10, 2000));
    line.discardInput();
    QCOMPARE(line.inBufferCount(), 0);
    QVERIFY(line.waitForEchoes(0));

    probe.setEchoing(false);
    QVERIFY(line.write(QByteArray(5, 'b')));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!line.waitForEchoes(60));
    QVERIFY(clock.elapsed() >= 60);
    QVERIFY(!line.waitForInput(1, 20));

    // The late echoes still arrive; the missing ones were written off, so the next wait does not hang.
    probe.setEchoing(true);
    QVERIFY(line.waitForInput(5, 2000));
    line.discardInput();
    clock.restart();
    QVERIFY(line.waitForEchoes(1000));
    QVERIFY(clock.elapsed() < 500);
    QVERIFY(line.write(QByteArray(3, 'c')));
    QVERIFY(line.waitForInput(3, 2000));
}

void TestQtSerialLine::rateChange() {
    PtyProbe probe;
    QtSerialLine line;
    line.setDevicePath(1, probe.path());
    QVERIFY(line.open(nullptr));
    QCOMPARE(probe.rate(), QtSerialLine::kDefaultBaud);
    const int rates[] = {10472, 115200, 10472, 300};
    for (int rate : rates) {
        QVERIFY(line.setBaudRate(rate));
        QCOMPARE(probe.rate(), rate);
        QCOMPARE(line.baudRate(), rate);
        // Characters still go through at the new rate.
        QVERIFY(line.write("x"));
        QVERIFY(line.waitForEchoes(2000));
        line.discardInput();
    }
    // A rate set while closed is the one the next open uses.
    line.close();
    QVERIFY(line.setBaudRate(10472));
    QVERIFY(line.open(nullptr));
    QCOMPARE(probe.rate(), 10472);
}

void TestQtSerialLine::closedLine() {
    QtSerialLine line;
    QVERIFY(!line.isOpen());
    QVERIFY(!line.write("x"));
    QCOMPARE(line.readChar(), -1);
    QCOMPARE(line.inBufferCount(), 0);
    QCOMPARE(line.outBufferCount(), 0);
    QVERIFY(!line.waitForEchoes(10));
    QVERIFY(!line.waitForInput(1, 10));
}

void TestQtSerialLine::unplugged() {
    PtyProbe probe;
    QtSerialLine line;
    line.setDevicePath(1, probe.path());
    QVERIFY(line.open(nullptr));
    QVERIFY(line.write("ab"));
    QVERIFY(line.waitForEchoes(2000));
    probe.hangUp();

    // Gone: the echoes never come and the line ends up closed, so nothing waits on it any more.
    QVERIFY(!line.waitForEchoes(200) || !line.write("cd") || !line.waitForEchoes(200));
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < 3 && line.isOpen(); ++i)
        line.write("e");
    line.inBufferCount();
    QVERIFY(!line.isOpen());
    QVERIFY(!line.write("f"));
    QVERIFY(clock.elapsed() < 500);
}

// The whole chain on a real tty: DowIo's register programs, the bridge's rate changes and the line's
// echo counting, with the far end answering only a reset sent at the slow rate.
void TestQtSerialLine::identifyThroughBridge() {
    PtyProbe probe;
    const QByteArray rom = QByteArray::fromHex("06674523010000A0");
    int position = -1;
    probe.setAnswer([&](uint8_t c) {
        if (c == 0xF0 && probe.rate() == 10472) {
            position = 0;
            return QByteArray(1, char(0xE0));
        }
        QByteArray echo(1, char(c));
        if (position >= 8 && position < 72 && c == 0xFF) {
            const int bit = position - 8;
            echo[0] = char((uint8_t(rom[bit / 8]) >> (bit % 8)) & 1 ? 0xFF : 0xFE);
        }
        if (position >= 0)
            ++position;
        return echo;
    });
    QtSerialLine line;
    line.setDevicePath(1, probe.path());
    UartBridgePortIo bridge(line);
    DowIo dow(line, bridge);
    QVERIFY(dow.startUp(QStringLiteral("1"), nullptr));

    DowIo::Identification id;
    QElapsedTimer clock;
    clock.start();
    while (id.status != DowIo::Identification::Ok && clock.elapsed() < 3000) {
        id = dow.identifyProbe();
        QTest::qWait(20);
    }
    QCOMPARE(int(id.status), int(DowIo::Identification::Ok));
    QCOMPARE(id.keyCode, QStringLiteral("000001234567"));
    QCOMPARE(id.familyName, QStringLiteral("DS1993(prog)"));
    QCOMPARE(line.baudRate(), 115200);
    dow.shutdown();
    QVERIFY(!line.isOpen());
}

QTEST_GUILESS_MAIN(TestQtSerialLine)
#include "tst_qtserialline.moc"
