#include "OneWireDoubles.h"
#include "onewire/DowIo.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

struct Rig {
    explicit Rig(int winNt = 1) : ports(log, winNt) {}
    EventLog log;
    ScriptedSerialLine line{&log};
    RecordingPortIo ports;
    DowIo dow{line, ports};
};

QByteArray hexBytes(const char* hex) {
    return QByteArray::fromHex(hex);
}

QByteArray slots(std::initializer_list<int> bytes) {
    QByteArray run;
    for (int b : bytes)
        run += DowIo::byteSlots(uint8_t(b));
    return run;
}

QString hexRun(const QByteArray& run) {
    return QString::fromLatin1(run.toHex(' '));
}

QStringList slowProgram(int base, int discarded = 0) {
    return {QStringLiteral("discard %1").arg(discarded), QStringLiteral("out %1 0").arg(base + 1),
            QStringLiteral("out %1 131").arg(base + 3),  QStringLiteral("out %1 0").arg(base + 1),
            QStringLiteral("out %1 11").arg(base),       QStringLiteral("out %1 3").arg(base + 3),
            QStringLiteral("out %1 13").arg(base + 1)};
}

QStringList fastProgram(int base) {
    return {QStringLiteral("out %1 0").arg(base + 1), QStringLiteral("out %1 131").arg(base + 3),
            QStringLiteral("out %1 1").arg(base), QStringLiteral("out %1 3").arg(base + 3),
            QStringLiteral("out %1 13").arg(base + 1)};
}

// A key that answers a reset with presence and a ROM read with its ROM.
std::function<QByteArray(const QByteArray&)> keyWithRom(const QByteArray& rom, int slotDelta = 0) {
    return [rom, slotDelta](const QByteArray& run) {
        if (run == QByteArray(1, char(DowIo::kResetChar)))
            return QByteArray(1, char(0xE0));
        QByteArray echoes = run.left(8) + readEchoes(rom);
        if (slotDelta < 0)
            echoes.chop(-slotDelta);
        else
            echoes += QByteArray(slotDelta, char(0xFF));
        return echoes;
    };
}

}  // namespace

class TestDowIo : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registerPrograms();
    void selectBase_data();
    void selectBase();
    void startupGrants_data();
    void startupGrants();
    void shutdownRelease_data();
    void shutdownRelease();
    void portDialog_data();
    void portDialog();
    void portDialogOpenFailure();
    void resetStep_data();
    void resetStep();
    void blockingReset_data();
    void blockingReset();
    void writeByte_data();
    void writeByte();
    void readByte_data();
    void readByte();
    void romRead_data();
    void romRead();
    void commandAlternation();
    void notConnected();
    void pageAddress_data();
    void pageAddress();
    void pageWriteCharacters();
    void pageWriteFailures_data();
    void pageWriteFailures();
    void readMemory_data();
    void readMemory();
};

void TestDowIo::registerPrograms() {
    Rig r;
    r.dow.selectBase();
    r.line.input = "\x01\x02";
    r.dow.initSlowRate();
    QCOMPARE(r.log.take(), slowProgram(1016, 2));
    QVERIFY(r.dow.initialised());

    r.dow.initSlowRate();
    QCOMPARE(r.log.take(), QStringList());

    r.dow.switchFastRate();
    QCOMPARE(r.log.take(), fastProgram(1016));
    QVERIFY(!r.dow.initialised());

    r.dow.initSlowRate();
    QCOMPARE(r.log.take(), slowProgram(1016));
}

void TestDowIo::selectBase_data() {
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<int>("base");
    QTest::newRow("Com1") << QList<int>{1} << 1016;
    QTest::newRow("Com2") << QList<int>{2} << 760;
    QTest::newRow("3 keeps Com2") << QList<int>{2, 3} << 760;
    QTest::newRow("3 keeps Com1") << QList<int>{1, 3} << 1016;
    QTest::newRow("Com1 after Com2") << QList<int>{2, 1} << 1016;
    QTest::newRow("3 before any") << QList<int>{3} << 0;
}

