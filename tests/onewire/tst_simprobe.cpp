#include "SimulatedProbe.h"
#include "VirtualIButtonMemory.h"

#include <QElapsedTimer>
#include <QTest>

#include <set>

namespace {

constexpr int kResetBaud = 115200 / 11;
constexpr int kSlotBaud = 115200;
constexpr char kOne = char(0xFF);
constexpr char kZero = char(0x00);

std::unique_ptr<VirtualIButton> makeKey(const QString& text) {
    QString error;
    auto key = VirtualIButton::fromText(text, &error);
    if (!key) {
        qFatal("%s", qPrintable(error));
    }
    return key;
}

QByteArray romBytes(const VirtualIButton& key) {
    return QByteArray(reinterpret_cast<const char*>(key.rom().data()), 8);
}

// The character sequences the program sends, one slot per character, bits LSB first.
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

// Drives the probe the way the 1-Wire layer does: waits for every echo before changing the rate.
class Master {
public:
    explicit Master(SimulatedProbe& probe) : m_probe(probe) {}

    int reset() {
        rate(kResetBaud);
        m_probe.discardInput();
        m_probe.write(QByteArray(1, char(0xF0)));
        return m_probe.waitForEchoes(100) ? m_probe.readChar() : -1;
    }
    QByteArray exchange(const QByteArray& characters) {
        rate(kSlotBaud);
        m_probe.discardInput();
        m_probe.write(characters);
        if (!m_probe.waitForEchoes(1000)) {
            return {};
        }
        QByteArray echoes;
        while (m_probe.inBufferCount() > 0) {
            echoes += char(m_probe.readChar());
        }
        return echoes;
    }
    // Reset, then the given bytes, then readBytes bytes read.
    QByteArray transaction(const QByteArray& bytes, int readBytes) {
        const int presence = reset();
        if (presence <= 0 || presence >= 240) {
            return "no presence";
        }
        const QByteArray echoes = exchange(slotsFor(bytes) + QByteArray(readBytes * 8, kOne));
        return bytesFromEchoes(echoes.mid(bytes.size() * 8));
    }
    void rate(int baud) {
        m_probe.waitForEchoes(1000);
        m_probe.setBaudRate(baud);
    }

private:
    SimulatedProbe& m_probe;
};

QByteArray pattern(int size, int seed) {
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i) {
        bytes[i] = char((i * 7 + seed) & 0xFF);
    }
    return bytes;
}

}  // namespace

class TestSimulatedProbe : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_clock = std::make_unique<ManualSimulatedClock>();
        m_probe = std::make_unique<SimulatedProbe>(m_clock.get());
        QString error;
        QVERIFY(m_probe->open(&error));
    }

    void presence_data();
    void presence();
    void presenceEchoValues_data();
    void presenceEchoValues();
    void romText_data();
    void romText();
    void readRom_data();
    void readRom();
    void scratchpadAndCopy_data();
    void scratchpadAndCopy();
    void readMemory_data();
    void readMemory();
    void searchRom_data();
    void searchRom();
    void matchRomSelectsOneKey();
    void rateChangeWithCharactersInFlight_data();
    void rateChangeWithCharactersInFlight();
    void keyTouchedOrPulledAtCharacter_data();
    void keyTouchedOrPulledAtCharacter();
    void echoPacing_data();
    void echoPacing();
    void echoPacingInRealTime();
    void faults();

private:
    std::unique_ptr<ManualSimulatedClock> m_clock;
    std::unique_ptr<SimulatedProbe> m_probe;
};

