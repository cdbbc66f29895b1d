#include <sys/stat.h>
#include <QtTest>

#include "programming/ImageBuilder.h"
#include "programming/ProgrammingImage.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "support/FaultyFileOps.h"
#include "support/OpenCounter.h"
#include "support/RecordFixtures.h"
#include "support/Unblocking.h"

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
    void sleutelLadenReadsTheHoldersInOneOpen();
    void sleutelLadenEveryFailurePoint();
    void sleutelLadenKeepsTheKeyCountInItsField_data();
    void sleutelLadenKeepsTheKeyCountInItsField();
    void sleutelLadenRefusesWhatIsNoFile_data();
    void sleutelLadenRefusesWhatIsNoFile();
    void sleutelLadenRefusesCodesTheKeyCannotTake_data();
    void sleutelLadenRefusesCodesTheKeyCannotTake();
};

namespace {

// A data folder with three readers and 300 key holders, a third of them for reader 2.
struct Folder {
    QTemporaryDir dir;
    QList<KeyHolder> holders;
    QByteArray readers;

    Folder() {
        QList<Holder> list;
        for (int i = 0; i < 300; ++i) {
            list.append({QStringLiteral("%1000000").arg(i, 4, 16, QLatin1Char('0')), "1", {i % 3 + 1}, {}});
        }
        holders = records(list);
        QByteArray holderBytes;
        for (const KeyHolder& k : holders) {
            holderBytes += k.bytes();
        }
        readers = fixtures::records(128, 3);
        readers.replace(128, 6, "  AB1 ");  // trimmed when the key is made
        fixtures::writeFile(dir.filePath("asleutel.bst"), holderBytes);
        fixtures::writeFile(dir.filePath("autonoom.bst"), readers);
        fixtures::writeFile(dir.filePath("autonoom.hex"), "old image");
    }
    QByteArray file(const char* name) const { return fixtures::readFile(dir.filePath(QLatin1String(name))); }
};

}  // namespace

// The key list grows with the key holders; their file is read once, not once per holder.
void TestImageBuilder::sleutelLadenReadsTheHoldersInOneOpen() {
    Folder folder;
    OpenCounter opens(folder.dir.filePath("asleutel.bst"));
    QVERIFY(opens.watching());
    const SleutelLadenResult result = Sleutel_Laden(folder.dir.path(), 2);
    QVERIFY2(result.ok, qPrintable(result.error));
    QCOMPARE(opens.take(), 1);

    Reader reader;
    QVERIFY(reader.setBytes(folder.readers.mid(128, 128)));
    BuiltImage built;
    QString error;
    QVERIFY(ImageBuilder::buildImage(reader, 2, folder.holders, &built, &error));
    QCOMPARE(result.keyCount, 100);
    QCOMPARE(folder.file("autonoom.hex"), built.text);
    QByteArray readers = folder.readers;
    readers.replace(128, 6, "AB1   ");
    readers.replace(128 + 58, 2, fixtures::le16(100));
    QCOMPARE(folder.file("autonoom.bst"), readers);
}

// Whatever write fails, the image is the old one or the whole new one, and the key count goes into the
// reader only after the image is in place.
void TestImageBuilder::sleutelLadenEveryFailurePoint() {
    for (int failAt = 1;; ++failAt) {
        Folder folder;
        FaultyFileOps ops(failAt);
        const SleutelLadenResult result = Sleutel_Laden(folder.dir.path(), 2, &ops);
        const QByteArray image = folder.file("autonoom.hex");
        const QByteArray readers = folder.file("autonoom.bst");
        QCOMPARE(QDir(folder.dir.path()).entryList({"*.new"}, QDir::Files), QStringList());
        if (!ops.fired()) {
            QVERIFY2(result.ok, qPrintable(result.error));
            QCOMPARE(ops.operations(), 5);  // the image: write, flush, rename; the reader: write, flush
            QCOMPARE(image.size(), 1024);
            QVERIFY(readers != folder.readers);
            break;
        }
        const QByteArray at = QByteArray::number(failAt);
        QVERIFY2(!result.ok, at);
        QVERIFY2(result.error.contains(FaultyFileOps::faultText()), qPrintable(result.error));
        // The message names the file that could not be written.
        QVERIFY2(result.error.contains(image.size() == 1024 ? "autonoom.bst" : "autonoom.hex"),
                 qPrintable(result.error));
        QVERIFY2(image == "old image" || image.size() == 1024, at);
        QVERIFY2(readers == folder.readers || image.size() == 1024, at);
    }
}