void TestDowIo::selectBase() {
    QFETCH(QList<int>, numbers);
    QFETCH(int, base);
    Rig r;
    for (int number : numbers) {
        r.line.number = number;
        r.dow.selectBase();
    }
    r.dow.initSlowRate();
    QCOMPARE(r.log.take(), slowProgram(base));
}

void TestDowIo::startupGrants_data() {
    QTest::addColumn<QString>("poort");
    QTest::addColumn<int>("numberBefore");
    QTest::addColumn<int>("winNt");
    QTest::addColumn<QStringList>("events");

    QTest::newRow("1") << "1" << 2 << 1 << QStringList{"enable 1016-1023", "open 1"};
    QTest::newRow("2") << "2" << 1 << 1 << QStringList{"enable 760-767", "open 2"};
    QTest::newRow("blanks around 2") << " 2 " << 1 << 1 << QStringList{"enable 760-767", "open 2"};
    QTest::newRow("3 grants nothing") << "3" << 1 << 1 << QStringList{"open 3"};
    QTest::newRow("empty keeps the line's") << "" << 2 << 1 << QStringList{"enable 760-767", "open 2"};
    QTest::newRow("not NT") << "2" << 1 << 0 << QStringList{"open 2"};
}

void TestDowIo::startupGrants() {
    QFETCH(QString, poort);
    QFETCH(int, numberBefore);
    QFETCH(int, winNt);
    QFETCH(QStringList, events);
    Rig r(winNt);
    r.line.opened = false;
    r.line.number = numberBefore;
    QString error;
    QVERIFY(r.dow.startUp(poort, &error));
    QCOMPARE(r.log.take(), events);
    QVERIFY(r.line.isOpen());
}

void TestDowIo::shutdownRelease_data() {
    QTest::addColumn<int>("winNt");
    QTest::addColumn<bool>("open");
    QTest::addColumn<QStringList>("events");
    QTest::newRow("NT, open") << 1 << true << QStringList{"disable 1016-1018", "disable 760-762", "close"};
    QTest::newRow("NT, closed") << 1 << false << QStringList{"disable 1016-1018", "disable 760-762"};
    QTest::newRow("not NT") << 0 << true << QStringList{"close"};
}

void TestDowIo::shutdownRelease() {
    QFETCH(int, winNt);
    QFETCH(bool, open);
    QFETCH(QStringList, events);
    Rig r(winNt);
    r.line.number = 2;
    r.line.opened = open;
    r.dow.shutdown();
    QCOMPARE(r.log.take(), events);
    QVERIFY(!r.line.isOpen());
}

void TestDowIo::portDialog_data() {
    QTest::addColumn<int>("winNt");
    QTest::addColumn<int>("chosen");
    QTest::addColumn<QStringList>("okEvents");
    QTest::newRow("NT, Com1") << 1 << 1 << QStringList{"close", "open 1", "enable 1016-1023"};
    QTest::newRow("NT, Com2") << 1 << 2 << QStringList{"close", "open 2", "enable 760-767"};
    QTest::newRow("not NT") << 0 << 2 << QStringList{"close", "open 2"};
}

void TestDowIo::portDialog() {
    QFETCH(int, winNt);
    QFETCH(int, chosen);
    QFETCH(QStringList, okEvents);
    Rig r(winNt);
    r.dow.setInitialised(true);

    // Releasing both whole ranges does not depend on the NT test.
    r.dow.beginPortDialog();
    QCOMPARE(r.log.take(), (QStringList{"close", "disable 1016-1023", "disable 760-767"}));

    QString error;
    QVERIFY(r.dow.applyPortChoice(chosen, &error));
    QCOMPARE(r.log.take(), okEvents);
    QVERIFY(r.line.isOpen());
    QVERIFY(!r.dow.initialised());
}

void TestDowIo::portDialogOpenFailure() {
    Rig r;
    r.line.openError = QStringLiteral("Permission denied");
    QString error;
    QVERIFY(!r.dow.applyPortChoice(2, &error));
    QVERIFY(error.contains(QLatin1String("Com2")));
    QVERIFY(error.contains(QLatin1String("Permission denied")));
    QVERIFY(!r.line.isOpen());
    QCOMPARE(r.line.portNumber(), 2);
}