void TestSimulatedProbe::presence_data() {
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QList<int>>("presenceEchoes");
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("character");
    QTest::addColumn<int>("echo");

    const QString ds1990a = "ds1990a:01A1B2C3D4E5F6";
    QTest::newRow("no key") << QStringList() << QList<int>() << kResetBaud << 0xF0 << 0xF0;
    QTest::newRow("ds1990a early short") << QStringList{ds1990a} << QList<int>{0xE0} << kResetBaud << 0xF0 << 0xE0;
    QTest::newRow("ds1993 early long") << QStringList{"ds1993:06A1B2C3D4E5F6"} << QList<int>{0xC0} << kResetBaud << 0xF0
                                       << 0xC0;
    QTest::newRow("ds1994 late") << QStringList{"ds1994:04A1B2C3D4E5F6"} << QList<int>{0x90} << kResetBaud << 0xF0
                                 << 0x90;
    // Two keys pull together: the line is low while either pulls.
    QTest::newRow("two keys") << QStringList{ds1990a, "ds1993:06A1B2C3D4E5F6"} << QList<int>{0xE0, 0x90} << kResetBaud
                              << 0xF0 << 0x80;
    // At the slot rate 0xF0 is 43 us low: a 0 slot, no reset, no presence.
    QTest::newRow("reset character at slot rate")
        << QStringList{ds1990a} << QList<int>{0xC0} << kSlotBaud << 0xF0 << 0xF0;
    // 0x00 at the reset rate is 860 us low: a reset too, its presence hidden under it.
    QTest::newRow("zero at reset rate") << QStringList{ds1990a} << QList<int>{0xC0} << kResetBaud << 0x00 << 0x00;
}

void TestSimulatedProbe::presence() {
    QFETCH(QStringList, keys);
    QFETCH(QList<int>, presenceEchoes);
    QFETCH(int, baud);
    QFETCH(int, character);
    QFETCH(int, echo);

    for (int i = 0; i < keys.size(); ++i) {
        VirtualIButton* key = m_probe->insertKey(makeKey(keys[i]));
        QVERIFY(key->setPresenceEcho(uint8_t(presenceEchoes[i])));
    }
    m_probe->setBaudRate(baud);
    QVERIFY(m_probe->write(QByteArray(1, char(character))));
    QVERIFY(m_probe->waitForEchoes(100));
    QCOMPARE(m_probe->readChar(), echo);
    QCOMPARE(m_probe->readChar(), -1);

    // Whatever happened, a proper reset afterwards finds the keys again.
    if (!keys.isEmpty()) {
        const int again = Master(*m_probe).reset();
        QVERIFY2(again > 0 && again < 240, qPrintable(QString::number(again, 16)));
    }
}

void TestSimulatedProbe::presenceEchoValues_data() {
    QTest::addColumn<int>("echo");
    QTest::addColumn<bool>("accepted");
    for (int echo : {0xE0, 0xC0, 0x90, 0x80, 0xB0, 0x70, 0x00}) {
        QTest::newRow(qPrintable(QString::number(echo, 16))) << echo << true;
    }
    QTest::newRow("not one pulse") << 0xA0 << false;
    QTest::newRow("no pulse") << 0xF0 << false;
    QTest::newRow("low nibble") << 0xE8 << false;
}

void TestSimulatedProbe::presenceEchoValues() {
    QFETCH(int, echo);
    QFETCH(bool, accepted);

    VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06000000000001"));
    const uint8_t before = key->presenceEcho();
    QVERIFY(before > 0 && before < 240);
    QCOMPARE(key->setPresenceEcho(uint8_t(echo)), accepted);
    QCOMPARE(Master(*m_probe).reset(), accepted ? echo : before);
}

void TestSimulatedProbe::romText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("rom");
    QTest::addColumn<int>("kind");
    // Known ROM with its CRC: 02 1C B8 01 00 00 00 A2 (Maxim application note 27).
    QTest::newRow("crc computed") << "ds1990a:021CB801000000"
                                  << "021CB801000000A2" << int(VirtualIButton::Kind::Ds1990A);
    QTest::newRow("crc given, even wrong") << "DS1993:06A1B2C3D4E5F600"
                                           << "06A1B2C3D4E5F600" << int(VirtualIButton::Kind::Ds1993);
    QTest::newRow("unknown kind") << "ds1996:0CA1B2C3D4E5F6" << QString() << 0;
    QTest::newRow("short rom") << "ds1994:04A1B2C3D4E5" << QString() << 0;
    QTest::newRow("not hex") << "ds1994:04A1B2C3D4E5GG" << QString() << 0;
    QTest::newRow("no colon") << "ds1990" << QString() << 0;
}

