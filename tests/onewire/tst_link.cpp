#include "onewire/Link.h"
#include "support/OneWireDoubles.h"
#include "support/SimulatedProbeStack.h"
#include "support/UartPrograms.h"

#include <QTest>

namespace {

using std::chrono::milliseconds;

struct Rig {
    Rig() { line.clock = &clock; }
    EventLog log;
    ScriptedSerialLine line{&log};
    RecordingPortIo ports{log};
    ManualClock clock;
    Link link{line, ports, clock};
};

QByteArray hex(const char* text) {
    return QByteArray::fromHex(text);
}

}  // namespace

class TestLink : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registerPrograms_data() {
        QTest::addColumn<QList<int>>("numbers");
        QTest::addColumn<int>("base");
        QTest::newRow("Com1") << QList<int>{1} << 1016;
        QTest::newRow("Com2") << QList<int>{2} << 760;
        QTest::newRow("3 keeps Com2") << QList<int>{2, 3} << 760;
        QTest::newRow("3 before any") << QList<int>{3} << 0;
    }

    void registerPrograms() {
        QFETCH(QList<int>, numbers);
        QFETCH(int, base);
        Rig r;
        for (int number : numbers) {
            r.line.number = number;
            r.link.selectBase();
        }
        r.line.input = "\x01\x02";
        r.link.initSlowRate();
        QCOMPARE(r.log.take(), slowUartProgram(base, 2));
        r.link.initSlowRate();
        QCOMPARE(r.log.take(), QStringList());
        r.link.switchFastRate();
        QCOMPARE(r.log.take(), fastUartProgram(base));
        r.link.initSlowRate();
        QCOMPARE(r.log.take(), slowUartProgram(base));
    }

    void resetStep_data() {
        QTest::addColumn<QByteArray>("waiting");
        QTest::addColumn<int>("outQueued");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<bool>("resetSent");
        using S = Link::ResetStep;
        QTest::newRow("nothing waiting") << QByteArray() << 0 << int(S::ResetSent) << true;
        QTest::newRow("output still queued") << QByteArray() << 3 << int(S::Busy) << false;
        QTest::newRow("F0: no key") << hex("F0") << 0 << int(S::NoKey) << true;
        QTest::newRow("F0 while queued") << hex("F0") << 2 << int(S::NoKey) << false;
        QTest::newRow("1 is presence") << hex("01") << 0 << int(S::Presence) << false;
        QTest::newRow("239 is presence") << hex("EF") << 0 << int(S::Presence) << false;
        QTest::newRow("0: line held low") << hex("00") << 0 << int(S::NoPresence) << true;
        QTest::newRow("FF is no presence") << hex("FF") << 0 << int(S::NoPresence) << true;
        QTest::newRow("stale echoes") << hex("E0E0") << 0 << int(S::ResetSent) << true;
    }

    void resetStep() {
        QFETCH(QByteArray, waiting);
        QFETCH(int, outQueued);
        QFETCH(int, outcome);
        QFETCH(bool, resetSent);
        Rig r;
        r.line.respond = [](const QByteArray&) { return QByteArray(); };
        r.line.input = waiting;
        r.line.outQueued = outQueued;
        QCOMPARE(int(r.link.resetStep()), outcome);
        QCOMPARE(r.line.written, resetSent ? hex("F0") : QByteArray());
        QCOMPARE(r.line.input, QByteArray());
    }

    void blockingReset_data() {
        QTest::addColumn<QByteArray>("stale");
        QTest::addColumn<QByteArray>("echo");
        QTest::addColumn<bool>("presence");
        QTest::newRow("presence") << QByteArray() << hex("E0") << true;
        QTest::newRow("stale presence is not decoded") << hex("E0") << hex("F0") << false;
        QTest::newRow("late presence within the window") << QByteArray() << hex("F0E0") << true;
    }

    void blockingReset() {
        QFETCH(QByteArray, stale);
        QFETCH(QByteArray, echo);
        QFETCH(bool, presence);
        Rig r;
        r.link.selectBase();
        r.link.setInitialised(true);
        r.line.input = stale;
        r.line.respond = [echo](const QByteArray&) { return echo; };
        QCOMPARE(r.link.reset(), presence);
        const auto elapsed = std::chrono::duration_cast<milliseconds>(r.clock.now()).count();
        // The slow rate is programmed again even though the flag said it was.
        QCOMPARE(r.log.take(), slowUartProgram(1016, stale.size()) + QStringList({"discard 0", "write f0 @9600"}));
        QVERIFY2(presence ? elapsed < Link::kResetTimeoutMs : elapsed >= Link::kResetTimeoutMs && elapsed < 1000,
                 qPrintable(QString::number(elapsed)));
    }

    // A presence is taken while the reset's window of 0.1 s lasts and not after, however late the echo
    // comes back (a USB adapter holds a write back for milliseconds).
    void resetWindow_data() {
        QTest::addColumn<int>("latencyUs");
        QTest::addColumn<bool>("presence");
        QTest::newRow("at once") << 0 << true;
        QTest::newRow("echo at 99 ms") << 98'000 << true;
        QTest::newRow("echo at 101 ms") << 100'000 << false;
        QTest::newRow("echo at 0.11 s") << 109'000 << false;
    }

    void resetWindow() {
        QFETCH(int, latencyUs);
        QFETCH(bool, presence);
        ManualClock clock;
        SimulatedProbeStack sim(clock);
        QVERIFY(sim.insertKey(QStringLiteral("ds1990a:01A1B2C3D4E5F6")));
        QVERIFY(sim.probe.open(nullptr));
        sim.probe.setTransferLatencyUs(latencyUs);
        Link& link = sim.dowIo().link();
        link.selectBase();
        QCOMPARE(link.reset(), presence);
        QVERIFY(clock.now() <= milliseconds(Link::kResetTimeoutMs + 1));
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
