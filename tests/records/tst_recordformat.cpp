// Byte layout of the three record types, the Windows-1252 text and the reader maps.
#include <QTest>

#include "records/Cp1252.h"
#include "records/KeyHolder.h"
#include "records/Location.h"
#include "records/Reader.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

using namespace fixtures;

namespace {
// Longer than every field, so each field shows where it is cut.
const QByteArray kLong("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789");
}  // namespace

class TestRecordFormat : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cp1252_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("back");
        QTest::addColumn<QString>("refused");
        QTest::newRow("e acute") << QString::fromUtf8("Café") << QByteArray("Caf\xE9") << QString::fromUtf8("Café")
                                 << "";
        QTest::newRow("e with a combining accent")
            << QString::fromUtf8("Cafe\u0301") << QByteArray("Caf\xE9") << QString::fromUtf8("Café") << "";
        QTest::newRow("euro") << QString::fromUtf8("€ 5") << QByteArray("\x80 5") << QString::fromUtf8("€ 5") << "";
        QTest::newRow("0x80-0x9F") << QString::fromUtf8("ŠœŸ™…") << QByteArray("\x8A\x9C\x9F\x99\x85")
                                   << QString::fromUtf8("ŠœŸ™…") << "";
        QTest::newRow("a question mark is no refusal") << "wat?" << QByteArray("wat?") << "wat?"
                                                       << "";
        QTest::newRow("outside: ?") << QString::fromUtf8("a中b") << QByteArray("a?b") << "a?b"
                                    << QString::fromUtf8("中");
        QTest::newRow("L with stroke") << QString::fromUtf8("Łódź")
                                       << QByteArray(
                                              "?\xF3"
                                              "d?")
                                       << QString::fromUtf8("?ód?") << QString::fromUtf8("Ł");
        QTest::newRow("outside BMP: one ?")
            << QString::fromUtf8("x😀y") << QByteArray("x?y") << "x?y" << QString::fromUtf8("😀");
        QTest::newRow("C1 without a glyph")
            << QString(QChar(0x0083)) << QByteArray("?") << "?" << QString(QChar(0x0083));
    }

    void cp1252() {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, back);
        QFETCH(QString, refused);
        QCOMPARE(Cp1252::encode(text), bytes);
        QCOMPARE(Cp1252::decode(bytes), back);
        QCOMPARE(Cp1252::firstUnencodable(text), refused);
    }

    void cp1252EveryByteSurvives() {
        QByteArray all;
        for (int i = 0; i < 256; ++i) {
            all += oneByte(i);
        }
        QCOMPARE(Cp1252::encode(Cp1252::decode(all)), all);
    }

    void goldenBytes_data() {
        QTest::addColumn<QByteArray>("actual");
        QTest::addColumn<QByteArray>("expected");

        const QByteArray readerBlank =
            with(QByteArray(128, ' '),
                 {{10, 1, oneByte(0)}, {12, 2, le16(0)}, {26, 8, QByteArray(8, '\0')}, {58, 2, le16(0)}});
        QTest::newRow("reader blank") << Reader().bytes() << readerBlank;
        QTest::newRow("reader default") << Reader::defaultRecord(QDate(2024, 1, 2)).bytes()
                                        << with(readerBlank,
                                                {{0, 6, "000000"}, {14, 8, "02-01-24"}, {34, 20, "nieuwe lezer"}});

        // Zero maps, as a blank (0x20) map byte would grant reader 5 of every eight.
        QTest::newRow("key holder blank")
            << KeyHolder::blank().bytes() << with(QByteArray(512, ' '), {{291, 32, QByteArray(32, '\0')}});
        KeyHolder k;
        k.setBytes(record(512, 0));
        k.setToegang(QByteArray("\x01\x02\x03", 3));
        k.setWijziging(QByteArray(20, '\xFF'));
        QTest::newRow("key holder maps: short padded, long cut")
            << k.bytes()
            << with(record(512, 0), {{291, 16, QByteArray("\x01\x02\x03", 3) + QByteArray(13, '\0')},
                                     {307, 16, QByteArray(16, '\xFF')}});

        QTest::newRow("location blank") << Location::blank().bytes() << QByteArray(986, ' ');
        // Set from the back, so a field one byte too wide shows over the start of its neighbour.
        Location l;
        l.setBytes(record(986, 0));
        QByteArray expected = record(986, 0);
        const int places[Location::kFieldCount][2] = {{12, 30},  {42, 30},  {72, 30},  {102, 30}, {132, 15},
                                                      {147, 15}, {162, 15}, {177, 50}, {227, 12}};
        for (int f = Location::kFieldCount - 1; f >= 0; --f) {
            l.setText(Location::Field(f), kLong);
            expected = with(expected, {{places[f][0], places[f][1], kLong}});
        }
        QTest::newRow("location fields, cut") << l.bytes() << expected;
    }

    void goldenBytes() {
        QFETCH(QByteArray, actual);
        QFETCH(QByteArray, expected);
        QCOMPARE(actual, expected);
    }

    void fieldsReadBack() {
        Reader r;
        QVERIFY(r.setBytes(with(QByteArray(128, ' '), {{12, 2, le16(-300)}})));
        QCOMPARE(r.relayTime(), qint16(-300));
        // A never-written (zero) field reads as blanks, so trimming works on a fresh record.
        QCOMPARE(KeyHolder().naam(), QString(30, ' '));
    }

    void bitFind_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<int>("mapSize");
        QTest::addColumn<int>("byteIndex");  // -1: refused
        QTest::addColumn<int>("mask");
        QTest::newRow("reader 0") << 0 << 16 << 0 << 0x01;
        QTest::newRow("reader 7") << 7 << 16 << 0 << 0x80;
        QTest::newRow("reader 8") << 8 << 16 << 1 << 0x01;
        QTest::newRow("reader 127") << 127 << 16 << 15 << 0x80;
        QTest::newRow("reader 128 refused") << 128 << 16 << -1 << 0;
        QTest::newRow("reader -1 refused") << -1 << 16 << -1 << 0;
        QTest::newRow("short map refused") << 0 << 15 << -1 << 0;
    }

    // Mode 1 and 2 set and clear the bit and stay as they are; any other mode tests it and becomes 3 or 0.
    void bitFind() {
        QFETCH(int, reader);
        QFETCH(int, mapSize);
        QFETCH(int, byteIndex);
        QFETCH(int, mask);
        QByteArray map(mapSize, '\0');
        int mode = 1;
        const bool ok = BitFind(map, reader, mode).ok();
        QCOMPARE(ok, byteIndex >= 0);
        QCOMPARE(mode, 1);
        QByteArray expected(mapSize, '\0');
        if (ok) {
            expected[byteIndex] = char(mask);
        }
        QCOMPARE(map, expected);
        if (ok) {
            int probe = 0;
            VERIFY_OK(BitFind(map, reader, probe));
            QCOMPARE(probe, 3);
            mode = 2;
            VERIFY_OK(BitFind(map, reader, mode));
            QCOMPARE(map, QByteArray(16, '\0'));
            probe = 7;
            VERIFY_OK(BitFind(map, reader, probe));
            QCOMPARE(probe, 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecordFormat)
#include "tst_recordformat.moc"