void TestDowIo::resetStep_data() {
    QTest::addColumn<QByteArray>("waiting");
    QTest::addColumn<int>("outQueued");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<bool>("resetSent");

    using S = DowIo::ResetStep;
    QTest::newRow("nothing waiting") << QByteArray() << 0 << int(S::ResetSent) << true;
    QTest::newRow("output still queued") << QByteArray() << 3 << int(S::Busy) << false;
    QTest::newRow("F0: no key") << hexBytes("F0") << 0 << int(S::NoKey) << true;
    QTest::newRow("F0 while queued") << hexBytes("F0") << 2 << int(S::NoKey) << false;
    QTest::newRow("1 is presence") << hexBytes("01") << 0 << int(S::Presence) << false;
    QTest::newRow("E0 is presence") << hexBytes("E0") << 0 << int(S::Presence) << false;
    QTest::newRow("239 is presence") << hexBytes("EF") << 0 << int(S::Presence) << false;
    QTest::newRow("0: line held low") << hexBytes("00") << 0 << int(S::NoPresence) << true;
    QTest::newRow("FF is no presence") << hexBytes("FF") << 0 << int(S::NoPresence) << true;
    QTest::newRow("two stale echoes") << hexBytes("E0E0") << 0 << int(S::ResetSent) << true;
    QTest::newRow("three stale echoes") << hexBytes("E010F0") << 0 << int(S::ResetSent) << true;
}

void TestDowIo::resetStep() {
    QFETCH(QByteArray, waiting);
    QFETCH(int, outQueued);
    QFETCH(int, outcome);
    QFETCH(bool, resetSent);
    Rig r;
    r.line.respond = [](const QByteArray&) { return QByteArray(); };
    r.line.input = waiting;
    r.line.outQueued = outQueued;
    QCOMPARE(int(r.dow.resetStep()), outcome);
    QCOMPARE(r.line.written, resetSent ? hexBytes("F0") : QByteArray());
    QCOMPARE(r.line.input, QByteArray());
}

void TestDowIo::blockingReset_data() {
    QTest::addColumn<QByteArray>("stale");
    QTest::addColumn<QByteArray>("echo");
    QTest::addColumn<bool>("presence");
    QTest::newRow("presence") << QByteArray() << hexBytes("E0") << true;
    QTest::newRow("F0: no key") << QByteArray() << hexBytes("F0") << false;
    QTest::newRow("0: line held low") << QByteArray() << hexBytes("00") << false;
    QTest::newRow("no echo at all") << QByteArray() << QByteArray() << false;
    QTest::newRow("stale presence is not decoded") << hexBytes("E0") << hexBytes("F0") << false;
    QTest::newRow("late presence within the window") << QByteArray() << hexBytes("F0E0") << true;
}

void TestDowIo::blockingReset() {
    QFETCH(QByteArray, stale);
    QFETCH(QByteArray, echo);
    QFETCH(bool, presence);
    Rig r;
    r.dow.selectBase();
    r.dow.setInitialised(true);
    r.line.input = stale;
    r.line.respond = [echo](const QByteArray&) { return echo; };

    QElapsedTimer clock;
    clock.start();
    QCOMPARE(r.dow.reset(), presence);
    const qint64 elapsed = clock.elapsed();

    // The slow rate is programmed again even though the flag said it was.
    QStringList expected = slowProgram(1016, stale.size());
    expected << "discard 0"
             << "write f0 @9600";
    QCOMPARE(r.log.take(), expected);
    if (presence) {
        QVERIFY(elapsed < DowIo::kResetTimeoutMs);
    } else {
        QVERIFY(elapsed >= DowIo::kResetTimeoutMs);
        QVERIFY(elapsed < 1000);
    }
}