void TestSimulatedProbe::romText() {
    QFETCH(QString, text);
    QFETCH(QString, rom);
    QFETCH(int, kind);

    QString error;
    auto key = VirtualIButton::fromText(text, &error);
    if (rom.isEmpty()) {
        QVERIFY(!key);
        QVERIFY(!error.isEmpty());
        return;
    }
    QVERIFY2(key, qPrintable(error));
    QCOMPARE(VirtualIButton::romToHex(key->rom()), rom);
    QCOMPARE(int(key->kind()), kind);
}

void TestSimulatedProbe::readRom_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("command");
    QTest::addColumn<bool>("answers");
    QTest::newRow("ds1990a 33") << "ds1990a:01A1B2C3D4E5F6" << 0x33 << true;
    QTest::newRow("ds1990a 0F") << "ds1990a:01A1B2C3D4E5F6" << 0x0F << true;
    QTest::newRow("old ds1990 33") << "ds1990:0112345678ABCD" << 0x33 << false;
    QTest::newRow("old ds1990 0F") << "ds1990:0112345678ABCD" << 0x0F << true;
    QTest::newRow("ds1993 33") << "ds1993:06A1B2C3D4E5F6" << 0x33 << true;
    QTest::newRow("ds1994 0F") << "ds1994:04010203040506" << 0x0F << true;
}

void TestSimulatedProbe::readRom() {
    QFETCH(QString, key);
    QFETCH(int, command);
    QFETCH(bool, answers);

    VirtualIButton* inserted = m_probe->insertKey(makeKey(key));
    Master master(*m_probe);
    const int presence = master.reset();
    QVERIFY(presence > 0 && presence < 240);

    const QByteArray echoes = master.exchange(slotsFor(QByteArray(1, char(command))) + QByteArray(64, kOne));
    QCOMPARE(echoes.size(), 72);
    // The command's own echoes show only what was sent.
    QCOMPARE(echoes.left(8), slotsFor(QByteArray(1, char(command))));
    const QByteArray rom = bytesFromEchoes(echoes.mid(8));
    if (!answers) {
        QCOMPARE(rom, QByteArray(8, kOne));
        return;
    }
    QCOMPARE(rom, romBytes(*inserted));
    QCOMPARE(VirtualIButton::crc8(reinterpret_cast<const uint8_t*>(rom.constData()), 8), uint8_t(0));
    // A 0 is held 15-60 us into an 8.7 us slot: some extra low bits, never the whole character.
    for (char echo : echoes.mid(8)) {
        QVERIFY2(uint8_t(echo) == 0xFF || (uint8_t(echo) >= 0xC0 && uint8_t(echo) <= 0xFE),
                 qPrintable(QString::number(uint8_t(echo), 16)));
    }
}

void TestSimulatedProbe::scratchpadAndCopy_data() {
    QTest::addColumn<int>("target");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("extraBits");
    QTest::addColumn<int>("status");  // E/S after the write
    QTest::addColumn<QByteArray>("authorisation");
    QTest::addColumn<bool>("copied");

    const QByteArray page = pattern(32, 3);
    QTest::newRow("full page, right") << 0x0100 << page << 0 << 0x1F << QByteArray("\x00\x01\x1F", 3) << true;
    QTest::newRow("page 8, right") << 0x00E0 << page << 0 << 0x1F << QByteArray("\xE0\x00\x1F", 3) << true;
    QTest::newRow("wrong ending offset") << 0x0100 << page << 0 << 0x1F << QByteArray("\x00\x01\x1E", 3) << false;
    QTest::newRow("wrong TA1") << 0x0100 << page << 0 << 0x1F << QByteArray("\x20\x01\x1F", 3) << false;
    QTest::newRow("wrong TA2") << 0x0100 << page << 0 << 0x1F << QByteArray("\x00\x00\x1F", 3) << false;
    QTest::newRow("half page from offset 16")
        << 0x0030 << page.left(16) << 0 << 0x1F << QByteArray("\x30\x00\x1F", 3) << true;
    QTest::newRow("partial byte sets PF") << 0x0040 << page << 4 << 0x3F << QByteArray("\x40\x00\x1F", 3) << false;
    QTest::newRow("partial byte, PF authorised")
        << 0x0040 << page.left(10) << 3 << 0x29 << QByteArray("\x40\x00\x29", 3) << true;
    QTest::newRow("overflow sets OF, drops the rest")
        << 0x0000 << page + "\x55" << 0 << 0x5F << QByteArray("\x00\x00\x5F", 3) << true;
}

