#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"
#include "support/OneWireDoubles.h"
#include "support/SimulatedProbeStack.h"

#include <QTest>

namespace {

using std::chrono::milliseconds;

struct Rig {
    explicit Rig(int winNt = 1) : ports(log, winNt) { line.clock = &clock; }
    EventLog log;
    ScriptedSerialLine line{&log};
    RecordingPortIo ports;
    ManualClock clock;
    DowIo dow{line, ports, clock};

    qint64 elapsedMs(Clock::Time since) const {
        return std::chrono::duration_cast<milliseconds>(clock.now() - since).count();
    }
};

QByteArray hex(const char* text) {
    return QByteArray::fromHex(text);
}

QStringList outs(int base, std::initializer_list<std::pair<int, int>> offsetAndValue) {
    QStringList events;
    for (auto [offset, value] : offsetAndValue) {
        events << QStringLiteral("out %1 %2").arg(base + offset).arg(value);
    }
    return events;
}

QStringList slowProgram(int base, int discarded = 0) {
    return QStringList{QStringLiteral("discard %1").arg(discarded)} +
           outs(base, {{1, 0}, {3, 131}, {1, 0}, {0, 11}, {3, 3}, {1, 13}});
}

QStringList fastProgram(int base) {
    return outs(base, {{1, 0}, {3, 131}, {0, 1}, {3, 3}, {1, 13}});
}

// A key: presence for a reset, and its ROM for a read with `command` (0: any), with `slotDelta` echoes
// too many or too few. Another command goes unanswered, so its read slots echo all ones.
std::function<QByteArray(const QByteArray&)> keyWithRom(const QByteArray& rom, int slotDelta = 0, int command = 0) {
    return [=](const QByteArray& run) {
        if (run == hex("F0")) {
            return hex("E0");
        }
        if (command != 0 && run.left(8) != slotsFor(QByteArray(1, char(command)))) {
            return run;
        }
        QByteArray echoes = run.left(8) + slotsFor(rom, char(0xFE)) + QByteArray(qMax(slotDelta, 0), char(0xFF));
        echoes.chop(qMax(-slotDelta, 0));
        return echoes;
    };
}

QList<int> commandsSent(const QList<QByteArray>& runs) {
    QList<int> sent;
    for (const QByteArray& run : runs) {
        if (run.size() == 72) {
            sent << uint8_t(bytesFromEchoes(run.left(8)).at(0));
        }
    }
    return sent;
}

}  // namespace

