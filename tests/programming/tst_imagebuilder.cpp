#include <QtTest>

#include "programming/ImageBuilder.h"
#include "programming/ProgrammingImage.h"

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

QList<KeyHolder> records(const QList<Holder>& holders) {
    QList<KeyHolder> list;
    for (const Holder& h : holders) {
        KeyHolder k = KeyHolder::blank();
        k.setGeldig(h.geldig);
        k.setSleutelcode(h.code);
        k.setToegang(mapOf(h.granted));
        k.setWijziging(mapOf(h.withdrawn));
        list.append(k);
    }
    return list;
}

Reader makeReader(const QString& code, int relayTime) {
    Reader r;
    r.setLezerkode(code);
    r.setMode(0xA5);
    r.setRelayTime(qint16(relayTime));
    r.setLezerNaam(QStringLiteral("voordeur"));
    return r;
}

// The image as the layout table lays it out, field by field (mode byte 0xA5 throughout).
QByteArray layout(const QByteArray& start, const QByteArray& keys, const QByteArray& relay = "01",
                  const QByteArray& code = "A1B2C3") {
    return code + "0001" + start + "A5" + relay + keys.leftJustified(1006, ' ', true) + "AA";
}

// image empty: the reader is refused and nothing is built.
void row(const char* name, int reader, const QList<Holder>& holders, const QByteArray& image, int keyCount,
         const QString& code = QStringLiteral("A1B2C3"), int relay = 1) {
    QTest::newRow(name) << code << relay << reader << holders << image << keyCount;
}

}  // namespace

class TestImageBuilder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void buildsImage_data();
    void buildsImage();
};

void TestImageBuilder::buildsImage_data() {
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("relay");
    QTest::addColumn<int>("reader");
    QTest::addColumn<QList<Holder>>("holders");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<int>("keyCount");

    const QList<Holder> neighbours{{"7777000000", "1", {7}, {}},   {"8888000000", "1", {8}, {}},
                                   {"9999000000", "1", {9}, {}},   {"AAAA000000", "1", {10}, {9}},
                                   {"EEEE000000", "1", {127}, {}}, {"FFFF000000", "1", {128}, {}}};
    row("no keys for this reader", 1, {{"1111", "1", {2}, {3}}}, layout("FF", ""), 0);
    row("only list B", 2, {{"1111", "1", {}, {2}}, {"2222", "1", {1}, {2}}}, layout("FF", "11112222"), 2);
    row("three in A in file order, then B", 3,
        {{"CCCC", "1", {3}, {}}, {"AAAA", "1", {3}, {}}, {"DDDD", "1", {}, {3}}, {"BBBB", "1", {3, 4}, {}}},
        layout("04", "CCCCAAAABBBBDDDD"), 4);
    row("geldig 0 left out of A, kept in B", 5,
        {{"1111", "0", {5}, {5}}, {"2222", "1", {5}, {}}, {"3333", " ", {5}, {}}, {"4444", "1", {5}, {5}}},
        layout("03", "2222444411114444"), 4);
    row("reader 8 is mask 128 of character 1", 8, neighbours, layout("02", "8888"), 1);
    row("reader 9 is mask 1 of character 2", 9, neighbours, layout("02", "9999AAAA"), 2);
    row("reader 128", 128, neighbours, layout("02", "FFFF"), 1);
    row("reader 0 refused", 0, neighbours, {}, 0);
    row("reader 129 refused", 129, neighbours, {}, 0);
    row("codes not 4 long after trimming skipped", 1,
        {{"12", "1", {1}, {1}}, {" 123", "1", {1}, {1}}, {"12 4", "1", {1}, {}}, {"ABCD", "1", {1}, {}}},
        layout("03", "12 4ABCD"), 2);
    row("blank reader code", 1, {}, layout("FF", "", "01", "000000"), 0, "      ");
    row("short reader code", 1, {}, layout("FF", "", "01", "AB1   "), 0, "  AB1");
    row("relay time 300 keeps its low byte", 1, {}, layout("FF", "", "2C"), 0, "A1B2C3", 300);
    row("negative relay time", 1, {}, layout("FF", "", "FF"), 0, "A1B2C3", -1);

    QList<Holder> many;
    QByteArray keys;
    for (int i = 0; i < 255; ++i) {
        const QString code = QStringLiteral("%1").arg(i, 4, 16, QLatin1Char('0')).toUpper();
        many.append({code + QStringLiteral("000000"), "1", {1}, {}});
        keys += code.toLatin1();
    }
    // 1006 characters end inside the 252nd code: "00FB" keeps "00".
    const QByteArray cut = layout("FD", keys.left(1006));
    row("252 keys cut inside the last code", 1, many.mid(0, 252), cut, 252);
    row("253 keys, list B beyond the cut", 1, many.mid(0, 252) << Holder{"BBBB000000", "1", {}, {1}}, cut, 253);
    row("255 keys in A wrap the count to 00", 1, many, layout("00", keys.left(1006)), 255);
}

void TestImageBuilder::buildsImage() {
    QFETCH(QString, code);
    QFETCH(int, relay);
    QFETCH(int, reader);
    QFETCH(QList<Holder>, holders);
    QFETCH(QByteArray, image);
    QFETCH(int, keyCount);

    const Reader record = makeReader(code, relay);
    BuiltImage built;
    built.text = "untouched";
    QString error;
    QCOMPARE(ImageBuilder::buildImage(record, reader, records(holders), &built, &error), !image.isEmpty());
    if (image.isEmpty()) {
        QVERIFY2(error.contains(QString::number(reader)), qPrintable(error));
        QCOMPARE(built.text, QByteArray("untouched"));
        return;
    }
    QCOMPARE(built.text, image);
    QCOMPARE(built.keyCount, keyCount);
    // Only the code and the key count change in the reader record.
    Reader expected = record;
    expected.setLezerkode(code.trimmed());
    expected.setAantalsleutels(qint16(keyCount));
    QCOMPARE(built.reader.bytes(), expected.bytes());
    // Whatever the builder makes, the key writer must take: a short code or a blank inside a key code too.
    QByteArray memory;
    QVERIFY2(ProgrammingImage::parse(built.text, &memory, &error), qPrintable(error));
}

QTEST_GUILESS_MAIN(TestImageBuilder)
#include "tst_imagebuilder.moc"