void TestSimulatedProbe::scratchpadAndCopy() {
    QFETCH(int, target);
    QFETCH(QByteArray, data);
    QFETCH(int, extraBits);
    QFETCH(int, status);
    QFETCH(QByteArray, authorisation);
    QFETCH(bool, copied);

    VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
    const QByteArray before = pattern(512, 100);
    key->setMemory(before);
    Master master(*m_probe);
    const QByteArray header = QByteArray("\xCC\x0F", 2) + char(target & 0xFF) + char(target >> 8);

    // Write Scratchpad, possibly ending in a partial byte.
    QVERIFY(master.reset() < 240);
    master.exchange(slotsFor(header + data) + QByteArray(extraBits, kOne));

    // Read Scratchpad: TA1 TA2 E/S, then the data from the byte offset to the end, then ones.
    const int offset = target & 0x1F;
    const int stored = std::min(int(data.size()), 32 - offset);
    const QByteArray read = master.transaction("\xCC\xAA", 3 + (32 - offset) + 2);
    QCOMPARE(read.left(3), QByteArray(1, char(target & 0xFF)) + char(target >> 8) + char(status));
    QCOMPARE(read.mid(3, stored), data.left(stored));
    QCOMPARE(read.right(2), QByteArray(2, kOne));

    // Copy Scratchpad: after a copy the key sends zeros until the next reset.
    const QByteArray copyEchoes = master.transaction(QByteArray("\xCC\x55", 2) + authorisation, 1);
    QCOMPARE(copyEchoes, QByteArray(1, copied ? kZero : kOne));
    QByteArray expected = before;
    if (copied) {
        expected.replace(target, stored, data.left(stored));
    }
    QCOMPARE(key->memory(), expected);
    QCOMPARE(key->endingStatus(), uint8_t(copied ? status | VirtualIButtonMemory::kFlagAa : status));

    // The same copy again is refused once AA is set; memory read back over the wire matches.
    master.transaction(QByteArray("\xCC\x55", 2) + authorisation, 1);
    QCOMPARE(master.transaction(QByteArray("\xCC\xF0\x00\x00", 4), 512), expected);
}

void TestSimulatedProbe::readMemory_data() {
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("fromMemory");  // bytes that come from memory before the ones
    QTest::newRow("whole memory and past its end") << 0x0000 << 514 << 512;
    QTest::newRow("last page") << 0x01E0 << 40 << 32;
    QTest::newRow("odd address") << 0x0123 << 16 << 16;
    QTest::newRow("beyond memory") << 0x0200 << 4 << 0;
}

void TestSimulatedProbe::readMemory() {
    QFETCH(int, address);
    QFETCH(int, length);
    QFETCH(int, fromMemory);

    VirtualIButton* key = m_probe->insertKey(makeKey("ds1994:04A1B2C3D4E5F6"));
    const QByteArray memory = pattern(512, 9);
    key->setMemory(memory);
    const QByteArray read =
        Master(*m_probe).transaction(QByteArray("\xCC\xF0", 2) + char(address & 0xFF) + char(address >> 8), length);
    QCOMPARE(read.left(fromMemory), memory.mid(address, fromMemory));
    QCOMPARE(read.mid(fromMemory), QByteArray(length - fromMemory, kOne));
    QCOMPARE(key->targetAddress(), uint16_t(address));
}

