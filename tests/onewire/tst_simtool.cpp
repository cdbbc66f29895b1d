#include "ProbeSimPty.h"
#include "VirtualIButton.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kResetBaud = 115200 / 11;
constexpr int kSlotBaud = 115200;
constexpr char kOne = char(0xFF);
constexpr char kZero = char(0x00);
const QString kDs1990a = QStringLiteral("ds1990a:01A1B2C3D4E5F6");
const QString kDs1993 = QStringLiteral("ds1993:06112233445566");

QByteArray slotsFor(const QByteArray& bytes) {
    QByteArray slots;
    for (char byte : bytes) {
        for (int bit = 0; bit < 8; ++bit) {
            slots += (uint8_t(byte) >> bit) & 1 ? kOne : kZero;
        }
    }
    return slots;
}

QByteArray bytesFromEchoes(const QByteArray& echoes) {
    QByteArray bytes(echoes.size() / 8, '\0');
    for (int i = 0; i < bytes.size() * 8; ++i) {
        if (uint8_t(echoes[i]) == 0xFF) {
            bytes[i / 8] = char(bytes[i / 8] | (1 << (i % 8)));
        }
    }
    return bytes;
}

// A serial client on the simulator's terminal, the way a program opens a port.
class Client {
public:
    ~Client() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    bool open(const QString& path) {
        m_fd = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QString error;
        return m_fd >= 0 && ProbeSimPty::makeRaw(m_fd, &error);
    }
    // Sends characters at a rate and collects exactly their echoes.
    QByteArray exchange(int baud, const QByteArray& characters, int timeoutMs = 2000) {
        if (!ProbeSimPty::setBaudRate(m_fd, baud) ||
            ::write(m_fd, characters.constData(), characters.size()) != characters.size()) {
            return "write failed";
        }
        return read(characters.size(), timeoutMs);
    }
    QByteArray read(int count, int timeoutMs) {
        QByteArray echoes;
        QElapsedTimer timer;
        timer.start();
        while (echoes.size() < count && timer.elapsed() < timeoutMs) {
            pollfd fd{m_fd, POLLIN, 0};
            if (poll(&fd, 1, int(timeoutMs - timer.elapsed())) <= 0) {
                break;
            }
            char buffer[256];
            const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
            if (got > 0) {
                echoes.append(buffer, int(got));
            }
        }
        return echoes;
    }
    int fd() const { return m_fd; }

private:
    int m_fd = -1;
};

}  // namespace

class TestSimulatorTool : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void resetOverTheTerminal_data();
    void resetOverTheTerminal();
    void keysFromStandardInput();
    void badArguments_data();
    void badArguments();

private:
    bool start(const QStringList& arguments);
    QString readLine();

    QProcess m_tool;
    QString m_path;
    Client m_client;
};

bool TestSimulatorTool::start(const QStringList& arguments) {
    m_tool.start(QStringLiteral(VONDREL_BIN_DIR "/vondrel-sim"), arguments);
    if (!m_tool.waitForStarted(5000)) {
        return false;
    }
    m_path = readLine();
    return m_path.startsWith(QLatin1String("/dev/")) && m_client.open(m_path);
}

QString TestSimulatorTool::readLine() {
    while (!m_tool.canReadLine() && m_tool.waitForReadyRead(5000)) {
    }
    return QString::fromLocal8Bit(m_tool.readLine()).trimmed();
}

void TestSimulatorTool::cleanup() {
    if (m_tool.state() != QProcess::NotRunning) {
        m_tool.kill();
        m_tool.waitForFinished(5000);
    }
}

void TestSimulatorTool::resetOverTheTerminal_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("baud");
    QTest::addColumn<bool>("presence");
    QTest::newRow("no key") << QStringList() << kResetBaud << false;
    QTest::newRow("ds1990a") << QStringList{"--key", kDs1990a} << kResetBaud << true;
    QTest::newRow("usb latency") << QStringList{"--key", kDs1990a, "--latency-us", "2000"} << kResetBaud << true;
    // The rate the client set is the one the key sees: 0xF0 at 115200 is only a 0 slot.
    QTest::newRow("reset at slot rate") << QStringList{"--key", kDs1990a} << kSlotBaud << false;
}

