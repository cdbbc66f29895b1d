#include "programming/KeyPoller.h"
#include "support/SimulatedProbeStack.h"

#include <QTest>

namespace {

using std::chrono::milliseconds;
using Outcome = KeyPoller::Outcome;
using Purpose = KeyPoller::Purpose;

constexpr int kNever = -1;
const QString kKeyCode = QStringLiteral("F6E5D4C3B2A1");

// One letter per outcome: W waiting, N no key, C not connected, F found, X wrong family.
QString letters(const QList<Outcome>& outcomes) {
    QString text;
    for (Outcome outcome : outcomes) {
        text += QLatin1Char("WCNFX"[int(outcome)]);
    }
    return text;
}

struct Rig {
    explicit Rig(const QString& key, bool connected = true) {
        if (!key.isEmpty()) {
            sim.insertKey(key);
        }
        if (connected) {
            sim.probe.open(nullptr);
        }
    }
    qint64 nowMs() const { return std::chrono::duration_cast<milliseconds>(clock.now()).count(); }

    ManualClock clock;
    SimulatedProbeStack sim{clock};
};

}  // namespace

class TestKeyPoller : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Polls a window timer makes, a tick apart: a reset goes out on one tick and is answered on the next.
    void ticks_data() {
        QTest::addColumn<int>("purpose");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("outcomes");
        const int programming = int(Purpose::ProgrammingKey);
        const int keyCode = int(Purpose::KeyCode);
        QTest::newRow("no key") << programming << ""
                                << "WNNN";
        QTest::newRow("not connected") << programming << "closed"
                                       << "CCCC";
        // After a read the fast rate is on: the next tick starts the reset cycle again.
        QTest::newRow("DS1993") << programming << "ds1993:06A1B2C3D4E5F6"
                                << "WFWF";
        QTest::newRow("DS1994") << programming << "ds1994:04A1B2C3D4E5F6"
                                << "WFWF";
        QTest::newRow("DS1990A refused") << programming << "ds1990a:01A1B2C3D4E5F6"
                                         << "WXWX";
        QTest::newRow("old DS1990 never answers 0x33") << programming << "ds1990:01A1B2C3D4E5F6"
                                                       << "WWWW";
        QTest::newRow("bad CRC") << programming << "ds1993:06A1B2C3D4E5F600"
                                 << "WWWW";
        QTest::newRow("any family for a key code") << keyCode << "ds1990a:01A1B2C3D4E5F6"
                                                   << "WFWF";
        // 0x0F first, then 0x33, which the old key ignores.
        QTest::newRow("old DS1990 every other read") << keyCode << "ds1990:01A1B2C3D4E5F6"
                                                     << "WFWWWF";
        // A window's tick follows its reset up at once: every tick decides.
        QTest::newRow("tick: no key") << -keyCode << ""
                                      << "NNNN";
        QTest::newRow("tick: not connected") << -keyCode << "closed"
                                             << "CCCC";
        QTest::newRow("tick: key code") << -keyCode << "ds1990a:01A1B2C3D4E5F6"
                                        << "FFFF";
        QTest::newRow("tick: key touched after the first tick") << -keyCode << "later:ds1990a:01A1B2C3D4E5F6"
                                                                << "NFFF";
        QTest::newRow("tick: old DS1990") << -keyCode << "ds1990:01A1B2C3D4E5F6"
                                          << "FWFW";
        QTest::newRow("tick: bad CRC") << -keyCode << "ds1990a:01A1B2C3D4E5F600"
                                       << "WWWW";
        // A programming key is read on the 0x33 tick only.
        QTest::newRow("DS1993 key code on the 0x33 read") << keyCode << "ds1993:06A1B2C3D4E5F6"
                                                          << "WWWFWW";
        QTest::newRow("DS1994 key code on the 0x33 read") << keyCode << "ds1994:04A1B2C3D4E5F6"
                                                          << "WWWFWWWF";
    }

    void ticks() {
        QFETCH(int, purpose);
        QFETCH(QString, key);
        QFETCH(QString, outcomes);
        const bool closed = key == QLatin1String("closed");
        const bool later = key.startsWith(QLatin1String("later:"));
        const bool tick = purpose < 0;  // pollTick instead of poll
        Rig r(closed || later ? QString() : key, !closed);
        KeyPoller poller(r.sim.dowIo(), Purpose(tick ? -purpose : purpose));
        QList<Outcome> seen;
        for (int n = 0; n < outcomes.size(); ++n) {
            if (later && n == 1) {
                QVERIFY(r.sim.insertKey(key.mid(6)));
            }
            const KeyPoller::Step step = tick ? poller.pollTick() : poller.poll();
            seen << step.outcome;
            if (step.outcome == Outcome::Found || step.outcome == Outcome::WrongFamily) {
                QCOMPARE(step.id.keyCode, kKeyCode);
            }
            r.clock.advance(milliseconds(poller.intervalMs()));
        }
        QCOMPARE(letters(seen), outcomes);
    }

    // The tools' wait: a key already on the probe is read at once, one touched later within the tick
    // after, and a probe without a key is given up at the time-out, with a reset and its follow-up per tick.
    void waitForKey_data() {
        QTest::addColumn<int>("purpose");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("touchedAtMs");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<int>("fromMs");
        QTest::addColumn<int>("toMs");
        QTest::addColumn<int>("resets");  // -1: not counted
        const int programming = int(Purpose::ProgrammingKey);
        const int keyCode = int(Purpose::KeyCode);
        const QString ds1993 = QStringLiteral("ds1993:06A1B2C3D4E5F6");
        const QString ds1990a = QStringLiteral("ds1990a:01A1B2C3D4E5F6");
        QTest::newRow("programming key on the probe")
            << programming << ds1993 << 0 << int(Outcome::Found) << 0 << 10 << 1;
        QTest::newRow("key code on the probe") << keyCode << ds1990a << 0 << int(Outcome::Found) << 0 << 10 << 1;
        QTest::newRow("old key, 0x0F first")
            << keyCode << "ds1990:01A1B2C3D4E5F6" << 0 << int(Outcome::Found) << 0 << 10 << 1;
        QTest::newRow("wrong family at once")
            << programming << ds1990a << 0 << int(Outcome::WrongFamily) << 0 << 10 << 1;
        QTest::newRow("touched at 0.25 s, 100 ms ticks")
            << programming << ds1993 << 250 << int(Outcome::Found) << 300 << 310 << -1;
        QTest::newRow("touched at 0.25 s, 250 ms ticks")
            << keyCode << ds1990a << 250 << int(Outcome::Found) << 250 << 260 << -1;
        QTest::newRow("no key, 100 ms ticks")
            << programming << ds1993 << kNever << int(Outcome::NoKey) << 1000 << 1000 << 21;
        QTest::newRow("no key, 250 ms ticks")
            << keyCode << ds1990a << kNever << int(Outcome::NoKey) << 1000 << 1000 << 9;
        QTest::newRow("old key never answers 0x33")
            << programming << "ds1990:01A1B2C3D4E5F6" << 0 << int(Outcome::Waiting) << 1000 << 1000 << -1;
        QTest::newRow("no probe") << programming << "closed" << kNever << int(Outcome::NotConnected) << 0 << 0 << 0;
    }

    void waitForKey() {
        QFETCH(int, purpose);
        QFETCH(QString, key);
        QFETCH(int, touchedAtMs);
        QFETCH(int, outcome);
        QFETCH(int, fromMs);
        QFETCH(int, toMs);
        QFETCH(int, resets);
        Rig r(touchedAtMs == 0 ? key : QString(), key != QLatin1String("closed"));
        r.clock.onAdvance = [&](Clock::Time now) {
            if (touchedAtMs > 0 && now >= milliseconds(touchedAtMs) && r.sim.probe.keyCount() == 0) {
                r.sim.insertKey(key);
            }
        };
        KeyPoller poller(r.sim.dowIo(), Purpose(purpose));
        const KeyPoller::Step step = ::waitForKey(poller, r.clock, 1000);
        QCOMPARE(int(step.outcome), outcome);
        QVERIFY2(r.nowMs() >= fromMs && r.nowMs() <= toMs, qPrintable(QString::number(r.nowMs())));
        if (step.outcome == Outcome::Found) {
            QCOMPARE(step.id.keyCode, kKeyCode);
        }
        if (resets >= 0) {
            const int64_t romReads = step.outcome == Outcome::Found || step.outcome == Outcome::WrongFamily ? 72 : 0;
            QCOMPARE(r.sim.probe.charactersSent() - romReads, int64_t(resets));
        }
    }
};

QTEST_GUILESS_MAIN(TestKeyPoller)
#include "tst_keypoller.moc"