void TestSimulatedProbe::searchRom_data() {
    QTest::addColumn<QStringList>("keys");
    QTest::newRow("two keys") << QStringList{"ds1990a:01A1B2C3D4E5F6", "ds1993:06A1B2C3D4E5F6"};
    QTest::newRow("differ in the last serial bit") << QStringList{"ds1993:06000000000080", "ds1993:06000000000000"};
    QTest::newRow("three keys") << QStringList{"ds1994:04A1B2C3D4E5F6", "ds1990a:01A1B2C3D4E5F6",
                                               "ds1990a:01A1B2C3D4E5F7"};
    QTest::newRow("one key") << QStringList{"ds1990a:01000000000001"};
}

void TestSimulatedProbe::searchRom() {
    QFETCH(QStringList, keys);

    std::set<QByteArray> expected;
    for (const QString& text : keys) {
        expected.insert(romBytes(*m_probe->insertKey(makeKey(text))));
    }

    // The usual search: at each bit read the bit and its complement, then pick a direction.
    Master master(*m_probe);
    std::set<QByteArray> found;
    QByteArray rom(8, '\0');
    int lastDiscrepancy = 0;
    bool done = false;
    while (!done && found.size() <= expected.size()) {
        const int presence = master.reset();
        QVERIFY(presence > 0 && presence < 240);
        master.exchange(slotsFor("\xF0"));
        int discrepancy = 0;
        for (int bit = 1; bit <= 64; ++bit) {
            const QByteArray pair = master.exchange(QByteArray(2, kOne));
            const bool id = uint8_t(pair[0]) == 0xFF;
            const bool complement = uint8_t(pair[1]) == 0xFF;
            QVERIFY2(!(id && complement), "no key answered");
            bool direction = id;
            if (!id && !complement) {
                const bool previous = (uint8_t(rom[(bit - 1) / 8]) >> ((bit - 1) % 8)) & 1;
                direction = bit < lastDiscrepancy ? previous : bit == lastDiscrepancy;
                if (!direction) {
                    discrepancy = bit;
                }
            }
            rom[(bit - 1) / 8] =
                char((uint8_t(rom[(bit - 1) / 8]) & ~(1 << ((bit - 1) % 8))) | (int(direction) << ((bit - 1) % 8)));
            master.exchange(QByteArray(1, direction ? kOne : kZero));
        }
        found.insert(rom);
        lastDiscrepancy = discrepancy;
        done = discrepancy == 0;
    }
    QCOMPARE(found, expected);
}

void TestSimulatedProbe::matchRomSelectsOneKey() {
    VirtualIButton* first = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
    VirtualIButton* second = m_probe->insertKey(makeKey("ds1994:04A1B2C3D4E5F6"));
    first->setMemory(pattern(512, 1));
    second->setMemory(pattern(512, 2));
    Master master(*m_probe);
    QCOMPARE(master.transaction("\x55" + romBytes(*second) + QByteArray("\xF0\x00\x00", 3), 32), pattern(32, 2));
    QCOMPARE(master.transaction("\x55" + romBytes(*first) + QByteArray("\xF0\x20\x00", 3), 32),
             pattern(512, 1).mid(32, 32));
}

void TestSimulatedProbe::rateChangeWithCharactersInFlight_data() {
    QTest::addColumn<int>("latencyUs");
    QTest::addColumn<bool>("waitBeforeRateChange");
    QTest::addColumn<QByteArray>("scratchpad");

    // Slots 0xFF still queued when the rate drops to the reset rate go out 95 us low: write-0s.
    QByteArray firstLeft(32, kZero);
    firstLeft[0] = 0x01;
    QTest::newRow("first slot already left") << 0 << false << firstLeft;
    QTest::newRow("usb adapter holds them all") << 1000 << false << QByteArray(32, kZero);
    QTest::newRow("echoes awaited first") << 1000 << true << QByteArray(32, kOne);
}