void TestDowIo::writeByte_data() {
    QTest::addColumn<int>("byte");
    QTest::addColumn<QByteArray>("characters");
    QTest::newRow("00") << 0x00 << hexBytes("0000000000000000");
    QTest::newRow("FF") << 0xFF << hexBytes("FFFFFFFFFFFFFFFF");
    QTest::newRow("01 least significant first") << 0x01 << hexBytes("FF00000000000000");
    QTest::newRow("80") << 0x80 << hexBytes("00000000000000FF");
    QTest::newRow("A5") << 0xA5 << hexBytes("FF00FF0000FF00FF");
    QTest::newRow("CC skip ROM") << 0xCC << hexBytes("0000FFFF0000FFFF");
}

void TestDowIo::writeByte() {
    QFETCH(int, byte);
    QFETCH(QByteArray, characters);
    Rig r;
    QVERIFY(r.dow.writeByte(uint8_t(byte)));
    QCOMPARE(r.line.written, characters);
    // One run, then one wait for its echoes.
    QCOMPARE(r.line.runs.size(), 1);
    QCOMPARE(r.log.take().last(), QStringLiteral("echoes"));
}

void TestDowIo::readByte_data() {
    QTest::addColumn<QByteArray>("echoes");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("left");
    QTest::newRow("all ones") << hexBytes("FFFFFFFFFFFFFFFF") << 0xFF << 0;
    QTest::newRow("FE reads 0") << hexBytes("FFFEFFFEFFFEFFFE") << 0x55 << 0;
    QTest::newRow("only FF is 1") << hexBytes("F07F00FF80FEF0EF") << 0x08 << 0;
    QTest::newRow("missing echoes leave 0") << hexBytes("FFFFFF") << 0x07 << 0;
    QTest::newRow("takes only eight") << hexBytes("FFFFFFFFFFFFFFFFFFFF") << 0xFF << 2;
}

void TestDowIo::readByte() {
    QFETCH(QByteArray, echoes);
    QFETCH(int, value);
    QFETCH(int, left);
    Rig r;
    r.line.input = echoes;
    QCOMPARE(int(r.dow.readByte()), value);
    QCOMPARE(r.line.inBufferCount(), left);
}

void TestDowIo::romRead_data() {
    QTest::addColumn<QByteArray>("rom");
    QTest::addColumn<int>("slotDelta");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("keyCode");
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("familyName");

    using I = DowIo::Identification;
    QTest::newRow("known ROM") << hexBytes("021CB801000000A2") << 0 << int(I::Ok) << "00000001B81C" << 2 << "2";
    QTest::newRow("DS1993") << hexBytes("06674523010000A0") << 0 << int(I::Ok) << "000001234567" << 6 << "DS1993(prog)";
    QTest::newRow("DS1994") << hexBytes("04EFCDAB896745AB") << 0 << int(I::Ok) << "456789ABCDEF" << 4 << "DS1994(klok)";
    QTest::newRow("all zero passes") << hexBytes("0000000000000000") << 0 << int(I::Ok) << "000000000000" << 0 << "0";
    QTest::newRow("bad CRC") << hexBytes("021CB801000000A3") << 0 << int(I::NoResult) << "" << 0 << "";
    QTest::newRow("bit flipped") << hexBytes("021CB801000100A2") << 0 << int(I::NoResult) << "" << 0 << "";
    QTest::newRow("63 slots") << hexBytes("021CB801000000A2") << -1 << int(I::NoResult) << "" << 0 << "";
    QTest::newRow("65 slots") << hexBytes("021CB801000000A2") << 1 << int(I::NoResult) << "" << 0 << "";
}