void TestSimulatorTool::resetOverTheTerminal() {
    QFETCH(QStringList, arguments);
    QFETCH(int, baud);
    QFETCH(bool, presence);

    QVERIFY2(start(arguments), qPrintable(m_path + m_tool.readAllStandardError()));
    const QByteArray echo = m_client.exchange(baud, QByteArray(1, char(0xF0)));
    QCOMPARE(echo.size(), 1);
    const int value = uint8_t(echo[0]);
    QCOMPARE(value > 0 && value < 240, presence);
    if (!presence) {
        QCOMPARE(value, 0xF0);
        return;
    }

    VirtualIButton::Rom rom;
    QVERIFY(VirtualIButton::romFromHex(kDs1990a.section(':', 1), &rom));
    const QByteArray romBytes(reinterpret_cast<const char*>(rom.data()), 8);
    QElapsedTimer timer;
    timer.start();
    const QByteArray echoes = m_client.exchange(kSlotBaud, slotsFor("\x33") + QByteArray(64, kOne));
    // 72 characters take 6.25 ms on the wire; their echoes cannot all be back before.
    QVERIFY2(timer.nsecsElapsed() >= 6'000'000, qPrintable(QString::number(timer.nsecsElapsed())));
    QCOMPARE(echoes.size(), 72);
    QCOMPARE(bytesFromEchoes(echoes.mid(8)), romBytes);
}

void TestSimulatorTool::keysFromStandardInput() {
    QVERIFY(start({}));
    QCOMPARE(m_client.exchange(kResetBaud, "\xF0"), QByteArray("\xF0"));

    m_tool.write(("insert " + kDs1993 + "\n").toLatin1());
    QCOMPARE(readLine(), QStringLiteral("ok"));
    const int presence = uint8_t(m_client.exchange(kResetBaud, "\xF0").at(0));
    QVERIFY(presence > 0 && presence < 240);

    // Page 9 written the way the program writes a page: Write Scratchpad, then Copy Scratchpad.
    QByteArray page(32, '\0');
    for (int i = 0; i < 32; ++i) {
        page[i] = char(0xA0 + i);
    }
    m_client.exchange(kSlotBaud, slotsFor(QByteArray("\xCC\x0F\x00\x01", 4) + page));
    m_client.exchange(kResetBaud, "\xF0");
    m_client.exchange(kSlotBaud, slotsFor(QByteArray("\xCC\x55\x00\x01\x1F", 5)));

    m_tool.write("dump\n");
    QStringList lines;
    for (int i = 0; i < 16; ++i) {
        lines << readLine();
    }
    QCOMPARE(lines.size(), 16);
    QCOMPARE(lines[0], QString(64, '0'));
    QCOMPARE(lines[8], QString::fromLatin1(page.toHex().toUpper()));
    QCOMPARE(lines[15], QString(64, '0'));

    m_tool.write("remove\n");
    QCOMPARE(readLine(), QStringLiteral("ok"));
    QCOMPARE(m_client.exchange(kResetBaud, "\xF0"), QByteArray("\xF0"));

    m_tool.write("quit\n");
    QVERIFY(m_tool.waitForFinished(5000));
    QCOMPARE(m_tool.exitCode(), 0);
}

void TestSimulatorTool::badArguments_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("bad key") << QStringList{"--key", "ds1990a:01A1"};
    QTest::newRow("unknown option") << QStringList{"--fast"};
    QTest::newRow("missing value") << QStringList{"--key"};
}

void TestSimulatorTool::badArguments() {
    QFETCH(QStringList, arguments);
    m_tool.start(QStringLiteral(VONDREL_BIN_DIR "/vondrel-sim"), arguments);
    QVERIFY(m_tool.waitForFinished(5000));
    QCOMPARE(m_tool.exitCode(), 2);
    QVERIFY(!m_tool.readAllStandardError().isEmpty());
}

QTEST_GUILESS_MAIN(TestSimulatorTool)
#include "tst_simtool.moc"
