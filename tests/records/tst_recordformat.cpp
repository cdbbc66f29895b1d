// Byte layout of the three record types, the Windows-1252 text, the mode byte and the reader maps.
// Expected bytes are written out by offset here, never produced through the accessors under test.
#include <QTest>

#include "Cp1252.h"
#include "KeyHolder.h"
#include "Location.h"
#include "Reader.h"

namespace {

// A record of n bytes where every byte differs from its neighbours, so a shifted or missed field
// shows up as a changed reserved byte.
QByteArray pattern(int n) {
    QByteArray b(n, '\0');
    for (int i = 0; i < n; ++i) {
        b[i] = static_cast<char>((i * 7 + 3) & 0xFF);
    }
    return b;
}

QByteArray padded(const QByteArray& text, int width) {
    return text.left(width) + QByteArray(qMax(0, width - int(text.size())), ' ');
}

}  // namespace

class TestRecordFormat : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cp1252RoundTrip_data();
    void cp1252RoundTrip();
    void cp1252EveryByteSurvives();
    void readerGoldenBytes();
    void readerDefaultRecord();
    void readerBlankRecord();
    void keyHolderFields_data();
    void keyHolderFields();
    void keyHolderMapsAndBlank();
    void locationGridOrder();
    void modeByteFromTexts_data();
    void modeByteFromTexts();
    void textsFromModeByte_data();
    void textsFromModeByte();
    void bitFind_data();
    void bitFind();
    void bitFindRefusesOutsideMap_data();
    void bitFindRefusesOutsideMap();
};

void TestRecordFormat::cp1252RoundTrip_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("back");
    QTest::newRow("ascii") << "Hal 2" << QByteArray("Hal 2") << "Hal 2";
    QTest::newRow("e acute") << QString::fromUtf8("Café") << QByteArray("Caf\xE9") << QString::fromUtf8("Café");
    QTest::newRow("euro") << QString::fromUtf8("€ 5") << QByteArray("\x80 5") << QString::fromUtf8("€ 5");
    QTest::newRow("0x80-0x9F range") << QString::fromUtf8("ŠœŸ™…") << QByteArray("\x8A\x9C\x9F\x99\x85")
                                     << QString::fromUtf8("ŠœŸ™…");
    QTest::newRow("latin-1 top") << QString::fromUtf8("ÿ×") << QByteArray("\xFF\xD7") << QString::fromUtf8("ÿ×");
    QTest::newRow("cjk") << QString::fromUtf8("a中b") << QByteArray("a?b") << "a?b";
    QTest::newRow("outside BMP is one ?") << QString::fromUtf8("x😀y") << QByteArray("x?y") << "x?y";
    QTest::newRow("C1 without a glyph") << QString(QChar(0x0083)) << QByteArray("?") << "?";
}

void TestRecordFormat::cp1252RoundTrip() {
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, back);
    QCOMPARE(Cp1252::encode(text), bytes);
    QCOMPARE(Cp1252::decode(bytes), back);

    QByteArray record(12, 'z');
    Cp1252::putField(record, 2, 8, text);
    QCOMPARE(record, QByteArray("zz") + padded(bytes, 8) + QByteArray("zz"));
    QCOMPARE(Cp1252::field(record, 2, 8).trimmed(), back.left(8).trimmed());
}

void TestRecordFormat::cp1252EveryByteSurvives() {
    QByteArray all(256, '\0');
    for (int i = 0; i < 256; ++i) {
        all[i] = static_cast<char>(i);
    }
    QCOMPARE(Cp1252::encode(Cp1252::decode(all)), all);
}

void TestRecordFormat::readerGoldenBytes() {
    Reader r;
    QVERIFY(r.setBytes(pattern(128)));
    r.setLezerkode("1A2B3C");
    r.setMode(26);
    r.setRelayTime(300);
    r.setDatum(QDate(2024, 3, 5));
    r.setLezerNaam(QString::fromUtf8("Hoofdingang noord-west"));  // 22: cut to 20
    r.setAantalsleutels(-2);
    r.setChangedFlag("X");

    QByteArray expected = pattern(128);
    expected.replace(0, 6, "1A2B3C");
    expected[10] = 26;
    expected[12] = 0x2C;
    expected[13] = 0x01;
    expected.replace(14, 8, "05-03-24");
    expected.replace(34, 20, "Hoofdingang noord-we");
    expected[58] = char(0xFE);
    expected[59] = char(0xFF);
    expected[60] = 'X';
    QCOMPARE(r.bytes(), expected);
    QCOMPARE(r.relayTime(), qint16(300));
    QCOMPARE(r.aantalsleutels(), qint16(-2));
    QVERIFY(!r.setBytes(QByteArray(127, ' ')));
}

