#include "onewire/QtSerialLine.h"
#include "support/OneWireDoubles.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <functional>
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
    explicit PtyProbe(std::function<QByteArray(char)> answer = {}) {
        master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0) {
            path = QString::fromLocal8Bit(::ptsname(master));
        }
        m_thread = std::thread([this, answer] {
            while (!m_stop) {
                pollfd pfd{master, POLLIN, 0};
                char buffer[256];
                const ssize_t n = ::poll(&pfd, 1, 5) > 0 && (pfd.revents & POLLIN) ? ::read(master, buffer, 256) : 0;
                QByteArray reply;
                for (ssize_t i = 0; i < n; ++i) {
                    reply += answer ? answer(buffer[i]) : QByteArray(1, buffer[i]);
                }
                // Without a slave side open, poll reports a hang-up at once.
                if (n <= 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                } else if (::write(master, reply.constData(), size_t(reply.size())) < 0) {
                    break;
                }
            }
        });
    }
    ~PtyProbe() { hangUp(); }

    // The rate the slave side is set to, as the line discipline holds it.
    int rate() const {
        struct termios2 tio {};
        return ::ioctl(master, TCGETS2, &tio) == 0 ? int(tio.c_ospeed) : -1;
    }
    // Like pulling the USB adapter out.
    void hangUp() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (master >= 0) {
            ::close(master);
        }
        master = -1;
    }

    int master = -1;
    QString path;

private:
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
};

}  // namespace

class TestQtSerialLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void openFailures_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("path");
        QTest::newRow("no device for the number") << 5 << QString();
        QTest::newRow("missing device") << 2 << "/nonexistent/ttyVondrel";
    }

    void openFailures() {
        QFETCH(int, number);
        QFETCH(QString, path);
        QtSerialLine line;
        line.setDevicePath(number, path);
        line.setPortNumber(number);
        QString error;
        QVERIFY(!line.open(&error));
        QVERIFY(!error.isEmpty());
        // A line that did not open answers everything at once, and never hangs.
        QVERIFY(!line.isOpen());
        QVERIFY(!line.write("x"));
        QCOMPARE(line.readChar(), -1);
        QCOMPARE(line.inBufferCount() + line.outBufferCount(), 0);
        QVERIFY(!line.waitForEchoes(10));
        QVERIFY(!line.waitForInput(1, 10));
    }

    // Rates without a B-constant (115200/11) too: set before the open, on an open line, and while closed.
    void echoesAtRates() {
        PtyProbe probe;
        QtSerialLine line;
        line.setDevicePath(2, probe.path);
        line.setPortNumber(2);
        QVERIFY(line.setBaudRate(10472));
        QString error;
        QVERIFY2(line.open(&error), qPrintable(error));
        QCOMPARE(probe.rate(), 10472);
        const QByteArray run = pattern(256, 0);
        QVERIFY(line.write(run));
        QVERIFY(line.waitForEchoes(2000));
        QCOMPARE(line.outBufferCount(), 0);
        QCOMPARE(readAll(line), run);
        QVERIFY(line.setBaudRate(115200));
        QCOMPARE(probe.rate(), 115200);
        line.close();
        QVERIFY(line.setBaudRate(300));
        QVERIFY(line.open(nullptr));
        QCOMPARE(probe.rate(), 300);
    }

    // Echoes that never come are written off, so one lost character does not make every later wait run into
    // its time-out; an unplugged adapter closes the line, so nothing waits on it any more.
    void missingEchoesAndUnplugging() {
        PtyProbe probe([](char c) { return c == 'b' ? QByteArray() : QByteArray(1, c); });
        QtSerialLine line;
        line.setDevicePath(1, probe.path);
        QVERIFY(line.open(nullptr));
        QVERIFY(line.write(QByteArray(10, 'a')));
        QVERIFY(line.waitForInput(10, 2000));
        line.discardInput();
        QCOMPARE(line.inBufferCount(), 0);
        QVERIFY(line.waitForEchoes(0));

        QVERIFY(line.write(QByteArray(5, 'b')));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!line.waitForEchoes(60));
        QVERIFY(clock.elapsed() >= 60);
        clock.restart();
        QVERIFY(line.write(QByteArray(3, 'c')));
        QVERIFY(line.waitForEchoes(1000));
        QVERIFY(clock.elapsed() < 500);

        probe.hangUp();
        QVERIFY(!line.waitForEchoes(200) || !line.write("cd") || !line.waitForEchoes(200));
        clock.restart();
        for (int i = 0; i < 3 && line.isOpen(); ++i) {
            line.write("e");
        }
        line.inBufferCount();
        QVERIFY(!line.isOpen());
        QVERIFY(!line.write("f"));
        QVERIFY(clock.elapsed() < 500);
    }
};

QTEST_GUILESS_MAIN(TestQtSerialLine)
#include "tst_qtserialline.moc"
