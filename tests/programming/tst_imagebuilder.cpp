#include <QTemporaryDir>
#include <QtTest>

#include "programming/ImageBuilder.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"

namespace {

struct Holder {
    QString code;
    QString geldig;
    QList<int> granted;    // reader numbers from 1 with their bit in toegang
    QList<int> withdrawn;  // the same in wijziging
};

QByteArray mapOf(const QList<int>& readers) {
    QByteArray map(16, '\0');
    for (int n : readers) {
        map[(n - 1) / 8] = static_cast<char>(static_cast<quint8>(map[(n - 1) / 8]) | (1 << ((n - 1) % 8)));
    }
    return map;
}

KeyHolder makeHolder(const Holder& h) {
    KeyHolder k = KeyHolder::blank();
    k.setGeldig(h.geldig);
    k.setSleutelcode(h.code);
    k.setToegang(mapOf(h.granted));
    k.setWijziging(mapOf(h.withdrawn));
    return k;
}

Reader makeReader(const QString& code, quint8 mode, qint16 relayTime) {
    Reader r;
    r.setLezerkode(code);
    r.setMode(mode);
    r.setRelayTime(relayTime);
    r.setLezerNaam(QStringLiteral("voordeur"));
    return r;
}

// The image as the layout table lays it out, field by field.
QByteArray layout(const QByteArray& code, const QByteArray& second, const QByteArray& mode, const QByteArray& relay,
                  const QByteArray& keys) {
    QByteArray image = code + "0001" + second + mode + relay + keys.leftJustified(1006, ' ', true) + "AA";
    return image;
}

}  // namespace

class TestImageBuilder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buildsLayout_data();
    void buildsLayout();
    void refusesReadersWithoutMapBit_data();
    void refusesReadersWithoutMapBit();
    void writesImageAndKeyCount();
    void refusesWithoutWriting_data();
    void refusesWithoutWriting();
};

