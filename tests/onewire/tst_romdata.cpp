#include "onewire/Crc8.h"
#include "onewire/DowIo.h"
#include "onewire/FamilyNames.h"

#include <QTest>

class TestRomData : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void crcTable();
    void crcOfRoms_data();
    void crcOfRoms();
    void familyNames_data();
    void familyNames();
    void programmingKeyMessages();
};

void TestRomData::crcTable() {
    const auto& table = Crc8::table();
    // The table is linear (entry a xor b = entry a xor entry b), which pins every entry once the
    // powers of two are right.
    const int first[] = {0, 94, 188, 226, 97, 63, 221, 131};
    for (int i = 0; i < 8; ++i)
        QCOMPARE(int(table[i]), first[i]);
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; b += 17)
            QCOMPARE(int(table[a ^ b]), int(table[a] ^ table[b]));
    }
    QCOMPARE(int(table[128]), 140);
    QCOMPARE(int(table[255]), 53);
}

void TestRomData::crcOfRoms_data() {
    QTest::addColumn<QByteArray>("rom");
    QTest::newRow("application note example") << QByteArray::fromHex("021CB801000000A2");
    QTest::newRow("DS1993") << QByteArray::fromHex("06674523010000A0");
    QTest::newRow("DS1994") << QByteArray::fromHex("04EFCDAB896745AB");
    QTest::newRow("DS1990A") << QByteArray::fromHex("01102030405060F5");
    QTest::newRow("all zero") << QByteArray(8, '\0');
}

void TestRomData::crcOfRoms() {
    QFETCH(QByteArray, rom);
    QCOMPARE(int(Crc8::of(rom.left(7))), int(uint8_t(rom[7])));
    // Over the whole ROM, CRC byte included, the CRC comes out 0.
    QCOMPARE(int(Crc8::of(rom)), 0);
    // The running form, continued from a partial CRC, agrees.
    QCOMPARE(int(Crc8::of(rom.mid(3), Crc8::of(rom.left(3)))), 0);
    QByteArray damaged = rom;
    damaged[4] = char(damaged[4] ^ 0x10);
    QVERIFY(Crc8::of(damaged) != 0);
}

void TestRomData::familyNames_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<QString>("name");
    QTest::newRow("1") << 1 << "DS1990A";
    QTest::newRow("3 has no name") << 3 << "3";
    QTest::newRow("4") << 4 << "DS1994(klok)";
    QTest::newRow("6") << 6 << "DS1993(prog)";
    QTest::newRow("20") << 20 << "DS1971";
    QTest::newRow("33") << 33 << "Thermochron";
    QTest::newRow("34") << 34 << "DS1963S";
    QTest::newRow("35") << 35 << "DS1973";
    QTest::newRow("128 last of the first list") << 128 << "128";
    QTest::newRow("129 first of the second list") << 129 << "129";
    QTest::newRow("130") << 130 << "DS1991";
    QTest::newRow("137") << 137 << "DS1982 U";
    QTest::newRow("179") << 179 << "Lexmark";
    QTest::newRow("237") << 237 << "Prox kaart";
    QTest::newRow("241 last of the second list") << 241 << "241";
    QTest::newRow("0 outside") << 0 << "0";
    QTest::newRow("242 outside") << 242 << "242";
}

void TestRomData::familyNames() {
    QFETCH(int, family);
    QFETCH(QString, name);
    QCOMPARE(FamilyNames::name(family), name);
    QCOMPARE(FamilyNames::lowList().size(), 128);
    QCOMPARE(FamilyNames::highList().size(), 113);
}

void TestRomData::programmingKeyMessages() {
    QVERIFY(DowIo::isProgrammingKey(6));
    QVERIFY(DowIo::isProgrammingKey(4));
    QVERIFY(!DowIo::isProgrammingKey(1));
    QVERIFY(!DowIo::isProgrammingKey(8));
    QVERIFY(DowIo::wrongFamilyMessage(1).contains(QLatin1String("DS1990A")));
    QVERIFY(DowIo::wrongFamilyMessage(3).contains(QLatin1String("3")));
}

QTEST_GUILESS_MAIN(TestRomData)
#include "tst_romdata.moc"