// The key count goes into a signed 16-bit field: more keys than it holds are stored as its largest
// number, never wrapped to a negative one.
void TestImageBuilder::sleutelLadenKeepsTheKeyCountInItsField_data() {
    QTest::addColumn<int>("keys");
    QTest::addColumn<int>("stored");
    QTest::newRow("one below the largest") << 32766 << 32766;
    QTest::newRow("one above") << 32768 << 32767;
    QTest::newRow("far above") << 40001 << 32767;
}

void TestImageBuilder::sleutelLadenKeepsTheKeyCountInItsField() {
    QFETCH(int, keys);
    QFETCH(int, stored);
    QTemporaryDir dir;
    // Each holder is in both lists of reader 1, the last one in list A only when the count is odd.
    QByteArray holders;
    for (int i = 0; i < (keys + 1) / 2; ++i) {
        const bool both = 2 * i + 1 < keys;
        KeyHolder k = records({{QStringLiteral("%1000000").arg(i % 0x10000, 4, 16, QLatin1Char('0')),
                                "1",
                                {1},
                                both ? QList<int>{1} : QList<int>{}}})
                          .constFirst();
        holders += k.bytes();
    }
    QVERIFY(fixtures::writeFile(dir.filePath("asleutel.bst"), holders));
    QVERIFY(fixtures::writeFile(dir.filePath("autonoom.bst"),
                                fixtures::with(fixtures::record(128, 1), {{0, 6, "A1B2C3"}})));

    const SleutelLadenResult result = Sleutel_Laden(dir.path(), 1);
    QVERIFY2(result.ok, qPrintable(result.error));
    QCOMPARE(result.keyCount, keys);
    QCOMPARE(fixtures::readFile(dir.filePath("autonoom.bst")).mid(58, 2), fixtures::le16(stored));
}

// A FIFO or a folder where a file of the image's making should be is refused, never waited on, and
// stays as it was; nothing is written.
void TestImageBuilder::sleutelLadenRefusesWhatIsNoFile_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("fifo");
    QTest::newRow("autonoom.hex is a FIFO") << "autonoom.hex" << true;
    QTest::newRow("autonoom.hex is a folder") << "autonoom.hex" << false;
    QTest::newRow("autonoom.bst is a FIFO") << "autonoom.bst" << true;
    QTest::newRow("asleutel.bst is a FIFO") << "asleutel.bst" << true;
    QTest::newRow("asleutel.bst is a folder") << "asleutel.bst" << false;
}

void TestImageBuilder::sleutelLadenRefusesWhatIsNoFile() {
    QFETCH(QString, name);
    QFETCH(bool, fifo);
    Folder folder;
    const QString path = folder.dir.filePath(name);
    QFile::remove(path);
    if (fifo) {
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
    } else {
        QVERIFY(QDir(folder.dir.path()).mkdir(name));
    }
    SleutelLadenResult result;
    Status status;
    QVERIFY2(unblocking::returnsWithoutBlocking(
                 [&] {
                     result = Sleutel_Laden(folder.dir.path(), 2);
                     return Status();
                 },
                 path, &status),
             "blocked on the FIFO");
    QVERIFY(!result.ok);
    QVERIFY2(result.error.contains(QDir::toNativeSeparators(path)), qPrintable(result.error));
    QFileInfo info(path);
    QVERIFY(fifo ? !info.isFile() && !info.isDir() && info.exists() : info.isDir());
    if (name != "autonoom.bst") {
        QCOMPARE(folder.file("autonoom.bst"), folder.readers);
    }
    if (name != "autonoom.hex") {
        QCOMPARE(folder.file("autonoom.hex"), QByteArray("old image"));
    }
    QCOMPARE(QDir(folder.dir.path()).entryList({"*.new"}, QDir::Files), QStringList());
}

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

