#include "onewire/UartBridgePortIo.h"
#include "support/OneWireDoubles.h"

#include <QTest>

namespace {

using Write = QPair<int, int>;  // port, value

}  // namespace

class TestUartBridge : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registerPrograms_data() {
        QTest::addColumn<QList<Write>>("writes");
        QTest::addColumn<QList<int>>("rates");
        const QList<Write> slow = {{0x3F9, 0}, {0x3FB, 0x83}, {0x3F9, 0}, {0x3F8, 11}, {0x3FB, 3}, {0x3F9, 13}};
        const QList<Write> fast = {{0x3F9, 0}, {0x3FB, 0x83}, {0x3F8, 1}, {0x3FB, 3}, {0x3F9, 13}};
        QTest::newRow("slow: divisor 11") << slow << QList<int>{10472};
        QTest::newRow("same rate twice: set once") << slow + fast + fast << QList<int>{10472, 115200};
        QTest::newRow("Com2") << QList<Write>{{0x2FB, 0x83}, {0x2F8, 11}, {0x2F9, 0}, {0x2FB, 3}} << QList<int>{10472};
        QTest::newRow("high divisor byte")
            << QList<Write>{{0x3FB, 0x83}, {0x3F8, 0x80}, {0x3F9, 1}, {0x3FB, 3}} << QList<int>{300};
        // With the latch closed, +1 is the interrupt enable and +0 the data register: 0x0D01 would give 8 bit/s.
        QTest::newRow("IER and data writes are not divisor")
            << slow + QList<Write>{{0x3F8, 5}, {0x3FB, 0x83}, {0x3F8, 1}, {0x3FB, 3}} << QList<int>{10472, 115200};
        QTest::newRow("latch never closed") << QList<Write>{{0x3FB, 0x83}, {0x3F8, 11}} << QList<int>{};
        QTest::newRow("other ports ignored")
            << QList<Write>{{0x61, 0x83}, {0x3F0, 0x83}, {0x60, 1}, {0x61, 3}} << QList<int>{};
        QTest::newRow("divisor 0 ignored")
            << QList<Write>{{0x3FB, 0x83}, {0x3F8, 0}, {0x3F9, 0}, {0x3FB, 3}} << QList<int>{};
    }

    void registerPrograms() {
        QFETCH(QList<Write>, writes);
        QFETCH(QList<int>, rates);
        EventLog log;
        ScriptedSerialLine line(&log);
        UartBridgePortIo bridge(line);
        for (const Write& w : writes) {
            bridge.outport(uint16_t(w.first), uint16_t(w.second));
        }
        QList<int> applied;
        for (const QString& event : log.events) {
            if (event.startsWith(QLatin1String("baud "))) {
                applied << event.section(QLatin1Char(' '), 1, 1).toInt();
            }
        }
        QCOMPARE(applied, rates);
    }

    void rateAppliedAfterEchoes() {
        EventLog log;
        ScriptedSerialLine line(&log);
        line.deferEchoes = true;
        UartBridgePortIo bridge(line);
        line.write(QByteArray(40, char(0xFF)));
        log.take();
        for (Write w : QList<Write>{{0x3FB, 0x83}, {0x3F8, 11}, {0x3F9, 0}}) {
            bridge.outport(uint16_t(w.first), uint16_t(w.second));
        }
        QCOMPARE(log.take(), QStringList());  // nothing happens while the latch is open
        bridge.outport(0x3FB, 3);
        QCOMPARE(log.take(), (QStringList{"echoes", "baud 10472 inflight 0"}));
        QCOMPARE(line.input.size(), 40);
        // No rate change, no wait.
        bridge.outport(0x3FB, 0x83);
        bridge.outport(0x3FB, 3);
        QCOMPARE(log.take(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestUartBridge)
#include "tst_uartbridge.moc"
