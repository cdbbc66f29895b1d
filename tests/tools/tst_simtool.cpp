#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/UartBridgePortIo.h"
#include "programming/KeyPoller.h"
#include "support/OneWireDoubles.h"

#include <QProcess>
#include <QTest>

namespace {

constexpr int kResetBaud = 115200 / 11;
constexpr int kSlotBaud = 115200;
const QString kDs1990a = QStringLiteral("ds1990a:01A1B2C3D4E5F6");

bool isPresence(const QByteArray& echo) {
    return echo.size() == 1 && uint8_t(echo[0]) > 0 && uint8_t(echo[0]) < 240;
}

}  // namespace

class TestSimulatorTool : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        m_line.close();
        if (m_tool.state() != QProcess::NotRunning) {
            m_tool.kill();
            m_tool.waitForFinished(5000);
        }
    }

    void resetOverTheTerminal_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("baud");
        QTest::addColumn<bool>("presence");
        QTest::newRow("ds1990a") << QStringList{"--key", kDs1990a} << kResetBaud << true;
        QTest::newRow("usb latency") << QStringList{"--key", kDs1990a, "--latency-us", "2000"} << kResetBaud << true;
        // The rate the client set is the one the key sees: 0xF0 at 115200 is only a 0 slot.
        QTest::newRow("reset at slot rate") << QStringList{"--key", kDs1990a} << kSlotBaud << false;
    }

    void resetOverTheTerminal() {
        QFETCH(QStringList, arguments);
        QFETCH(int, baud);
        QFETCH(bool, presence);
        QVERIFY2(start(arguments), qPrintable(m_tool.readAllStandardError()));
        const QByteArray echo = exchange(baud, "\xF0");
        QVERIFY2(presence ? isPresence(echo) : echo == "\xF0", echo.toHex().constData());
        if (!presence) {
            return;
        }
        const QByteArray echoes = exchange(kSlotBaud, slotsFor("\x33") + QByteArray(64, char(0xFF)));
        QCOMPARE(echoes.size(), 72);
        QCOMPARE(bytesFromEchoes(echoes.mid(8)), QByteArray::fromHex("01A1B2C3D4E5F68F"));
    }

    void keysFromStandardInput() {
        QVERIFY(start({}));
        QCOMPARE(exchange(kResetBaud, "\xF0"), QByteArray("\xF0"));
        m_tool.write("insert ds1993:06112233445566\n");
        QCOMPARE(readLine(), QStringLiteral("ok"));
        QVERIFY(isPresence(exchange(kResetBaud, "\xF0")));

        // Page 9 written the way the program writes a page: Write Scratchpad, then Copy Scratchpad.
        const QByteArray page = pattern(32, 0xA0);
        exchange(kSlotBaud, slotsFor(QByteArray::fromHex("CC0F0001") + page));
        exchange(kResetBaud, "\xF0");
        exchange(kSlotBaud, slotsFor(QByteArray::fromHex("CC5500011F")));
        m_tool.write("dump\n");
        QStringList lines;
        for (int i = 0; i < 16; ++i) {
            lines << readLine();
        }
        const QStringList zeros(8, QString(64, '0'));
        QCOMPARE(lines, zeros + QStringList{QString::fromLatin1(page.toHex().toUpper())} + zeros.mid(1));

        m_tool.write("remove\n");
        QCOMPARE(readLine(), QStringLiteral("ok"));
        QCOMPARE(exchange(kResetBaud, "\xF0"), QByteArray("\xF0"));
        // A script waiting for its answer gets one for a refused command too.
        for (const char* refused : {"insert ds1993:06ZZ\n", "dump\n", "wegwezen\n"}) {
            m_tool.write(refused);
            QCOMPARE(readLine(), QStringLiteral("fout"));
        }
        m_tool.write("quit\n");
        QVERIFY(m_tool.waitForFinished(5000));
        QCOMPARE(m_tool.exitCode(), 0);
    }

    // The whole chain on a terminal: the register programs, the bridge's rate changes and the line's echo
    // counting, against keys that answer a reset only at the slow rate.
    void identifyThroughBridge() {
        QVERIFY(start({"--key", "ds1993:06674523010000"}));
        UartBridgePortIo bridge(m_line);
        DowIo dow(m_line, bridge);
        QVERIFY(dow.startUp(QStringLiteral("1"), nullptr));
        KeyPoller poller(dow, KeyPoller::Purpose::ProgrammingKey);
        const DowIo::Identification id = waitForKey(poller, Clock::steady(), 3000).id;
        QCOMPARE(int(id.status), int(DowIo::Identification::Ok));
        QCOMPARE(id.keyCode, QStringLiteral("000001234567"));
        QCOMPARE(m_line.baudRate(), 115200);
        dow.shutdown();
        QVERIFY(!m_line.isOpen());
    }

    // A key text that is not understood is refused like any other bad argument, with a reason.
    void badArguments_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown kind") << QStringList{"--key", "ds1996:0CA1B2C3D4E5F6"};
        QTest::newRow("short ROM") << QStringList{"--key", "ds1994:04A1B2C3D4E5"};
        QTest::newRow("not hex") << QStringList{"--key", "ds1994:04A1B2C3D4E5GG"};
        QTest::newRow("no colon") << QStringList{"--key", "ds1990"};
        QTest::newRow("unknown option") << QStringList{"--fast"};
        QTest::newRow("missing value") << QStringList{"--key"};
    }

    void badArguments() {
        QFETCH(QStringList, arguments);
        m_tool.start(QStringLiteral(VONDREL_BIN_DIR "/vondrel-sim"), arguments);
        QVERIFY(m_tool.waitForFinished(5000));
        QCOMPARE(m_tool.exitCode(), 2);
        QVERIFY(!m_tool.readAllStandardError().isEmpty());
    }

private:
    // Starts the simulator and opens its terminal as Com1.
    bool start(const QStringList& arguments) {
        m_tool.start(QStringLiteral(VONDREL_BIN_DIR "/vondrel-sim"), arguments);
        const QString path = m_tool.waitForStarted(5000) ? readLine() : QString();
        m_line.setDevicePath(1, path);
        return path.startsWith(QLatin1String("/dev/")) && m_line.open(nullptr);
    }
    QString readLine() {
        while (!m_tool.canReadLine() && m_tool.waitForReadyRead(5000)) {
        }
        return QString::fromLocal8Bit(m_tool.readLine()).trimmed();
    }
    // Characters at a rate, and exactly their echoes.
    QByteArray exchange(int baud, const QByteArray& characters) {
        m_line.setBaudRate(baud);
        if (!m_line.write(characters) || !m_line.waitForEchoes(2000)) {
            return "no echoes";
        }
        return readAll(m_line);
    }

    QProcess m_tool;
    QtSerialLine m_line;
};

QTEST_GUILESS_MAIN(TestSimulatorTool)
#include "tst_simtool.moc"