// A code the key writer could not read is refused while the reader list is still in front of the user,
// naming whose code it is; nothing is written. Codes that do not go into this reader's image do not count.
void TestImageBuilder::sleutelLadenRefusesCodesTheKeyCannotTake_data() {
    QTest::addColumn<QString>("readerCode");
    QTest::addColumn<QList<Holder>>("holders");
    QTest::addColumn<QStringList>("named");  // empty: the image is made

    const Holder good{"1234000000", "1", {2}, {}};
    QTest::newRow("pasted name as reader code")
        << "Hoofdi" << QList<Holder>{good} << QStringList{"lezer 2 (Hoofdingang)", "\"Hoofdi\""};
    QTest::newRow("character outside the code page")
        << QString::fromUtf8("A1\u0141B2") << QList<Holder>{good} << QStringList{"lezer 2 (Hoofdingang)", "A1?B2"};
    QTest::newRow("granted key code") << "A1B2C3" << QList<Holder>{good, {"Hoof000000", "1", {2}, {}}}
                                      << QStringList{"sleutelhouder 2 (Houder 2)", "\"Hoof\"", "lezer 2"};
    QTest::newRow("withdrawn key code, even when not valid")
        << "A1B2C3" << QList<Holder>{{"12G4000000", "0", {}, {2}}, good}
        << QStringList{"sleutelhouder 1 (Houder 1)", "\"12G4\""};
    QTest::newRow("bad code for another reader")
        << "A1B2C3" << QList<Holder>{good, {"Hoof000000", "1", {1}, {3}}} << QStringList{};
    QTest::newRow("bad code not valid in list A")
        << "A1B2C3" << QList<Holder>{{"Hoof000000", "0", {2}, {}}} << QStringList{};
    QTest::newRow("code skipped as not 4 long")
        << "A1B2C3" << QList<Holder>{{"Ho", "1", {2}, {2}}, good} << QStringList{};
    QTest::newRow("blank and short reader codes are hex") << "  AB1" << QList<Holder>{good} << QStringList{};

    QList<Holder> full;
    for (int i = 0; i < 252; ++i) {
        full.append(good);
    }
    QTest::newRow("bad code beyond the end of the list")
        << "A1B2C3" << (QList<Holder>(full) << Holder{"Hoof", "1", {2}, {}}) << QStringList{};
    // The list ends inside the 252nd code: its first half goes in, the rest is cut off.
    full[251].code = "XX12000000";
    QTest::newRow("bad half of the last code in the list")
        << "A1B2C3" << QList<Holder>(full) << QStringList{"sleutelhouder 252 (Houder 252)"};
    full[251].code = "12XX000000";
    QTest::newRow("cut-off half of the last code") << "A1B2C3" << QList<Holder>(full) << QStringList{};
}

void TestImageBuilder::sleutelLadenRefusesCodesTheKeyCannotTake() {
    QFETCH(QString, readerCode);
    QFETCH(QList<Holder>, holders);
    QFETCH(QStringList, named);

    QTemporaryDir dir;
    const ReaderFile readers(dir.path());
    for (const char* name : {"Magazijn", "Hoofdingang"}) {
        Reader reader = makeReader(readerCode, 5);
        reader.setLezerNaam(QLatin1String(name));
        QVERIFY(readers.write(readers.count().value + 1, reader).ok());
    }
    KeyHolderFile file(dir.path());
    const QList<KeyHolder> list = records(holders);
    for (int i = 0; i < list.size(); ++i) {
        file.current() = list.at(i);
        file.current().setNaam(QStringLiteral("Houder %1").arg(i + 1));
        QVERIFY(file.write(i + 1).ok());
    }
    const QByteArray readersBefore = fixtures::readFile(readers.path());

    const SleutelLadenResult result = Sleutel_Laden(dir.path(), 2);
    QCOMPARE(result.ok, named.isEmpty());
    if (result.ok) {
        QCOMPARE(result.readerName, QStringLiteral("Hoofdingang"));
        QByteArray memory;
        QString error;
        QVERIFY2(ProgrammingImage::readFile(result.imagePath, &memory, &error), qPrintable(error));
        return;
    }
    for (const QString& part : named) {
        QVERIFY2(result.error.contains(part), qPrintable(result.error));
    }
    QVERIFY2(!result.error.contains(QLatin1String("autonoom.hex")) && !result.error.contains(QLatin1String("positie")),
             qPrintable(result.error));
    QVERIFY(!QFileInfo::exists(result.imagePath));
    QCOMPARE(fixtures::readFile(readers.path()), readersBefore);
}

QTEST_GUILESS_MAIN(TestImageBuilder)
#include "tst_imagebuilder.moc"