class TestDowIo : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void portRanges_data() {
        QTest::addColumn<int>("winNt");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QStringList>("events");
        const QStringList released{"close", "disable 1016-1023", "disable 760-767"};
        QTest::newRow("start 1") << 1 << QStringList{"start 1"} << QStringList{"enable 1016-1023", "open 1"};
        QTest::newRow("start 2") << 1 << QStringList{"start  2 "} << QStringList{"enable 760-767", "open 2"};
        QTest::newRow("start 3: nothing") << 1 << QStringList{"start 3"} << QStringList{"open 3"};
        QTest::newRow("start keeps the number")
            << 1 << QStringList{"start "} << QStringList{"enable 760-767", "open 2"};
        QTest::newRow("start, no number keeps it")
            << 1 << QStringList{"start Com1"} << QStringList{"enable 760-767", "open 2"};
        QTest::newRow("start, number and text keeps it")
            << 1 << QStringList{"start 1a"} << QStringList{"enable 760-767", "open 2"};
        QTest::newRow("start, not NT") << 0 << QStringList{"start 2"} << QStringList{"open 2"};
        QTest::newRow("dialog, Com1") << 1 << QStringList{"dialog", "choose 1"}
                                      << released + QStringList{"close", "open 1", "enable 1016-1023"};
        QTest::newRow("dialog, not NT") << 0 << QStringList{"dialog", "choose 2"}
                                        << released + QStringList{"close", "open 2"};
        QTest::newRow("shutdown") << 1 << QStringList{"shutdown"}
                                  << QStringList{"disable 1016-1018", "disable 760-762", "close"};
        QTest::newRow("shutdown, not NT") << 0 << QStringList{"shutdown"} << QStringList{"close"};
    }

    void portRanges() {
        QFETCH(int, winNt);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, events);
        Rig r(winNt);
        r.line.number = 2;
        r.dow.setInitialised(true);
        for (const QString& step : steps) {
            if (step.startsWith(QLatin1String("start"))) {
                QVERIFY(r.dow.startUp(step.mid(6), nullptr));
            } else if (step == QLatin1String("dialog")) {
                r.dow.beginPortDialog();
            } else if (step.startsWith(QLatin1String("choose"))) {
                QVERIFY(r.dow.applyPortChoice(step.mid(7).toInt(), nullptr));
                QVERIFY(!r.dow.initialised());
            } else {
                r.dow.shutdown();
            }
        }
        QCOMPARE(r.log.take(), events);
        QCOMPARE(r.line.isOpen(), steps.last() != QLatin1String("shutdown"));
    }

    void portChoiceFailure() {
        Rig r;
        r.line.openError = QStringLiteral("Permission denied");
        QString error;
        QVERIFY(!r.dow.applyPortChoice(2, &error));
        QVERIFY2(error.contains(QLatin1String("Com2")) && error.contains(QLatin1String("Permission denied")),
                 qPrintable(error));
        QVERIFY(!r.line.isOpen());
    }

    void romRead_data() {
        QTest::addColumn<QString>("keyCode");  // empty: no result
        QTest::addColumn<QByteArray>("rom");
        QTest::addColumn<int>("slotDelta");
        QTest::addColumn<QString>("familyName");
        QTest::newRow("known ROM") << "00000001B81C" << hex("021CB801000000A2") << 0 << "2";
        QTest::newRow("DS1993") << "000001234567" << hex("06674523010000A0") << 0 << "DS1993(prog)";
        QTest::newRow("bad CRC") << "" << hex("021CB801000000A3") << 0 << "";
        QTest::newRow("63 slots") << "" << hex("021CB801000000A2") << -1 << "";
        QTest::newRow("65 slots") << "" << hex("021CB801000000A2") << 1 << "";
    }

    void romRead() {
        QFETCH(QString, keyCode);
        QFETCH(QByteArray, rom);
        QFETCH(int, slotDelta);
        QFETCH(QString, familyName);
        Rig r;
        r.line.respond = keyWithRom(rom, slotDelta);
        r.dow.setKeyCode(QStringLiteral("OLD"));
        QCOMPARE(int(r.dow.identifyProbe().status), int(DowIo::Identification::ResetSent));
        const DowIo::Identification id = r.dow.identifyProbe();
        const bool ok = !keyCode.isEmpty();
        QCOMPARE(int(id.status), int(ok ? DowIo::Identification::Ok : DowIo::Identification::NoResult));
        QCOMPARE(id.keyCode, keyCode);
        QCOMPARE(r.dow.keyCode(), keyCode);
        QCOMPARE(id.family, ok ? int(uint8_t(rom[0])) : 0);
        QCOMPARE(id.familyName, familyName);
        QCOMPARE(id.rom, ok ? rom : QByteArray());
        // Command and 64 read slots go out as one run, at the fast rate.
        QCOMPARE(r.line.written, hex("F0") + slotsFor("\x33") + QByteArray(64, char(0xFF)));
        QCOMPARE(r.log.events.mid(r.log.events.size() - 7, 5), fastProgram(1016));
        QVERIFY(!r.dow.initialised());
    }

    // An old DS1990 answers 0x0F only; the alternation reads it on the second try when 0x33 comes first. A
    // closed line neither moves the alternation nor keeps the slow rate programmed.
    void commandAlternation() {
        Rig r;
        r.line.opened = false;
        r.dow.setInitialised(true);
        QCOMPARE(int(r.dow.readKeyCode().status), int(DowIo::Identification::NotConnected));
        QVERIFY(!r.dow.initialised());
        QCOMPARE(r.log.take(), QStringList());
        r.line.opened = true;
        r.line.respond = keyWithRom(hex("01102030405060F5"), 0, RomIdentification::kReadRomOld);
        r.dow.setCommandToggle(1);
        QList<int> statuses;
        for (int tick = 0; tick < 6; ++tick) {
            statuses << r.dow.readKeyCode().status;
        }
        using I = DowIo::Identification;
        QCOMPARE(statuses, (QList<int>{I::ResetSent, I::NoResult, I::ResetSent, I::Ok, I::ResetSent, I::NoResult}));
        QCOMPARE(commandsSent(r.line.runs), (QList<int>{0x33, 0x0F, 0x33}));

        // The probe's own identification always uses 0x33 and leaves the alternation where it was.
        r.line.runs.clear();
        for (int tick = 0; tick < 4; ++tick) {
            r.dow.identifyProbe();
        }
        r.dow.readKeyCode();
        r.dow.readKeyCode();
        QCOMPARE(commandsSent(r.line.runs), (QList<int>{0x33, 0x33, 0x0F}));
    }

    void pageWriteCharacters_data() {
        QTest::addColumn<int>("page");
        QTest::addColumn<QByteArray>("address");  // TA1, TA2
        QTest::newRow("1") << 1 << hex("0000");
        QTest::newRow("8") << 8 << hex("E000");
        QTest::newRow("9") << 9 << hex("0001");
        QTest::newRow("16") << 16 << hex("E001");
    }

    void pageWriteCharacters() {
        QFETCH(int, page);
        QFETCH(QByteArray, address);
        Rig r;
        r.dow.selectBase();
        r.line.respond = [](const QByteArray& run) { return run == hex("F0") ? hex("E0") : run; };
        const QByteArray data = pattern(32, 3);
        int eventsProcessed = 0;
        const DowIo::PageWrite result = r.dow.writePage(page, data, [&] { ++eventsProcessed; });
        QVERIFY(result.ok && result.copied && result.error.isEmpty());
        QCOMPARE(eventsProcessed, 1);
        // Each stage: slow program and reset, fast program, then one run and one wait for all its echoes.
        auto stage = [](int discarded, const QByteArray& bytes) {
            return slowProgram(1016, discarded) + QStringList{"discard 0", "write f0 @9600"} + fastProgram(1016) +
                   QStringList{"write " + QString::fromLatin1(slotsFor(bytes).toHex(' ')) + " @9600", "echoes"};
        };
        QCOMPARE(r.log.take(), stage(0, hex("CC0F") + address + data) + stage(288, hex("CC55") + address + hex("1F")));
    }

    void pageWriteFailures_data() {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("minMs");
        QTest::addColumn<int>("maxMs");
        QTest::newRow("no key") << "nokey" << false << DowIo::noKeyMessage() << 2000 << 3500;
        QTest::newRow("key pulled before the copy") << "pulled" << true << DowIo::noKeyMessage() << 1000 << 2000;
        QTest::newRow("probe unplugged: no echoes") << "noechoes" << false << DowIo::probeGoneMessage() << 0 << 500;
        QTest::newRow("port closed") << "closed" << false << DowIo::probeGoneMessage() << 0 << 100;
        QTest::newRow("short page") << "short" << false << QString() << 0 << 100;
    }

    void pageWriteFailures() {
        QFETCH(QString, scenario);
        QFETCH(bool, ok);
        QFETCH(QString, error);
        QFETCH(int, minMs);
        QFETCH(int, maxMs);
        Rig r;
        int presences = scenario == QLatin1String("pulled") ? 1 : scenario == QLatin1String("nokey") ? 0 : 1000;
        r.line.respond = [&](const QByteArray& run) {
            if (run == hex("F0")) {
                return presences-- > 0 ? hex("E0") : hex("F0");
            }
            return scenario == QLatin1String("noechoes") ? QByteArray() : run;
        };
        r.line.opened = scenario != QLatin1String("closed");
        const Clock::Time start = r.clock.now();
        const DowIo::PageWrite result =
            r.dow.writePage(1, QByteArray(scenario == QLatin1String("short") ? 31 : 32, 'Z'));
        const qint64 elapsed = r.elapsedMs(start);
        QCOMPARE(result.ok, ok);
        QVERIFY(!result.copied);
        QVERIFY2(error.isEmpty() ? !result.error.isEmpty() : result.error == error, qPrintable(result.error));
        QVERIFY2(elapsed >= minMs && elapsed <= maxMs, qPrintable(QString::number(elapsed)));
    }

    void readMemory_data() {
        QTest::addColumn<int>("dropped");
        QTest::newRow("whole key") << 0;
        QTest::newRow("one echo lost") << 1;
    }

    void readMemory() {
        QFETCH(int, dropped);
        Rig r;
        const QByteArray memory = pattern(MemoryKey::kMemorySize, 5);
        r.line.respond = [&](const QByteArray& run) {
            QByteArray echoes = run == hex("F0") ? hex("E0") : run.left(32) + slotsFor(memory, char(0xC0));
            echoes.chop(run == hex("F0") ? 0 : dropped);
            return echoes;
        };
        const DowIo::MemoryRead result = r.dow.readMemory();
        QCOMPARE(r.line.runs.last(), slotsFor(hex("CCF00000")) + QByteArray(4096, char(0xFF)));
        QCOMPARE(result.ok, dropped == 0);
        QCOMPARE(result.data, dropped == 0 ? memory : QByteArray());
        QCOMPARE(result.error.isEmpty(), dropped == 0);
    }

    // Each stage of a page write tries resets for 1 s: a key that turns up at the last reset that starts
    // within the second is written, one that turns up at the next is not. Without a key each reset
    // waits out its 0.1 s, so the tenth starts at 0.91 s and an eleventh would at 1.01 s.
    void pageStageWindow_data() {
        QTest::addColumn<int>("stage");  // 0: Write Scratchpad, 1: Copy Scratchpad
        QTest::addColumn<int>("missedResets");
        QTest::addColumn<bool>("done");
        QTest::newRow("write, tenth reset") << 0 << 9 << true;
        QTest::newRow("write, eleventh reset") << 0 << 10 << false;
        QTest::newRow("copy, tenth reset") << 1 << 9 << true;
        QTest::newRow("copy, eleventh reset") << 1 << 10 << false;
    }

    void pageStageWindow() {
        QFETCH(int, stage);
        QFETCH(int, missedResets);
        QFETCH(bool, done);
        ManualClock clock;
        SimulatedProbeStack sim(clock);
        VirtualIButton* key = sim.insertKey(QStringLiteral("ds1993:06A1B2C3D4E5F6"));
        QVERIFY(sim.probe.open(nullptr));
        sim.dowIo().selectBase();
        // A reset that finds no key sends one character; the write stage's resets come first.
        if (stage == 0) {
            sim.probe.insertKeyAfterCharacters(sim.probe.removeKey(key), missedResets);
        }
        std::unique_ptr<VirtualIButton> away;
        int copyResets = 0;
        const QByteArray data = pattern(MemoryKey::kPageSize, 9);
        const DowIo::PageWrite result = sim.dowIo().writePage(2, data, [&] {
            if (stage == 1 && copyResets == 0) {
                away = sim.probe.removeKey(key);
            }
            if (stage == 1 && copyResets == missedResets) {
                sim.probe.insertKey(std::move(away));
            }
            ++copyResets;
        });
        QCOMPARE(stage == 0 ? result.ok : result.copied, done);
        QCOMPARE(result.error, done ? QString() : DowIo::noKeyMessage());
        QCOMPARE(key->memory().mid(MemoryKey::kPageSize, MemoryKey::kPageSize) == data, done);
    }
};

QTEST_GUILESS_MAIN(TestDowIo)
#include "tst_dowio.moc"
