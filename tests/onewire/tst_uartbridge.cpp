#include "OneWireDoubles.h"
#include "onewire/DowIo.h"
#include "onewire/UartBridgePortIo.h"

#include <QTest>

namespace {

using Write = QPair<int, int>;  // port, value

}  // namespace

class TestUartBridge : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registerPrograms_data();
    void registerPrograms();
    void rateAppliedAfterEchoes();
    void grantsAreKept();
    void dowIoRatesOnTheWire();
};

void TestUartBridge::registerPrograms_data() {
    QTest::addColumn<QList<Write>>("writes");
    QTest::addColumn<QList<int>>("rates");

    const QList<Write> slow = {{0x3F9, 0}, {0x3FB, 0x83}, {0x3F9, 0}, {0x3F8, 11}, {0x3FB, 3}, {0x3F9, 13}};
    const QList<Write> fast = {{0x3F9, 0}, {0x3FB, 0x83}, {0x3F8, 1}, {0x3FB, 3}, {0x3F9, 13}};
    QTest::newRow("slow: divisor 11") << slow << QList<int>{10472};
    QTest::newRow("fast after slow: divisor 1") << slow + fast << QList<int>{10472, 115200};
    QTest::newRow("same rate twice: set once") << slow + fast + fast << QList<int>{10472, 115200};
    QTest::newRow("slow again") << slow + fast + slow << QList<int>{10472, 115200, 10472};
    QTest::newRow("Com2 registers") << QList<Write>{{0x2FB, 0x83}, {0x2F8, 11}, {0x2F9, 0}, {0x2FB, 3}}
                                    << QList<int>{10472};
    QTest::newRow("high divisor byte") << QList<Write>{{0x3FB, 0x83}, {0x3F8, 0x80}, {0x3F9, 1}, {0x3FB, 3}}
                                       << QList<int>{300};
    // With the latch closed, +1 is the interrupt enable register and +0 the data register: neither may
    // leak into the divisor (0x0D01 would give 8 bit/s).
    QTest::newRow("IER and data writes are not divisor")
        << QList<Write>{{0x3FB, 0x83}, {0x3F8, 11},   {0x3F9, 0}, {0x3FB, 3}, {0x3F9, 13},
                        {0x3F8, 5},    {0x3FB, 0x83}, {0x3F8, 1}, {0x3FB, 3}}
        << QList<int>{10472, 115200};
    QTest::newRow("latch never closed") << QList<Write>{{0x3FB, 0x83}, {0x3F8, 11}} << QList<int>{};
    QTest::newRow("other ports ignored") << QList<Write>{{0x61, 0x83}, {0x3F8 - 8, 0x83}, {0x60, 1}, {0x61, 3}}
                                         << QList<int>{};
    QTest::newRow("divisor 0 ignored") << QList<Write>{{0x3FB, 0x83}, {0x3F8, 0}, {0x3F9, 0}, {0x3FB, 3}}
                                       << QList<int>{};
}

void TestUartBridge::registerPrograms() {
    QFETCH(QList<Write>, writes);
    QFETCH(QList<int>, rates);
    EventLog log;
    ScriptedSerialLine line(&log);
    UartBridgePortIo bridge(line);
    for (const Write& w : writes)
        bridge.outport(uint16_t(w.first), uint16_t(w.second));
    QList<int> applied;
    for (const QString& event : log.events) {
        if (event.startsWith(QLatin1String("baud ")))
            applied << event.section(QLatin1Char(' '), 1, 1).toInt();
    }
    QCOMPARE(applied, rates);
}

void TestUartBridge::rateAppliedAfterEchoes() {
    EventLog log;
    ScriptedSerialLine line(&log);
    line.deferEchoes = true;
    UartBridgePortIo bridge(line);
    line.write(QByteArray(40, char(0xFF)));
    log.take();

    bridge.outport(0x3FB, 0x83);
    bridge.outport(0x3F8, 11);
    bridge.outport(0x3F9, 0);
    QCOMPARE(log.take(), QStringList());  // nothing happens while the latch is open
    bridge.outport(0x3FB, 3);
    QCOMPARE(log.take(), (QStringList{"echoes", "baud 10472 inflight 0"}));
    QCOMPARE(line.input.size(), 40);

    // No rate change, no wait.
    bridge.outport(0x3FB, 0x83);
    bridge.outport(0x3FB, 3);
    QCOMPARE(log.take(), QStringList());
}

void TestUartBridge::grantsAreKept() {
    ScriptedSerialLine line;
    line.opened = false;
    UartBridgePortIo bridge(line);
    DowIo dow(line, bridge);
    using R = UartBridgePortIo::Range;

    QVERIFY(dow.startUp(QStringLiteral("2"), nullptr));
    QCOMPARE(bridge.grantedRanges(), (QList<R>{{0x2F8, 0x2FF}}));
    dow.beginPortDialog();
    QCOMPARE(bridge.grantedRanges(), QList<R>());
    QVERIFY(dow.applyPortChoice(1, nullptr));
    QCOMPARE(bridge.grantedRanges(), (QList<R>{{0x3F8, 0x3FF}}));
    dow.shutdown();
    QCOMPARE(bridge.grantedRanges(), QList<R>());
}

// The unchanged register programs, through the bridge, put resets on the wire at the slow rate and the
// ROM read at the fast rate, each rate set only once the characters before it have echoed.
void TestUartBridge::dowIoRatesOnTheWire() {
    EventLog log;
    ScriptedSerialLine line(&log);
    line.deferEchoes = true;
    line.respond = [](const QByteArray& run) {
        if (run == QByteArray(1, char(0xF0)))
            return QByteArray(1, char(0xE0));
        return run.left(8) + readEchoes(QByteArray::fromHex("021CB801000000A2"));
    };
    UartBridgePortIo bridge(line);
    DowIo dow(line, bridge);

    QCOMPARE(int(dow.identifyProbe().status), int(DowIo::Identification::ResetSent));
    line.arrive();  // the reset's echo comes in before the next tick
    QCOMPARE(int(dow.identifyProbe().status), int(DowIo::Identification::Ok));
    QCOMPARE(int(dow.identifyProbe().status), int(DowIo::Identification::ResetSent));

    QStringList wire;
    for (const QString& event : log.events) {
        if (event.startsWith(QLatin1String("baud")))
            wire << event;
        else if (event.startsWith(QLatin1String("write")))
            wire << QStringLiteral("write %1 @%2").arg(event.count(QLatin1Char(' ')) - 1).arg(event.section('@', 1));
    }
    QCOMPARE(wire, (QStringList{"baud 10472 inflight 0", "write 1 @10472", "baud 115200 inflight 0", "write 72 @115200",
                                "baud 10472 inflight 0", "write 1 @10472"}));
    QCOMPARE(bridge.divisor(), 11);
}

QTEST_GUILESS_MAIN(TestUartBridge)
#include "tst_uartbridge.moc"
