#include "onewire/Clock.h"

#include <QTest>

using std::chrono::milliseconds;

class TestClock : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Time moves only forward, and the hook hears of every move once, also of the moves it makes itself.
    void manualClock() {
        ManualClock clock;
        QList<qint64> heard;
        clock.onAdvance = [&](Clock::Time now) {
            heard << std::chrono::duration_cast<milliseconds>(now).count();
            // A timer fired from the hook that waits itself: no second call from inside.
            clock.sleepUntil(now + milliseconds(1));
        };
        clock.advance(milliseconds(10));
        clock.sleepUntil(milliseconds(5));
        clock.sleepUntil(milliseconds(30));
        clock.advance(milliseconds(0));
        QCOMPARE(heard, (QList<qint64>{10, 30}));
        QCOMPARE(clock.now(), Clock::Time(milliseconds(31)));
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "tst_clock.moc"