void TestRecordFormat::readerDefaultRecord() {
    QByteArray expected;
    expected += "000000";                // 0 code
    expected += "    ";                  // 6 reserved
    expected += '\0';                    // 10 mode 0
    expected += ' ';                     // 11 reserved
    expected += QByteArray(2, 0);        // 12 relay time
    expected += "02-01-24";              // 14 date
    expected += "    ";                  // 22 reserved
    expected += QByteArray(8, 0);        // 26..33 four reserved numbers
    expected += "nieuwe lezer        ";  // 34 name, 20
    expected += "    ";                  // 54..57 reserved
    expected += QByteArray(2, 0);        // 58 key count
    expected += ' ';                     // 60 changed flag
    expected += QByteArray(67, ' ');     // 61 reserved
    QCOMPARE(expected.size(), 128);
    QCOMPARE(Reader::defaultRecord(QDate(2024, 1, 2)).bytes(), expected);
}

void TestRecordFormat::readerBlankRecord() {
    QByteArray expected(128, ' ');
    for (int offset : {10, 12, 13, 26, 27, 28, 29, 30, 31, 32, 33, 58, 59}) {
        expected[offset] = 0;
    }
    QCOMPARE(Reader().bytes(), expected);
}

void TestRecordFormat::keyHolderFields_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("width");
    QTest::newRow("geldig") << "geldig" << 0 << 1;
    QTest::newRow("naam") << "naam" << 14 << 30;
    QTest::newRow("adres") << "adres" << 44 << 30;
    QTest::newRow("woonplaats") << "woonplaats" << 81 << 21;
    QTest::newRow("telefoon") << "telefoon" << 102 << 15;
    QTest::newRow("mobiel") << "mobiel" << 132 << 15;
    QTest::newRow("sleutelcode") << "sleutelcode" << 157 << 10;
    QTest::newRow("vrijetekst") << "vrijetekst" << 175 << 58;
}

void TestRecordFormat::keyHolderFields() {
    QFETCH(QString, field);
    QFETCH(int, offset);
    QFETCH(int, width);
    const QByteArray longValue = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (const QByteArray& value : {QByteArray("Q"), longValue}) {
        KeyHolder k;
        QVERIFY(k.setBytes(pattern(512)));
        const QString v = QString::fromLatin1(value);
        if (field == "geldig")
            k.setGeldig(v);
        if (field == "naam")
            k.setNaam(v);
        if (field == "adres")
            k.setAdres(v);
        if (field == "woonplaats")
            k.setWoonplaats(v);
        if (field == "telefoon")
            k.setTelefoon(v);
        if (field == "mobiel")
            k.setMobiel(v);
        if (field == "sleutelcode")
            k.setSleutelcode(v);
        if (field == "vrijetekst")
            k.setVrijetekst(v);
        QByteArray expected = pattern(512);
        expected.replace(offset, width, padded(value, width));
        QCOMPARE(k.bytes(), expected);
    }
}

void TestRecordFormat::keyHolderMapsAndBlank() {
    KeyHolder k;
    QCOMPARE(k.bytes(), QByteArray(512, '\0'));
    QVERIFY(k.setBytes(pattern(512)));
    k.setToegang(QByteArray("\x01\x02\x03", 3));  // short: padded with zero bytes
    k.setWijziging(QByteArray(20, '\xFF'));       // long: cut to 16
    QByteArray expected = pattern(512);
    expected.replace(291, 16, QByteArray("\x01\x02\x03", 3) + QByteArray(13, '\0'));
    expected.replace(307, 16, QByteArray(16, '\xFF'));
    QCOMPARE(k.bytes(), expected);

    QByteArray blank(512, ' ');
    blank.replace(291, 32, QByteArray(32, '\0'));
    QCOMPARE(KeyHolder::blank().bytes(), blank);
    // A never-written (zero) text field reads as blanks.
    QCOMPARE(KeyHolder().naam(), QString(30, ' '));
}

void TestRecordFormat::locationGridOrder() {
    Location l;
    QCOMPARE(l.bytes(), QByteArray(986, '\0'));
    l.setGridTexts({"Locatie", "Adres", "Plaats", "Tel", "Contact", "Mobiel", "Fax", "www", "kantoor"});
    QByteArray expected(986, '\0');
    expected.replace(12, 30, padded("Locatie", 30));
    expected.replace(42, 30, padded("Contact", 30));
    expected.replace(72, 30, padded("Adres", 30));
    expected.replace(102, 30, padded("Plaats", 30));
    expected.replace(132, 15, padded("Tel", 15));
    expected.replace(147, 15, padded("Fax", 15));
    expected.replace(162, 15, padded("Mobiel", 15));
    expected.replace(177, 50, padded("www", 50));
    expected.replace(227, 12, padded("kantoor", 12));
    QCOMPARE(l.bytes(), expected);

    l.setText(Location::Map, "dertien-tekens");  // cut to 12
    QCOMPARE(l.bytes().mid(227, 12), QByteArray("dertien-teke"));
    QCOMPARE(l.bytes().mid(239), QByteArray(986 - 239, '\0'));
    QCOMPARE(Location::blank().bytes(), QByteArray(986, ' '));
}