void TestDowIo::romRead() {
    QFETCH(QByteArray, rom);
    QFETCH(int, slotDelta);
    QFETCH(int, status);
    QFETCH(QString, keyCode);
    QFETCH(int, family);
    QFETCH(QString, familyName);
    Rig r;
    r.line.respond = keyWithRom(rom, slotDelta);
    r.dow.setKeyCode(QStringLiteral("OLD"));

    QCOMPARE(int(r.dow.identifyProbe().status), int(DowIo::Identification::ResetSent));
    QCOMPARE(r.line.written, hexBytes("F0"));
    const DowIo::Identification id = r.dow.identifyProbe();
    QCOMPARE(int(id.status), status);
    QCOMPARE(id.keyCode, keyCode);
    QCOMPARE(r.dow.keyCode(), keyCode);
    QCOMPARE(id.family, family);
    QCOMPARE(id.familyName, familyName);
    QCOMPARE(id.rom, status == int(DowIo::Identification::Ok) ? rom : QByteArray());
    // Command and 64 read slots go out as one run, at the fast rate.
    QCOMPARE(r.line.runs.last(), slots({0x33}) + DowIo::readSlots(8));
    QVERIFY(!r.dow.initialised());
}

void TestDowIo::commandAlternation() {
    Rig r;
    r.line.respond = keyWithRom(hexBytes("021CB801000000A2"));
    QList<int> commands;
    auto commandsSent = [&] {
        QList<int> sent;
        for (const QByteArray& run : r.line.runs) {
            if (run.size() == 72) {
                uint8_t byte = 0;
                for (int bit = 0; bit < 8; ++bit)
                    byte |= uint8_t(run[bit]) == 0xFF ? (1 << bit) : 0;
                sent << byte;
            }
        }
        return sent;
    };
    int oks = 0;
    for (int tick = 0; tick < 6; ++tick)
        oks += r.dow.readKeyCode().status == DowIo::Identification::Ok;
    QCOMPARE(oks, 3);
    QCOMPARE(commandsSent(), (QList<int>{0x0F, 0x33, 0x0F}));
    QCOMPARE(r.dow.commandToggle(), 1);

    r.line.runs.clear();
    for (int tick = 0; tick < 4; ++tick)
        r.dow.identifyProbe();
    QCOMPARE(commandsSent(), (QList<int>{0x33, 0x33}));
    QCOMPARE(r.dow.commandToggle(), 1);
    r.line.runs.clear();
    r.dow.readKeyCode();
    r.dow.readKeyCode();
    QCOMPARE(commandsSent(), (QList<int>{0x33}));
}

void TestDowIo::notConnected() {
    Rig r;
    r.line.opened = false;
    r.dow.setInitialised(true);
    QCOMPARE(int(r.dow.readKeyCode().status), int(DowIo::Identification::NotConnected));
    QVERIFY(!r.dow.initialised());
    QCOMPARE(r.log.take(), QStringList());
}

void TestDowIo::pageAddress_data() {
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("ta1");
    QTest::addColumn<int>("ta2");
    QTest::newRow("1") << 1 << 0x00 << 0;
    QTest::newRow("2") << 2 << 0x20 << 0;
    QTest::newRow("8") << 8 << 0xE0 << 0;
    QTest::newRow("9") << 9 << 0x00 << 1;
    QTest::newRow("10") << 10 << 0x20 << 1;
    QTest::newRow("16") << 16 << 0xE0 << 1;
}

void TestDowIo::pageAddress() {
    QFETCH(int, page);
    QFETCH(int, ta1);
    QFETCH(int, ta2);
    uint8_t low = 0xAA;
    uint8_t high = 0xAA;
    DowIo::pageAddress(page, &low, &high);
    QCOMPARE(int(low), ta1);
    QCOMPARE(int(high), ta2);
}

void TestDowIo::pageWriteCharacters() {
    Rig r;
    r.dow.selectBase();
    r.line.respond = [](const QByteArray& run) { return run == hexBytes("F0") ? hexBytes("E0") : run; };
    QByteArray data;
    for (int i = 0; i < 32; ++i)
        data.append(char(i * 7 + 3));
    int eventsProcessed = 0;

    const DowIo::PageWrite result = r.dow.writePage(8, data, [&] { ++eventsProcessed; });
    QVERIFY(result.ok);
    QVERIFY(result.copied);
    QVERIFY(result.error.isEmpty());
    QCOMPARE(eventsProcessed, 1);

    QByteArray scratchpad = slots({0xCC, 0x0F, 0xE0, 0x00});
    for (char c : data)
        scratchpad += DowIo::byteSlots(uint8_t(c));
    const QByteArray copy = slots({0xCC, 0x55, 0xE0, 0x00, 0x1F});

    QStringList expected;
    expected << slowProgram(1016) << "discard 0"
             << "write f0 @9600" << fastProgram(1016) << "write " + hexRun(scratchpad) + " @9600"
             << "echoes";
    expected << slowProgram(1016, 288) << "discard 0"
             << "write f0 @9600" << fastProgram(1016) << "write " + hexRun(copy) + " @9600"
             << "echoes";
    QCOMPARE(r.log.take(), expected);
    QCOMPARE(int(r.dow.commandByte()), 0xAA);
}