void TestImageBuilder::buildsLayout_data() {
    QTest::addColumn<QString>("readerCode");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("relayTime");
    QTest::addColumn<int>("readerNumber");
    QTest::addColumn<QList<Holder>>("holders");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("keyCount");

    const QString one = QStringLiteral("1");
    QTest::newRow("no keys") << "A1B2C3" << 0x12 << 5 << 1 << QList<Holder>{} << layout("A1B2C3", "FF", "12", "05", "")
                             << 0;
    QTest::newRow("holders without this reader")
        << "A1B2C3" << 0x12 << 5 << 1 << QList<Holder>{{"1111000000", one, {2}, {3}}, {"2222000000", one, {9}, {}}}
        << layout("A1B2C3", "FF", "12", "05", "") << 0;
    QTest::newRow("only list B") << "A1B2C3" << 0x1A << 10 << 2
                                 << QList<Holder>{{"1111000000", one, {}, {2}}, {"2222000000", one, {1}, {2}}}
                                 << layout("A1B2C3", "FF", "1A", "0A", "11112222") << 2;
    QTest::newRow("three in list A, one in B, file order kept")
        << "00FFEE" << 0x0A << 60 << 3
        << QList<Holder>{{"CCCC000000", one, {3}, {}},
                         {"AAAA000000", one, {3}, {}},
                         {"DDDD000000", one, {}, {3}},
                         {"BBBB000000", one, {3, 4}, {}}}
        << layout("00FFEE", "04", "0A", "3C", "CCCCAAAABBBBDDDD") << 4;
    QTest::newRow("a holder in both lists") << "A1B2C3" << 2 << 1 << 1 << QList<Holder>{{"1234567890", one, {1}, {1}}}
                                            << layout("A1B2C3", "02", "02", "01", "12341234") << 2;
    QTest::newRow("geldig 0 left out of A, kept in B")
        << "A1B2C3" << 2 << 1 << 5
        << QList<Holder>{{"1111000000", "0", {5}, {5}}, {"2222000000", one, {5}, {}}, {"3333000000", " ", {5}, {}}}
        << layout("A1B2C3", "02", "02", "01", "22221111") << 2;
    QTest::newRow("reader 8 is mask 128 of the first character")
        << "A1B2C3" << 2 << 1 << 8
        << QList<Holder>{{"8888000000", one, {8}, {}}, {"9999000000", one, {9}, {}}, {"7777000000", one, {7}, {}}}
        << layout("A1B2C3", "02", "02", "01", "8888") << 1;
    QTest::newRow("reader 9 is mask 1 of the second character")
        << "A1B2C3" << 2 << 1 << 9
        << QList<Holder>{{"8888000000", one, {8}, {}}, {"9999000000", one, {9}, {}}, {"AAAA000000", one, {10}, {9}}}
        << layout("A1B2C3", "02", "02", "01", "9999AAAA") << 2;
    QTest::newRow("reader 128") << "A1B2C3" << 2 << 1 << 128
                                << QList<Holder>{{"FFFF000000", one, {128}, {}}, {"EEEE000000", one, {127}, {}}}
                                << layout("A1B2C3", "02", "02", "01", "FFFF") << 1;
    QTest::newRow("codes not 4 long after trimming are skipped") << "A1B2C3" << 2 << 1 << 1
                                                                 << QList<Holder>{{"", one, {1}, {1}},
                                                                                  {"12", one, {1}, {1}},
                                                                                  {" 123", one, {1}, {1}},
                                                                                  {"12 4", one, {1}, {}},
                                                                                  {"ABCD", one, {1}, {}}}
                                                                 << layout("A1B2C3", "03", "02", "01", "12 4ABCD") << 2;
    QTest::newRow("blank reader code") << "      " << 2 << 1 << 1 << QList<Holder>{}
                                       << layout("000000", "FF", "02", "01", "") << 0;
    QTest::newRow("short reader code padded")
        << "  AB1" << 2 << 1 << 1 << QList<Holder>{} << layout("AB1   ", "FF", "02", "01", "") << 0;
    QTest::newRow("relay time 300 keeps its low byte")
        << "A1B2C3" << 0x16 << 300 << 1 << QList<Holder>{} << layout("A1B2C3", "FF", "16", "2C", "") << 0;
    QTest::newRow("negative relay time") << "A1B2C3" << 0xFF << -1 << 1 << QList<Holder>{}
                                         << layout("A1B2C3", "FF", "FF", "FF", "") << 0;

    QList<Holder> many;
    QByteArray keys;
    for (int i = 0; i < 252; ++i) {
        const QString code = QStringLiteral("%1").arg(i, 4, 16, QLatin1Char('0')).toUpper();
        many.append({code + QStringLiteral("000000"), one, {1}, {}});
        keys += code.toLatin1();
    }
    // 1006 characters end inside the 252nd code: "00FB" keeps "00".
    QTest::newRow("252 keys cut inside the last code")
        << "A1B2C3" << 2 << 1 << 1 << many << layout("A1B2C3", "FD", "02", "01", keys.left(1006)) << 252;
    QList<Holder> moreB = many;
    moreB.append({"BBBB000000", one, {}, {1}});
    QTest::newRow("253 keys, second list beyond the cut")
        << "A1B2C3" << 2 << 1 << 1 << moreB << layout("A1B2C3", "FD", "02", "01", keys.left(1006)) << 253;
    QList<Holder> wrap = many;
    for (int i = 252; i < 255; ++i) {
        wrap.append({QStringLiteral("F%1000000").arg(i - 252, 3, 10, QLatin1Char('0')), one, {1}, {}});
    }
    QTest::newRow("255 keys in A wrap the start to 00")
        << "A1B2C3" << 2 << 1 << 1 << wrap << layout("A1B2C3", "00", "02", "01", keys.left(1006)) << 255;
}

void TestImageBuilder::buildsLayout() {
    QFETCH(QString, readerCode);
    QFETCH(int, mode);
    QFETCH(int, relayTime);
    QFETCH(int, readerNumber);
    QFETCH(QList<Holder>, holders);
    QFETCH(QByteArray, expected);
    QFETCH(int, keyCount);

    QList<KeyHolder> records;
    for (const Holder& h : holders) {
        records.append(makeHolder(h));
    }
    const Reader reader = makeReader(readerCode, quint8(mode), qint16(relayTime));
    BuiltImage built;
    QString error;
    QVERIFY2(ImageBuilder::buildImage(reader, readerNumber, records, &built, &error), qPrintable(error));
    QCOMPARE(built.text.size(), 1024);
    QCOMPARE(built.text, expected);
    QCOMPARE(built.keyCount, keyCount);
    QCOMPARE(built.reader.aantalsleutels(), keyCount);
    QCOMPARE(built.reader.lezerkode(), readerCode.trimmed().leftJustified(6));

    // Only the code and the key count change in the reader record.
    Reader expectedReader = reader;
    expectedReader.setLezerkode(readerCode.trimmed());
    expectedReader.setAantalsleutels(qint16(keyCount));
    QCOMPARE(built.reader.bytes(), expectedReader.bytes());
}