void TestSimulatedProbe::rateChangeWithCharactersInFlight() {
    QFETCH(int, latencyUs);
    QFETCH(bool, waitBeforeRateChange);
    QFETCH(QByteArray, scratchpad);

    VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
    m_probe->setTransferLatencyUs(latencyUs);
    Master master(*m_probe);
    QVERIFY(master.reset() < 240);
    master.exchange(slotsFor(QByteArray("\xCC\x0F\x00\x00", 4)));

    QVERIFY(m_probe->write(QByteArray(256, kOne)));
    if (waitBeforeRateChange) {
        QVERIFY(m_probe->waitForEchoes(1000));
    }
    m_probe->setBaudRate(kResetBaud);
    QVERIFY(m_probe->waitForEchoes(1000));
    // Their echoes still look like read slots: only the start bit was low at either rate.
    QByteArray echoes;
    while (m_probe->inBufferCount() > 0) {
        echoes += char(m_probe->readChar());
    }
    QCOMPARE(echoes, QByteArray(256, kOne));
    QCOMPARE(key->scratchpad(), scratchpad);
}

void TestSimulatedProbe::keyTouchedOrPulledAtCharacter_data() {
    QTest::addColumn<bool>("insert");
    QTest::addColumn<int>("atCharacter");
    QTest::addColumn<int>("romBitsRead");  // ROM bits read before the key went, or -1: no presence
    QTest::addColumn<bool>("presenceAfter");

    // Characters: reset, 8 command slots, 64 read slots, then the next reset.
    QTest::newRow("pulled before the reset") << false << 0 << -1 << false;
    QTest::newRow("pulled after the command") << false << 9 << 0 << false;
    QTest::newRow("pulled mid ROM") << false << 29 << 20 << false;
    QTest::newRow("pulled just before the next reset") << false << 73 << 64 << false;
    QTest::newRow("touched after the first reset") << true << 1 << -1 << true;
}

void TestSimulatedProbe::keyTouchedOrPulledAtCharacter() {
    QFETCH(bool, insert);
    QFETCH(int, atCharacter);
    QFETCH(int, romBitsRead);
    QFETCH(bool, presenceAfter);

    auto key = makeKey("ds1990a:01A5A5A5A5A5A5");
    const QByteArray rom = romBytes(*key);
    if (insert) {
        m_probe->insertKeyAfterCharacters(std::move(key), atCharacter);
    } else {
        m_probe->insertKey(std::move(key));
        m_probe->removeKeysAfterCharacters(atCharacter);
    }
    Master master(*m_probe);
    const int presence = master.reset();
    QCOMPARE(presence > 0 && presence < 240, romBitsRead >= 0);
    if (romBitsRead >= 0) {
        const QByteArray echoes = master.exchange(slotsFor("\x33") + QByteArray(64, kOne));
        QCOMPARE(echoes.size(), 72);
        const QByteArray expected = slotsFor(rom).left(romBitsRead) + QByteArray(64 - romBitsRead, kOne);
        QCOMPARE(QByteArray(bytesFromEchoes(echoes.mid(8))), bytesFromEchoes(expected));
    }
    const int next = master.reset();
    QCOMPARE(next > 0 && next < 240, presenceAfter);
    QCOMPARE(m_probe->keyCount(), presenceAfter ? 1 : 0);
}

void TestSimulatedProbe::echoPacing_data() {
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("latencyUs");
    QTest::addColumn<int>("characters");
    QTest::addColumn<double>("lastEchoUs");

    QTest::newRow("reset character") << kResetBaud << 0 << 1 << 10 * 1e6 / kResetBaud;
    QTest::newRow("three slots") << kSlotBaud << 0 << 3 << 3 * 10 * 1e6 / kSlotBaud;
    QTest::newRow("usb latency 16 ms") << kSlotBaud << 16000 << 8 << 16000 + 8 * 10 * 1e6 / kSlotBaud;
}