void TestDowIo::pageWriteFailures_data() {
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<bool>("copied");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("minMs");
    QTest::addColumn<int>("maxMs");

    QTest::newRow("no key") << "nokey" << false << false << DowIo::noKeyMessage() << 2000 << 3500;
    QTest::newRow("key pulled before the copy") << "pulled" << true << false << DowIo::noKeyMessage() << 1000 << 2000;
    QTest::newRow("probe unplugged: no echoes")
        << "noechoes" << false << false << DowIo::probeGoneMessage() << 0 << 500;
    QTest::newRow("port closed") << "closed" << false << false << DowIo::probeGoneMessage() << 0 << 100;
    QTest::newRow("short page") << "short" << false << false << QString() << 0 << 100;
}

void TestDowIo::pageWriteFailures() {
    QFETCH(QString, scenario);
    QFETCH(bool, ok);
    QFETCH(bool, copied);
    QFETCH(QString, error);
    QFETCH(int, minMs);
    QFETCH(int, maxMs);
    Rig r;
    int presences = scenario == QLatin1String("pulled") ? 1 : 1000;
    r.line.respond = [&](const QByteArray& run) {
        if (run == hexBytes("F0")) {
            if (scenario == QLatin1String("nokey") || presences-- <= 0)
                return hexBytes("F0");
            return hexBytes("E0");
        }
        return scenario == QLatin1String("noechoes") ? QByteArray() : run;
    };
    r.line.opened = scenario != QLatin1String("closed");
    const QByteArray data(scenario == QLatin1String("short") ? 31 : 32, '\x5A');

    QElapsedTimer clock;
    clock.start();
    const DowIo::PageWrite result = r.dow.writePage(1, data);
    const qint64 elapsed = clock.elapsed();
    QCOMPARE(result.ok, ok);
    QCOMPARE(result.copied, copied);
    if (error.isEmpty())
        QVERIFY(!result.error.isEmpty());
    else
        QCOMPARE(result.error, error);
    QVERIFY2(elapsed >= minMs && elapsed <= maxMs, qPrintable(QString::number(elapsed)));
}

void TestDowIo::readMemory_data() {
    QTest::addColumn<int>("dropped");
    QTest::addColumn<bool>("ok");
    QTest::newRow("whole key") << 0 << true;
    QTest::newRow("one echo lost") << 1 << false;
}

void TestDowIo::readMemory() {
    QFETCH(int, dropped);
    QFETCH(bool, ok);
    Rig r;
    QByteArray memory;
    for (int i = 0; i < DowIo::kMemorySize; ++i)
        memory.append(char((i * 37) ^ (i >> 3)));
    r.line.respond = [&](const QByteArray& run) {
        if (run == hexBytes("F0"))
            return hexBytes("E0");
        QByteArray echoes = run.left(32) + readEchoes(memory);
        echoes.chop(dropped);
        return echoes;
    };
    const DowIo::MemoryRead result = r.dow.readMemory();
    QCOMPARE(r.line.runs.last(), slots({0xCC, 0xF0, 0x00, 0x00}) + DowIo::readSlots(DowIo::kMemorySize));
    QCOMPARE(result.ok, ok);
    if (ok) {
        QCOMPARE(result.data, memory);
    } else {
        QVERIFY(!result.error.isEmpty());
        QVERIFY(result.data.isEmpty());
    }
}

QTEST_GUILESS_MAIN(TestDowIo)
#include "tst_dowio.moc"
