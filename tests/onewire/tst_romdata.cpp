#include "onewire/Crc8.h"
#include "onewire/DowIo.h"
#include "onewire/FamilyNames.h"

#include <QTest>

class TestRomData : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The table is linear (entry a xor b = entry a xor entry b), so the powers of two pin every entry.
    void crcTable() {
        const auto& table = Crc8::table();
        const int powers[] = {94, 188, 97, 194, 157, 35, 70, 140};
        for (int a = 0; a < 256; ++a) {
            for (int bit = 0; bit < 8; ++bit) {
                QCOMPARE(int(table[1 << bit]), powers[bit]);
                QCOMPARE(int(table[a ^ (1 << bit)]), table[a] ^ table[1 << bit]);
            }
        }
    }

    void crcOfRoms_data() {
        QTest::addColumn<QByteArray>("rom");
        QTest::newRow("application note example") << QByteArray::fromHex("021CB801000000A2");
        QTest::newRow("DS1993") << QByteArray::fromHex("06674523010000A0");
        QTest::newRow("all zero") << QByteArray(8, '\0');
    }

    void crcOfRoms() {
        QFETCH(QByteArray, rom);
        QCOMPARE(int(Crc8::of(rom.left(7))), int(uint8_t(rom[7])));
        // Over the whole ROM, CRC byte included, the CRC comes out 0, also continued from a partial CRC.
        QCOMPARE(int(Crc8::of(rom.mid(3), Crc8::of(rom.left(3)))), 0);
        rom[4] = char(rom[4] ^ 0x10);
        QVERIFY(Crc8::of(rom) != 0);
    }

    void familyNames_data() {
        QTest::addColumn<int>("family");
        QTest::addColumn<QString>("name");
        QTest::newRow("1") << 1 << "DS1990A";
        QTest::newRow("3 has no name") << 3 << "3";
        QTest::newRow("34") << 34 << "DS1963S";
        QTest::newRow("128 last of the first list") << 128 << "128";
        QTest::newRow("130") << 130 << "DS1991";
        QTest::newRow("241 last of the second list") << 241 << "241";
        QTest::newRow("242 outside") << 242 << "242";
    }

    void familyNames() {
        QFETCH(int, family);
        QFETCH(QString, name);
        QCOMPARE(FamilyNames::name(family), name);
        QVERIFY(DowIo::wrongFamilyMessage(family).contains(name));
    }
};

QTEST_GUILESS_MAIN(TestRomData)
#include "tst_romdata.moc"