void TestRecordFormat::modeByteFromTexts_data() {
    QTest::addColumn<QString>("led");
    QTest::addColumn<QString>("relay");
    QTest::addColumn<int>("mode");
    QTest::newRow("Intern Tijd") << "Intern"
                                 << "Tijd" << 18;
    QTest::newRow("Extern Tijd") << "Extern"
                                 << "Tijd" << 26;
    QTest::newRow("Extern Invers Tijd") << "Extern Invers"
                                        << "Tijd" << 10;
    QTest::newRow("Intern Houd") << "Intern"
                                 << "Houd" << 22;
    QTest::newRow("Extern Houd") << "Extern"
                                 << "Houd" << 30;
    QTest::newRow("Extern Invers Houd") << "Extern Invers"
                                        << "Houd" << 14;
    QTest::newRow("empty texts") << ""
                                 << "" << 18;
}

void TestRecordFormat::modeByteFromTexts() {
    QFETCH(QString, led);
    QFETCH(QString, relay);
    QFETCH(int, mode);
    QCOMPARE(int(modeByte(led, relay)), mode);
    if (!led.isEmpty()) {
        QCOMPARE(ledText(quint8(mode)), led);
        QCOMPARE(relayText(quint8(mode)), relay);
    }
}

void TestRecordFormat::textsFromModeByte_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("led");
    QTest::addColumn<QString>("relay");
    QTest::newRow("0 new file") << 0 << "Intern"
                                << "Tijd";
    QTest::newRow("10") << 10 << "Extern Invers"
                        << "Tijd";
    QTest::newRow("18") << 18 << "Intern"
                        << "Tijd";
    QTest::newRow("26") << 26 << "Extern"
                        << "Tijd";
    QTest::newRow("2 bit 16 ignored without 8") << 2 << "Intern"
                                                << "Tijd";
    QTest::newRow("4 Houd") << 4 << "Intern"
                            << "Houd";
    QTest::newRow("12 Houd") << 12 << "Extern Invers"
                             << "Houd";
    QTest::newRow("255") << 255 << "Extern"
                         << "Houd";
}

void TestRecordFormat::textsFromModeByte() {
    QFETCH(int, mode);
    QFETCH(QString, led);
    QFETCH(QString, relay);
    QCOMPARE(ledText(quint8(mode)), led);
    QCOMPARE(relayText(quint8(mode)), relay);
}

void TestRecordFormat::bitFind_data() {
    QTest::addColumn<int>("reader");
    QTest::addColumn<int>("byteIndex");
    QTest::addColumn<int>("mask");
    QTest::newRow("reader 0") << 0 << 0 << 0x01;
    QTest::newRow("reader 7") << 7 << 0 << 0x80;
    QTest::newRow("reader 8") << 8 << 1 << 0x01;
    QTest::newRow("reader 127") << 127 << 15 << 0x80;
}

void TestRecordFormat::bitFind() {
    QFETCH(int, reader);
    QFETCH(int, byteIndex);
    QFETCH(int, mask);

    QByteArray map(16, '\0');
    int mode = 1;
    QVERIFY(BitFind(map, reader, mode));
    QCOMPARE(mode, 1);
    QByteArray expected(16, '\0');
    expected[byteIndex] = char(mask);
    QCOMPARE(map, expected);
    mode = 0;
    QVERIFY(BitFind(map, reader, mode));
    QCOMPARE(mode, 3);

    map.fill('\xFF');
    mode = 2;
    QVERIFY(BitFind(map, reader, mode));
    QCOMPARE(mode, 2);
    expected.fill('\xFF');
    expected[byteIndex] = char(0xFF & ~mask);
    QCOMPARE(map, expected);
    mode = 7;
    QVERIFY(BitFind(map, reader, mode));
    QCOMPARE(mode, 0);
}

void TestRecordFormat::bitFindRefusesOutsideMap_data() {
    QTest::addColumn<int>("reader");
    QTest::addColumn<int>("mapSize");
    QTest::newRow("reader 128") << 128 << 16;
    QTest::newRow("reader -1") << -1 << 16;
    QTest::newRow("short map") << 0 << 15;
}

void TestRecordFormat::bitFindRefusesOutsideMap() {
    QFETCH(int, reader);
    QFETCH(int, mapSize);
    QByteArray map(mapSize, '\x55');
    int mode = 1;
    QString error;
    QVERIFY(!BitFind(map, reader, mode, &error));
    QVERIFY(!error.isEmpty());
    QCOMPARE(map, QByteArray(mapSize, '\x55'));
    QCOMPARE(mode, 1);
}

QTEST_GUILESS_MAIN(TestRecordFormat)
#include "tst_recordformat.moc"