void TestSimulatedProbe::echoPacing() {
    QFETCH(int, baud);
    QFETCH(int, latencyUs);
    QFETCH(int, characters);
    QFETCH(double, lastEchoUs);

    m_probe->setBaudRate(baud);
    m_probe->setTransferLatencyUs(latencyUs);
    QVERIFY(m_probe->write(QByteArray(characters, kOne)));
    QCOMPARE(m_probe->outBufferCount(), latencyUs > 0 ? characters : characters - 1);
    QCOMPARE(m_probe->inBufferCount(), 0);

    const auto lastEcho = std::chrono::nanoseconds(int64_t(lastEchoUs * 1000));
    m_clock->advance(lastEcho - std::chrono::microseconds(2));
    QCOMPARE(m_probe->inBufferCount(), characters - 1);
    QCOMPARE(m_probe->outBufferCount(), 0);
    QVERIFY(!m_probe->waitForInput(characters, 0));
    m_clock->advance(std::chrono::microseconds(3));
    QCOMPARE(m_probe->inBufferCount(), characters);

    // The same wait, answered by waiting: the clock stops where the echo comes due.
    m_probe->discardInput();
    const auto start = m_clock->now();
    QVERIFY(m_probe->write(QByteArray(characters, kOne)));
    QVERIFY(m_probe->waitForInput(characters, 100));
    QVERIFY(m_clock->now() - start <= lastEcho + std::chrono::microseconds(1));
    const auto beforeTimeout = m_clock->now();
    QVERIFY(!m_probe->waitForInput(characters + 1, 5));
    QCOMPARE(m_clock->now() - beforeTimeout, std::chrono::nanoseconds(std::chrono::milliseconds(5)));
}

void TestSimulatedProbe::echoPacingInRealTime() {
    SimulatedProbe probe;
    QString error;
    QVERIFY(probe.open(&error));
    probe.setBaudRate(kSlotBaud);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(probe.write(QByteArray(200, kOne)));  // 17.4 ms on the wire
    QVERIFY(probe.inBufferCount() < 200);
    QVERIFY(probe.waitForEchoes(1000));
    QVERIFY2(timer.nsecsElapsed() >= 17'000'000, qPrintable(QString::number(timer.nsecsElapsed())));
    QCOMPARE(probe.inBufferCount(), 200);
    QVERIFY(!probe.waitForInput(201, 30));
    QVERIFY(timer.elapsed() >= 45);
}

void TestSimulatedProbe::faults() {
    // Unplugged: open fails with the platform's text, an open line refuses to send.
    SimulatedProbe probe(m_clock.get());
    probe.setUnplugged(true, "No such device");
    QString error;
    QVERIFY(!probe.open(&error));
    QCOMPARE(error, QStringLiteral("No such device"));
    QVERIFY(!probe.write("\xF0"));
    m_probe->setUnplugged(true);
    QVERIFY(!m_probe->write("\xF0"));
    m_probe->setUnplugged(false);

    // No probe on the port: characters go and nothing comes back.
    m_probe->setProbeConnected(false);
    QVERIFY(m_probe->write("\xF0"));
    QVERIFY(!m_probe->waitForEchoes(50));
    QCOMPARE(m_probe->inBufferCount(), 0);
    m_probe->close();
    m_probe->setProbeConnected(true);
    QVERIFY(m_probe->open(&error));

    // A flipped echo turns a clean ROM read into a CRC failure; noise at probability 1 hits every echo.
    m_probe->insertKey(makeKey("ds1990a:01A1B2C3D4E5F6"));
    Master master(*m_probe);
    const int64_t firstSlot = m_probe->charactersSent() + 1 + 8;
    m_probe->corruptEcho(firstSlot + 8, 0x01);  // ROM bit 8 is a 1
    const QByteArray rom = master.transaction("\x33", 8);
    QVERIFY(VirtualIButton::crc8(reinterpret_cast<const uint8_t*>(rom.constData()), 8) != 0);
    m_probe->setEchoNoise(1.0, 7);
    m_probe->discardInput();
    m_probe->setBaudRate(kSlotBaud);
    m_probe->write(QByteArray(50, kOne));
    QVERIFY(m_probe->waitForEchoes(100));
    for (int i = 0; i < 50; ++i) {
        QVERIFY(m_probe->readChar() != 0xFF);
    }
}

QTEST_GUILESS_MAIN(TestSimulatedProbe)
#include "tst_simprobe.moc"
