#include <QTemporaryDir>
#include <QtTest>

#include "programming/KeyCode.h"
#include "programming/ProgrammingImage.h"

namespace {

// CRC-8 of the 1-Wire bus, bit by bit, so the table-driven one is checked against its definition.
quint8 crcByBits(const QByteArray& bytes) {
    quint8 crc = 0;
    for (char c : bytes) {
        quint8 b = static_cast<quint8>(c);
        for (int i = 0; i < 8; ++i) {
            const bool mix = (crc ^ b) & 1;
            crc >>= 1;
            if (mix) {
                crc ^= 0x8C;
            }
            b >>= 1;
        }
    }
    return crc;
}

QByteArray counting() {
    QByteArray text;
    for (int i = 0; i < 512; ++i) {
        text += QByteArray::number(i & 0xFF, 16).rightJustified(2, '0').toUpper();
    }
    return text;
}

}  // namespace

class TestProgrammingImage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parses_data();
    void parses();
    void refuses_data();
    void refuses();
    void readsFiles();
    void storedKeyCodes_data();
    void storedKeyCodes();
};

void TestProgrammingImage::parses_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("firstBytes");

    QTest::newRow("counting") << counting() << QByteArray::fromHex("000102030405");
    QTest::newRow("all blank") << QByteArray(1024, ' ') << QByteArray(6, '\0');
    QByteArray blankPairs = counting();
    blankPairs.replace(2, 2, "  ");
    blankPairs.replace(8, 2, "  ");
    QTest::newRow("blank pairs are 0") << blankPairs << QByteArray::fromHex("000002030005");
    QByteArray lower = counting();
    lower.replace(0, 6, "abcDeF");
    QTest::newRow("lower case hex") << lower << QByteArray::fromHex("ABCDEF030405");
    QTest::newRow("only the first 1024 characters count") << counting() + "\r\nrest" << QByteArray::fromHex("000102");
    QByteArray endMark = counting();
    endMark.replace(1022, 2, "AA");
    QTest::newRow("end mark replaced") << endMark << QByteArray::fromHex("00");
}

void TestProgrammingImage::parses() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, firstBytes);
    QByteArray memory;
    QString error;
    QVERIFY2(ProgrammingImage::parse(text, &memory, &error), qPrintable(error));
    QCOMPARE(memory.size(), 512);
    QCOMPARE(memory.left(firstBytes.size()), firstBytes);
    QCOMPARE(static_cast<quint8>(memory.at(511)), crcByBits(memory.left(511)));
    QCOMPARE(QByteArray::fromHex(ProgrammingImage::hexLines(memory).toLatin1()).left(511), memory.left(511));
    QCOMPARE(ProgrammingImage::hexLines(memory).count(QLatin1Char('\n')), 16);
}

void TestProgrammingImage::refuses_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("mention");

    QTest::newRow("empty") << QByteArray() << "0 tekens";
    QTest::newRow("one short") << counting().left(1023) << "1023 tekens";
    QByteArray half = counting();
    half.replace(100, 2, " A");
    QTest::newRow("half-blank pair") << half << "positie 101";
    QByteArray letter = counting();
    letter.replace(1020, 2, "G1");
    QTest::newRow("not hex") << letter << "positie 1021";
    QByteArray prefix = counting();
    prefix.replace(0, 2, "0x");
    QTest::newRow("prefix") << prefix << "positie 1";
    QByteArray sign = counting();
    sign.replace(10, 2, "-1");
    QTest::newRow("sign") << sign << "positie 11";
}

void TestProgrammingImage::refuses() {
    QFETCH(QByteArray, text);
    QFETCH(QString, mention);
    QByteArray memory("untouched");
    QString error;
    QVERIFY(!ProgrammingImage::parse(text, &memory, &error));
    QVERIFY2(error.contains(mention), qPrintable(error));
    QCOMPARE(memory, QByteArray("untouched"));
}

void TestProgrammingImage::readsFiles() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("autonoom.hex"));
    QByteArray memory;
    QString error;
    QVERIFY(!ProgrammingImage::readFile(path, &memory, &error));
    QVERIFY(error.contains(path));

    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(counting());
    file.close();
    QVERIFY2(ProgrammingImage::readFile(path, &memory, &error), qPrintable(error));
    QCOMPARE(memory.left(511), QByteArray::fromHex(counting()).left(511));
}

void TestProgrammingImage::storedKeyCodes_data() {
    QTest::addColumn<QString>("keyCodeString");
    QTest::addColumn<QString>("stored");
    // ROM bytes 7..2 = 00 0A 1B 2C 3D 4E: stored are bytes 2..6.
    QTest::newRow("rom") << "000A1B2C3D4E"
                         << "4E3D2C1B0A";
    QTest::newRow("byte 7 dropped") << "FF0A1B2C3D4E"
                                    << "4E3D2C1B0A";
    QTest::newRow("zeros") << "000000000000"
                           << "0000000000";
    QTest::newRow("already cut") << "0A1B2C3D4E"
                                 << "4E3D2C1B0A";
}

void TestProgrammingImage::storedKeyCodes() {
    QFETCH(QString, keyCodeString);
    QFETCH(QString, stored);
    QCOMPARE(storedKeyCode(keyCodeString), stored);
}

QTEST_GUILESS_MAIN(TestProgrammingImage)
#include "tst_programmingimage.moc"
