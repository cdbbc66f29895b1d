#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButtonMemory.h"
#include "support/OneWireDoubles.h"

#include <QTest>

#include <algorithm>
#include <bit>
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

}  // namespace

class TestSimulatedProbe : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_clock = std::make_unique<ManualClock>();
        m_probe = std::make_unique<SimulatedProbe>(*m_clock);
        QVERIFY(m_probe->open(nullptr));
    }

    void presence_data() {
        QTest::addColumn<QList<int>>("presenceEchoes");  // one key per entry
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("character");
        QTest::addColumn<int>("echo");
        QTest::newRow("no key") << QList<int>() << kResetBaud << 0xF0 << 0xF0;
        QTest::newRow("early and short") << QList<int>{0xE0} << kResetBaud << 0xF0 << 0xE0;
        QTest::newRow("late") << QList<int>{0x70} << kResetBaud << 0xF0 << 0x70;
        // The line is low while either key pulls.
        QTest::newRow("two keys") << QList<int>{0xE0, 0x90} << kResetBaud << 0xF0 << 0x80;
        // At the slot rate 0xF0 is 43 us low: a 0 slot, no reset, no presence.
        QTest::newRow("reset character at slot rate") << QList<int>{0xC0} << kSlotBaud << 0xF0 << 0xF0;
        // 0x00 at the reset rate is 860 us low: a reset too, its presence hidden under it.
        QTest::newRow("zero at reset rate") << QList<int>{0xC0} << kResetBaud << 0x00 << 0x00;
    }

    void presence() {
        QFETCH(QList<int>, presenceEchoes);
        QFETCH(int, baud);
        QFETCH(int, character);
        QFETCH(int, echo);
        for (int i = 0; i < presenceEchoes.size(); ++i) {
            VirtualIButton* key = m_probe->insertKey(makeKey(QStringLiteral("ds1993:06A1B2C3D4E5F%1").arg(i)));
            QVERIFY(key->setPresenceEcho(uint8_t(presenceEchoes[i])));
            // Two pulses, none, or one under the reset itself: refused, and the timing stays.
            for (int bad : {0xA0, 0xF0, 0xE8}) {
                QVERIFY(!key->setPresenceEcho(uint8_t(bad)));
            }
        }
        QCOMPARE(exchange(QByteArray(1, char(character)), baud), QByteArray(1, char(echo)));
        // Whatever happened, a proper reset afterwards finds the keys again.
        QCOMPARE(resetFindsKey(), !presenceEchoes.isEmpty());
    }

    void readRom_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("rom");  // empty: no answer
        QTest::newRow("ds1990a 33, CRC computed")
            << "ds1990a:021CB801000000" << 0x33 << QByteArray::fromHex("021CB801000000A2");
        QTest::newRow("ds1990a 0F, CRC given even if wrong")
            << "DS1990A:021CB801000000A3" << 0x0F << QByteArray::fromHex("021CB801000000A3");
        QTest::newRow("old ds1990 33") << "ds1990:0112345678ABCD" << 0x33 << QByteArray();
        QTest::newRow("old ds1990 0F") << "ds1990:0112345678ABCD" << 0x0F << QByteArray::fromHex("0112345678ABCD72");
        QTest::newRow("ds1993 33") << "ds1993:06A1B2C3D4E5F6" << 0x33 << QByteArray::fromHex("06A1B2C3D4E5F63C");
        // The memory keys' data sheets list 0x33 alone.
        QTest::newRow("ds1993 0F") << "ds1993:06A1B2C3D4E5F6" << 0x0F << QByteArray();
        QTest::newRow("ds1994 0F") << "ds1994:04A1B2C3D4E5F6" << 0x0F << QByteArray();
    }

    void readRom() {
        QFETCH(QString, key);
        QFETCH(int, command);
        QFETCH(QByteArray, rom);
        m_probe->insertKey(makeKey(key));
        QVERIFY(resetFindsKey());
        const QByteArray commandSlots = slotsFor(QByteArray(1, char(command)));
        const QByteArray echoes = exchange(commandSlots + QByteArray(64, kOne));
        QCOMPARE(echoes.size(), 72);
        QCOMPARE(echoes.left(8), commandSlots);
        QCOMPARE(bytesFromEchoes(echoes.mid(8)), rom.isEmpty() ? QByteArray(8, kOne) : rom);
        // A 0 is held 15-60 us into an 8.7 us slot: some extra low bits, never the whole character.
        for (char echo : echoes.mid(8)) {
            QVERIFY2(uint8_t(echo) == 0xFF || uint8_t(echo) >= 0xC0, qPrintable(QString::number(uint8_t(echo), 16)));
        }
    }

    void scratchpadAndCopy_data() {
        QTest::addColumn<int>("target");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("extraBits");
        QTest::addColumn<int>("status");  // E/S after the write
        QTest::addColumn<QByteArray>("authorisation");
        QTest::addColumn<bool>("copied");
        QTest::newRow("full page, right") << 0x0100 << 32 << 0 << 0x1F << QByteArray::fromHex("00011F") << true;
        QTest::newRow("wrong ending offset") << 0x0100 << 32 << 0 << 0x1F << QByteArray::fromHex("00011E") << false;
        QTest::newRow("wrong TA1") << 0x0100 << 32 << 0 << 0x1F << QByteArray::fromHex("20011F") << false;
        QTest::newRow("half page from offset 16") << 0x0030 << 16 << 0 << 0x1F << QByteArray::fromHex("30001F") << true;
        QTest::newRow("partial byte sets PF") << 0x0040 << 32 << 4 << 0x3F << QByteArray::fromHex("40001F") << false;
        QTest::newRow("partial byte, PF authorised")
            << 0x0040 << 10 << 3 << 0x29 << QByteArray::fromHex("400029") << true;
        QTest::newRow("overflow sets OF, drops the rest")
            << 0x0000 << 33 << 0 << 0x5F << QByteArray::fromHex("00005F") << true;
    }

    void scratchpadAndCopy() {
        QFETCH(int, target);
        QFETCH(int, length);
        QFETCH(int, extraBits);
        QFETCH(int, status);
        QFETCH(QByteArray, authorisation);
        QFETCH(bool, copied);
        VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
        key->setMemory(pattern(512, 100));
        const QByteArray data = pattern(length, 3);
        const QByteArray address = QByteArray(1, char(target & 0xFF)) + char(target >> 8);

        // Write Scratchpad, possibly ending in a partial byte.
        QVERIFY(resetFindsKey());
        exchange(slotsFor("\xCC\x0F" + address + data) + QByteArray(extraBits, kOne));
        // Read Scratchpad: TA1 TA2 E/S, then the data from the byte offset to the end, then ones.
        const int offset = target & 0x1F;
        const int stored = std::min(length, 32 - offset);
        const QByteArray read = transaction("\xCC\xAA", 3 + (32 - offset) + 2);
        QCOMPARE(read.left(3), address + char(status));
        QCOMPARE(read.mid(3, stored), data.left(stored));
        QCOMPARE(read.right(2), QByteArray(2, kOne));

        // Copy Scratchpad: after a copy the key sends zeros until the next reset.
        QCOMPARE(transaction("\xCC\x55" + authorisation, 1), QByteArray(1, copied ? kZero : kOne));
        QByteArray expected = pattern(512, 100);
        if (copied) {
            expected.replace(target, stored, data.left(stored));
        }
        // The same copy again changes nothing. Read Memory from the target to past the end of memory leaves E/S.
        transaction("\xCC\x55" + authorisation, 1);
        QCOMPARE(transaction("\xCC\xF0" + address, 514 - target), expected.mid(target) + QByteArray(2, kOne));
        QCOMPARE(key->endingStatus(), uint8_t(copied ? status | VirtualIButtonMemory::kFlagAa : status));
    }

    // Noise spoils what the master reads in a 1-slot and nothing else: the key takes every slot as sent,
    // and a read slot in which the key holds the line low stays a 0.
    void echoNoise_data() {
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("reads");
        QTest::newRow("every 1-slot") << 1.0 << 1;
        QTest::newRow("1 in 1,000") << 0.001 << 40;
        QTest::newRow("none") << 0.0 << 4;
    }

    void echoNoise() {
        QFETCH(double, rate);
        QFETCH(int, reads);
        VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
        const QByteArray memory = pattern(512, 11);
        key->setMemory(memory);
        m_probe->setEchoNoise(rate, 7);
        const QByteArray data = pattern(32, 5);
        QVERIFY(resetFindsKey());
        const QByteArray sent = slotsFor(QByteArray("\xCC\x0F\x20\x00", 4) + data);
        const QByteArray echoes = exchange(sent);
        QCOMPARE(echoes.size(), sent.size());
        for (int i = 0; i < sent.size(); ++i) {
            if (sent[i] == kZero) {
                QCOMPARE(echoes[i], kZero);
            } else if (rate == 1.0) {
                QVERIFY(echoes[i] != kOne);
            }
        }
        QCOMPARE(key->scratchpad(), data);

        int wrongBits = 0;
        int ones = 0;
        for (int read = 0; read < reads; ++read) {
            const QByteArray seen = transaction(QByteArray("\xCC\xF0\x00\x00", 4), 512);
            for (int i = 0; i < 512; ++i) {
                ones += std::popcount(uint8_t(memory[i]));
                QCOMPARE(uint8_t(seen[i]) & ~uint8_t(memory[i]), 0);  // never a 1 the key does not send
                wrongBits += std::popcount(uint8_t(seen[i] ^ memory[i]));
            }
        }
        QCOMPARE(key->memory(), memory);
        if (rate == 0.0) {
            QCOMPARE(m_probe->noisyEchoes(), 0);
            QCOMPARE(wrongBits, 0);
        } else if (rate == 1.0) {
            QCOMPARE(wrongBits, ones);
        } else {
            // Some 80,000 1s read, some 80 of them spoilt.
            QVERIFY2(wrongBits >= ones * rate / 2 && wrongBits <= ones * rate * 3 / 2,
                     qPrintable(QStringLiteral("%1 of %2").arg(wrongBits).arg(ones)));
        }
    }

    void searchRom_data() {
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("two keys") << QStringList{"ds1990a:01A1B2C3D4E5F6", "ds1993:06A1B2C3D4E5F6"};
        QTest::newRow("differ in the last serial bit") << QStringList{"ds1993:06000000000080", "ds1993:06000000000000"};
        QTest::newRow("three keys") << QStringList{"ds1994:04A1B2C3D4E5F6", "ds1990a:01A1B2C3D4E5F6",
                                                   "ds1990a:01A1B2C3D4E5F7"};
    }

    // The usual search: at each bit read the bit and its complement, then pick a direction.
    void searchRom() {
        QFETCH(QStringList, keys);
        std::set<QByteArray> expected, found;
        for (const QString& text : keys) {
            expected.insert(romBytes(*m_probe->insertKey(makeKey(text))));
        }
        QByteArray rom(8, '\0');
        for (int lastDiscrepancy = 0; found.size() <= expected.size();) {
            QVERIFY(resetFindsKey());
            exchange(slotsFor("\xF0"));
            int discrepancy = 0;
            for (int bit = 0; bit < 64; ++bit) {
                const QByteArray pair = exchange(QByteArray(2, kOne));
                const bool id = uint8_t(pair[0]) == 0xFF;
                QVERIFY2(!id || uint8_t(pair[1]) != 0xFF, "no key answered");
                bool direction = id;
                if (!id && uint8_t(pair[1]) != 0xFF) {
                    const bool previous = (uint8_t(rom[bit / 8]) >> (bit % 8)) & 1;
                    direction = bit + 1 < lastDiscrepancy ? previous : bit + 1 == lastDiscrepancy;
                    discrepancy = direction ? discrepancy : bit + 1;
                }
                rom[bit / 8] = char((uint8_t(rom[bit / 8]) & ~(1 << (bit % 8))) | (int(direction) << (bit % 8)));
                exchange(QByteArray(1, direction ? kOne : kZero));
            }
            found.insert(rom);
            if ((lastDiscrepancy = discrepancy) == 0) {
                break;
            }
        }
        QCOMPARE(found, expected);
    }

    void rateChangeWithCharactersInFlight_data() {
        QTest::addColumn<int>("latencyUs");
        QTest::addColumn<int>("beforeChangeUs");
        QTest::addColumn<QByteArray>("scratchpad");
        // Slots 0xFF still queued when the rate drops to the reset rate go out 95 us low: write-0s. Those that
        // left before (a slot takes 86.8 us) were read slots.
        QTest::newRow("ten slots left") << 0 << 868 << QByteArray::fromHex("FF03") + QByteArray(30, kZero);
        QTest::newRow("usb adapter holds them all") << 1000 << 0 << QByteArray(32, kZero);
        QTest::newRow("all left") << 1000 << 30000 << QByteArray(32, kOne);
    }

    void rateChangeWithCharactersInFlight() {
        QFETCH(int, latencyUs);
        QFETCH(int, beforeChangeUs);
        QFETCH(QByteArray, scratchpad);
        VirtualIButton* key = m_probe->insertKey(makeKey("ds1993:06A1B2C3D4E5F6"));
        m_probe->setTransferLatencyUs(latencyUs);
        QVERIFY(resetFindsKey());
        exchange(slotsFor(QByteArray("\xCC\x0F\x00\x00", 4)));
        QVERIFY(m_probe->write(QByteArray(256, kOne)));
        m_clock->advance(std::chrono::microseconds(beforeChangeUs));
        m_probe->setBaudRate(kResetBaud);
        QVERIFY(m_probe->waitForEchoes(1000));
        // Their echoes still look like read slots: only the start bit was low at either rate.
        QCOMPARE(readAll(*m_probe), QByteArray(256, kOne));
        QCOMPARE(key->scratchpad(), scratchpad);
    }

    void keyTouchedOrPulledAtCharacter_data() {
        QTest::addColumn<bool>("insert");
        QTest::addColumn<int>("atCharacter");
        QTest::addColumn<int>("romBitsRead");  // ROM bits read before the key went, or -1: no presence
        // Characters: reset, 8 command slots, 64 read slots, then the next reset.
        QTest::newRow("pulled before the reset") << false << 0 << -1;
        QTest::newRow("pulled mid ROM") << false << 29 << 20;
        QTest::newRow("pulled just before the next reset") << false << 73 << 64;
        QTest::newRow("touched after the first reset") << true << 1 << -1;
    }

    void keyTouchedOrPulledAtCharacter() {
        QFETCH(bool, insert);
        QFETCH(int, atCharacter);
        QFETCH(int, romBitsRead);
        auto key = makeKey("ds1990a:01A5A5A5A5A5A5");
        const QByteArray rom = romBytes(*key);
        if (insert) {
            m_probe->insertKeyAfterCharacters(std::move(key), atCharacter);
        } else {
            m_probe->insertKey(std::move(key));
            m_probe->removeKeysAfterCharacters(atCharacter);
        }
        QCOMPARE(resetFindsKey(), romBitsRead >= 0);
        if (romBitsRead >= 0) {
            const QByteArray echoes = exchange(slotsFor("\x33") + QByteArray(64, kOne));
            QCOMPARE(echoes.size(), 72);
            const QByteArray expected = slotsFor(rom).left(romBitsRead) + QByteArray(64 - romBitsRead, kOne);
            QCOMPARE(bytesFromEchoes(echoes.mid(8)), bytesFromEchoes(expected));
        }
        QCOMPARE(resetFindsKey(), insert);
        QCOMPARE(m_probe->keyCount(), insert ? 1 : 0);
    }

    void echoPacing_data() {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("latencyUs");
        QTest::addColumn<int>("characters");
        QTest::addColumn<double>("lastEchoUs");
        QTest::newRow("reset character") << kResetBaud << 0 << 1 << 10 * 1e6 / kResetBaud;
        QTest::newRow("three slots") << kSlotBaud << 0 << 3 << 3 * 10 * 1e6 / kSlotBaud;
        QTest::newRow("usb latency 16 ms") << kSlotBaud << 16000 << 8 << 16000 + 8 * 10 * 1e6 / kSlotBaud;
    }

    void echoPacing() {
        QFETCH(int, baud);
        QFETCH(int, latencyUs);
        QFETCH(int, characters);
        QFETCH(double, lastEchoUs);
        using std::chrono::microseconds;
        m_probe->setBaudRate(baud);
        m_probe->setTransferLatencyUs(latencyUs);
        QVERIFY(m_probe->write(QByteArray(characters, kOne)));
        QCOMPARE(m_probe->outBufferCount(), latencyUs > 0 ? characters : characters - 1);
        QCOMPARE(m_probe->inBufferCount(), 0);
        const auto lastEcho = std::chrono::nanoseconds(int64_t(lastEchoUs * 1000));
        m_clock->advance(lastEcho - microseconds(2));
        QCOMPARE(m_probe->inBufferCount(), characters - 1);
        QCOMPARE(m_probe->outBufferCount(), 0);
        QVERIFY(!m_probe->waitForInput(characters, 0));
        m_clock->advance(microseconds(3));
        QCOMPARE(m_probe->inBufferCount(), characters);

        // The same wait, answered by waiting: the clock stops where the echo comes due, or at the time-out.
        m_probe->discardInput();
        const auto start = m_clock->now();
        QVERIFY(m_probe->write(QByteArray(characters, kOne)));
        QVERIFY(m_probe->waitForInput(characters, 100));
        QVERIFY(m_clock->now() - start <= lastEcho + microseconds(1));
        const auto beforeTimeout = m_clock->now();
        QVERIFY(!m_probe->waitForInput(characters + 1, 5));
        QCOMPARE(m_clock->now() - beforeTimeout, std::chrono::nanoseconds(std::chrono::milliseconds(5)));
    }

    void faults() {
        // One flipped echo shows in the ROM read.
        m_probe->insertKey(makeKey("ds1990a:01A1B2C3D4E5F6"));
        m_probe->corruptEcho(m_probe->charactersSent() + 1 + 8 + 8, 0x01);  // ROM bit 8 is a 1
        QCOMPARE(transaction("\x33", 8), QByteArray::fromHex("01A0B2C3D4E5F68F"));
        // No probe on the port: characters go and nothing comes back.
        m_probe->setProbeConnected(false);
        QVERIFY(m_probe->write("\xF0"));
        QVERIFY(!m_probe->waitForEchoes(50));
        QCOMPARE(m_probe->inBufferCount(), 0);
        // Unplugged: an open line refuses to send, and open fails with the platform's text.
        m_probe->setUnplugged(true, "No such device");
        QVERIFY(!m_probe->write("\xF0"));
        m_probe->close();
        QString error;
        QVERIFY(!m_probe->open(&error));
        QCOMPARE(error, QStringLiteral("No such device"));
    }

private:
    // Drives the probe the way the 1-Wire layer does: waits for every echo before changing the rate.
    QByteArray exchange(const QByteArray& characters, int baud = kSlotBaud) {
        m_probe->waitForEchoes(1000);
        m_probe->setBaudRate(baud);
        m_probe->discardInput();
        m_probe->write(characters);
        return m_probe->waitForEchoes(1000) ? readAll(*m_probe) : QByteArray();
    }
    bool resetFindsKey() {
        const QByteArray echo = exchange("\xF0", kResetBaud);
        return echo.size() == 1 && uint8_t(echo[0]) > 0 && uint8_t(echo[0]) < 240;
    }
    // Reset, the given bytes, then readBytes bytes read.
    QByteArray transaction(const QByteArray& bytes, int readBytes) {
        if (!resetFindsKey()) {
            return "no presence";
        }
        return bytesFromEchoes(exchange(slotsFor(bytes) + QByteArray(readBytes * 8, kOne)).mid(bytes.size() * 8));
    }

    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<SimulatedProbe> m_probe;
};

QTEST_GUILESS_MAIN(TestSimulatedProbe)
#include "tst_simprobe.moc"