void TestImageBuilder::refusesReadersWithoutMapBit_data() {
    QTest::addColumn<int>("readerNumber");
    QTest::newRow("0") << 0;
    QTest::newRow("129") << 129;
    QTest::newRow("-3") << -3;
}

void TestImageBuilder::refusesReadersWithoutMapBit() {
    QFETCH(int, readerNumber);
    BuiltImage built;
    built.text = "untouched";
    QString error;
    QVERIFY(!ImageBuilder::buildImage(makeReader("A1B2C3", 2, 1), readerNumber, {}, &built, &error));
    QVERIFY(error.contains(QString::number(readerNumber)));
    QVERIFY(error.contains(QStringLiteral("128")));
    QCOMPARE(built.text, QByteArray("untouched"));
}

namespace {

void writeFiles(const QString& folder, int readers, const QList<Holder>& holders) {
    const ReaderFile readerFile(folder);
    for (int n = 1; n <= readers; ++n) {
        Reader r = makeReader(QStringLiteral("C0DE%1").arg(n, 2, 10, QLatin1Char('0')), 0x12, qint16(n));
        r.setChangedFlag(QStringLiteral("X"));
        QVERIFY(readerFile.write(n, r, nullptr));
    }
    QFile keys(QDir(folder).filePath(QStringLiteral("asleutel.bst")));
    QVERIFY(keys.open(QIODevice::WriteOnly));
    for (const Holder& h : holders) {
        keys.write(makeHolder(h).bytes());
    }
}

QByteArray contents(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

}  // namespace

void TestImageBuilder::writesImageAndKeyCount() {
    QTemporaryDir dir;
    writeFiles(dir.path(), 3,
               {{"1111000000", "1", {2}, {}}, {"2222000000", "1", {2}, {2}}, {"3333000000", "1", {1}, {}}});
    const QString hexPath = dir.filePath(QStringLiteral("autonoom.hex"));
    {
        QFile old(hexPath);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(2048, 'Z'));
    }
    const QByteArray readersBefore = contents(dir.filePath(QStringLiteral("autonoom.bst")));

    const SleutelLadenResult result = Sleutel_Laden(dir.path(), 2, nullptr);
    QVERIFY2(result.ok, qPrintable(result.error));
    QCOMPARE(result.keyCount, 3);
    QCOMPARE(result.imagePath, hexPath);
    QCOMPARE(contents(hexPath), layout("C0DE02", "03", "12", "02", "111122222222"));

    // Record 2 got its key count at bytes 58..59 and nothing else changed in the file.
    QByteArray expected = readersBefore;
    expected[128 + 58] = 3;
    expected[128 + 59] = 0;
    QCOMPARE(contents(dir.filePath(QStringLiteral("autonoom.bst"))), expected);
}

void TestImageBuilder::refusesWithoutWriting_data() {
    QTest::addColumn<int>("readerNumber");
    QTest::addColumn<bool>("withKeyFile");
    QTest::addColumn<QString>("mention");
    QTest::newRow("reader 129") << 129 << true << "129";
    QTest::newRow("reader beyond the file") << 4 << true << "4";
    QTest::newRow("no key-holder file") << 1 << false << "asleutel.bst";
}

void TestImageBuilder::refusesWithoutWriting() {
    QFETCH(int, readerNumber);
    QFETCH(bool, withKeyFile);
    QFETCH(QString, mention);
    QTemporaryDir dir;
    writeFiles(dir.path(), 3, {{"1111000000", "1", {1}, {}}});
    if (!withKeyFile) {
        QVERIFY(QFile::remove(dir.filePath(QStringLiteral("asleutel.bst"))));
    }
    const QByteArray readersBefore = contents(dir.filePath(QStringLiteral("autonoom.bst")));

    const SleutelLadenResult result = Sleutel_Laden(dir.path(), readerNumber, nullptr);
    QVERIFY(!result.ok);
    QVERIFY2(result.error.contains(mention), qPrintable(result.error));
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("autonoom.hex"))));
    QCOMPARE(contents(dir.filePath(QStringLiteral("autonoom.bst"))), readersBefore);
}

QTEST_GUILESS_MAIN(TestImageBuilder)
#include "tst_imagebuilder.moc"
