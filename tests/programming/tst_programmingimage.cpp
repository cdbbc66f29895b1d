#include <sys/stat.h>
#include <QtTest>

#include "programming/KeyCode.h"
#include "programming/ProgrammingImage.h"
#include "support/Unblocking.h"

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

QByteArray with(int offset, const QByteArray& part) {
    return counting().replace(offset, part.size(), part);
}

}  // namespace

class TestProgrammingImage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parses_data();
    void parses();
    void storedKeyCodes_data();
    void storedKeyCodes();
    void imageThatIsNoFile_data();
    void imageThatIsNoFile();
};

// A FIFO, a folder or a device where the image file should be is refused with a message that names
// it, without waiting on it.
void TestProgrammingImage::imageThatIsNoFile_data() {
    QTest::addColumn<QString>("thing");
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("folder") << "folder";
    QTest::newRow("device") << "device";
}

void TestProgrammingImage::imageThatIsNoFile() {
    QFETCH(QString, thing);
    QTemporaryDir dir;
    const QString path = dir.filePath("autonoom.hex");
    if (thing == "fifo") {
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
    } else if (thing == "folder") {
        QVERIFY(QDir(dir.path()).mkdir("autonoom.hex"));
    } else {
        QVERIFY(QFile::link("/dev/null", path));
    }
    QByteArray memory;
    QString error;
    Status read;
    QVERIFY2(unblocking::returnsWithoutBlocking(
                 [&] { return ProgrammingImage::readFile(path, &memory, &error) ? Status() : Status::failure(error); },
                 path, &read),
             "blocked on the FIFO");
    QVERIFY(!read);
    QVERIFY2(error.contains(QDir::toNativeSeparators(path)), qPrintable(error));
    QVERIFY(memory.isEmpty());
}

void TestProgrammingImage::parses_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("firstBytes");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("counting") << counting() << QByteArray::fromHex("000102030405") << "";
    QTest::newRow("lower case, blank pairs, text after 1024")
        << with(0, "abcD  eF") + "\r\nrest" << QByteArray::fromHex("ABCD00EF0405") << "";
    QTest::newRow("one short") << counting().left(1023) << QByteArray() << "1023 tekens";
    QTest::newRow("half-blank pairs read without the blank")
        << with(0, "5  A") << QByteArray::fromHex("050A02030405") << "";
    QTest::newRow("high digit not hex") << with(1020, "G1") << QByteArray() << "positie 1021";
    QTest::newRow("low digit not hex") << with(10, "1-") << QByteArray() << "positie 11";
}

void TestProgrammingImage::parses() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, firstBytes);
    QFETCH(QString, refusal);
    QByteArray memory("untouched");
    QString error;
    QCOMPARE(ProgrammingImage::parse(text, &memory, &error), refusal.isEmpty());
    if (!refusal.isEmpty()) {
        QVERIFY2(error.contains(refusal), qPrintable(error));
        QCOMPARE(memory, QByteArray("untouched"));
        return;
    }
    QCOMPARE(memory.size(), 512);
    QCOMPARE(memory.left(6), firstBytes);
    QCOMPARE(memory.mid(6, 505), QByteArray::fromHex(text.mid(12, 1010).replace("  ", "00")));
    // The file's last pair never counts: its place holds the CRC of the 511 bytes before it.
    QCOMPARE(static_cast<quint8>(memory.at(511)), crcByBits(memory.left(511)));
}

void TestProgrammingImage::storedKeyCodes_data() {
    QTest::addColumn<QString>("keyCodeString");
    QTest::addColumn<QString>("stored");
    // ROM bytes 7..2 = FF 0A 1B 2C 3D 4E: stored are bytes 2..6.
    QTest::newRow("rom") << QStringLiteral("FF0A1B2C3D4E") << QStringLiteral("4E3D2C1B0A");
    QTest::newRow("already cut") << QStringLiteral("0A1B2C3D4E") << QStringLiteral("4E3D2C1B0A");
}

void TestProgrammingImage::storedKeyCodes() {
    QFETCH(QString, keyCodeString);
    QFETCH(QString, stored);
    QCOMPARE(storedKeyCode(keyCodeString), stored);
}

QTEST_GUILESS_MAIN(TestProgrammingImage)
#include "tst_programmingimage.moc"
