// The record files on disk: partial records, refused numbers, system errors, saving rows, the
// key-holder and location operations and the folder-name check.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "records/FolderName.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "records/RecordFile.h"
#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {

const QDate kToday(2025, 6, 9);
const QByteArray kTodayText("09-06-25");
const QString kName = QString::fromUtf8("Poort é € 中 achterzijde");  // cut to 20

}  // namespace

class TestRecordFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void partialTrailingRecord_data() {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("whole");
        QTest::addColumn<int>("tail");
        QTest::newRow("reader 3 + 50") << 128 << 3 << 50;
        QTest::newRow("reader only a tail") << 128 << 0 << 127;
        QTest::newRow("key holder 1000 bytes") << 512 << 1 << 488;
        QTest::newRow("location 2 + 985") << 986 << 2 << 985;
    }

    void partialTrailingRecord() {
        QFETCH(int, length);
        QFETCH(int, whole);
        QFETCH(int, tail);
        QTemporaryDir dir;
        const QString path = dir.filePath("records.bst");
        QVERIFY(writeFile(path, records(length, whole) + QByteArray(tail, 'T')));

        RecordFile file(path, length);
        QString error;
        QCOMPARE(file.count(&error), whole);
        QByteArrayList all;
        QVERIFY(file.readAll(&all, &error));
        QCOMPARE(all.join(), records(length, whole));
        QByteArray past("unread");
        QVERIFY(file.read(whole + 1, &past, &error));
        QCOMPARE(past, QByteArray());
        QVERIFY2(file.write(whole + 1, record(length, 99), &error), qPrintable(error));
        QCOMPARE(readFile(path), records(length, whole) + record(length, 99));
    }

    void numbersOutsideFileRefused() {
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        const RecordFile file(path, 128);
        QString error;
        QVERIFY(!file.write(2, record(128, 1), &error));
        QVERIFY(!error.isEmpty());
        QVERIFY(!QFile::exists(path));

        // Without an error string, too: the caller may not want the text.
        QVERIFY(writeFile(path, records(128, 2)));
        for (int n : {0, -1, 4}) {
            QVERIFY2(!file.write(n, record(128, 7), nullptr), qPrintable(QString::number(n)));
        }
        QVERIFY(!file.write(1, record(127, 7), nullptr));
        for (int n : {0, 3}) {
            QVERIFY2(!file.remove(n, nullptr), qPrintable(QString::number(n)));
        }
        QCOMPARE(readFile(path), records(128, 2));
        QVERIFY(!QFile::exists(dir.filePath("tmp.bst")));
    }

    void unusableFileGivesSystemText_data() {
        QTest::addColumn<bool>("folderMissing");  // else a folder stands where the file should be
        QTest::newRow("folder missing") << true;
        QTest::newRow("folder in the way") << false;
    }

    void unusableFileGivesSystemText() {
        QFETCH(bool, folderMissing);
        QTemporaryDir dir;
        const QString folder = folderMissing ? dir.filePath("niet-er") : dir.path();
        QVERIFY(folderMissing || QDir(folder).mkdir("autonoom.bst"));
        QFile probe(QDir(folder).filePath("autonoom.bst"));
        QVERIFY(!probe.open(QIODevice::ReadWrite));

        const ReaderFile file(folder);
        QString error;
        QVERIFY(!file.write(1, Reader(), &error));
        QVERIFY2(error.contains(probe.errorString()), qPrintable(error));
        error.clear();
        QVERIFY(!file.remove(1, &error));
        QVERIFY(!error.isEmpty());
    }

    void readerRecordSave_data() {
        QTest::addColumn<QStringList>("cells");  // number, key count, relay time, flag, code
        QTest::addColumn<int>("written");        // record written; 0 none, -1 refused with a message
        QTest::addColumn<int>("keyCount");
        QTest::addColumn<int>("relayTime");
        QTest::addColumn<char>("flag");
        QTest::newRow("plain") << QStringList{"2", "5", "7", "X", "ABC123"} << 2 << 5 << 7 << 'X';
        QTest::newRow("empty key count is 0") << QStringList{"1", "", "10", "X", "A"} << 1 << 0 << 10 << 'X';
        QTest::newRow("half away from zero") << QStringList{"1", "-2.5", "2.5", "", "A"} << 1 << -3 << 3 << ' ';
        QTest::newRow("text after relay time") << QStringList{"1", "3", "15 sec", "", "A"} << 1 << 3 << 15 << ' ';
        QTest::newRow("16-bit limits") << QStringList{"1", "-32768", "32767", "", "A"} << 1 << -32768 << 32767 << ' ';
        QTest::newRow("relay time 32768") << QStringList{"1", "3", "32768", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("key count text") << QStringList{"1", "veel", "1", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("key count 32768") << QStringList{"1", "32768", "1", "", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("other flag blank") << QStringList{"1", "1", "1", "Y", "A"} << 1 << 1 << 1 << ' ';
        QTest::newRow("code cut to 6") << QStringList{"1", "1", "1", "", "ABCDEF12"} << 1 << 1 << 1 << ' ';
        QTest::newRow("number 0") << QStringList{"0", "1", "1", "", "A"} << 0 << 0 << 0 << ' ';
        QTest::newRow("number not numeric") << QStringList{"abc", "1", "1", "", "A"} << 0 << 0 << 0 << ' ';
        QTest::newRow("count + 1 appends") << QStringList{"3", "1", "1", "X", "A"} << 3 << 1 << 1 << 'X';
        QTest::newRow("count + 2 refused") << QStringList{"4", "1", "1", "X", "A"} << -1 << 0 << 0 << ' ';
        QTest::newRow("number beyond any file refused")
            << QStringList{"99999999999999999999", "1", "1", "X", "A"} << -1 << 0 << 0 << ' ';
    }

    void readerRecordSave() {
        QFETCH(QStringList, cells);
        QFETCH(int, written);
        QFETCH(int, keyCount);
        QFETCH(int, relayTime);
        QFETCH(char, flag);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        QVERIFY(writeFile(path, records(128, 2)));
        const ReaderRow row{cells[3], cells[0], kName, cells[1], cells[4], "Extern Invers", "Houd", cells[2]};
        QString error;
        QCOMPARE(ReaderFile(dir.path()).record_save(row, kToday, &error), written >= 0);
        QCOMPARE(error.isEmpty(), written >= 0);

        QByteArray expected = records(128, 2);
        if (written > 0) {
            const QByteArray rec = with(written <= 2 ? record(128, written) : Reader().bytes(),
                                        {{0, 6, cells[4].toLatin1()},
                                         {10, 1, oneByte(14)},  // 2 + 4 Houd + 8 Extern, inverted
                                         {12, 2, le16(relayTime)},
                                         {14, 8, kTodayText},
                                         {34, 20, "Poort \xE9 \x80 ? achterzi"},
                                         {58, 2, le16(keyCount)},
                                         {60, 1, QByteArray(1, flag)}});
            expected = expected.left((written - 1) * 128) + rec + expected.mid(written * 128);
        }
        QCOMPARE(readFile(path), expected);
    }

    void recordUpdate_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<int>("holder");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("selector");
        QTest::addColumn<bool>("alreadyThere");
        QTest::addColumn<int>("readOffset");   // map BitFind works on; 0: refused, nothing written
        QTest::addColumn<int>("writeOffset");  // map that receives the result
        QTest::newRow("grant toegang") << 9 << 2 << 1 << 0 << false << 291 << 291;
        QTest::newRow("grant toegang already set") << 9 << 2 << 1 << 0 << true << 291 << 291;
        QTest::newRow("withdraw wijziging") << 0 << 2 << 2 << 1 << true << 307 << 307;
        QTest::newRow("withdraw wijziging already clear") << 0 << 2 << 2 << 1 << false << 307 << 307;
        QTest::newRow("selector 2 reads toegang writes wijziging") << 2 << 2 << 1 << 2 << false << 291 << 307;
        QTest::newRow("reader 128") << 128 << 2 << 1 << 0 << false << 0 << 0;
        QTest::newRow("reader beyond reader file") << 12 << 2 << 1 << 0 << false << 0 << 0;
        QTest::newRow("key holder 0") << 0 << 0 << 1 << 0 << false << 0 << 0;
        QTest::newRow("key holder beyond file") << 0 << 4 << 1 << 0 << false << 0 << 0;
    }

    void recordUpdate() {
        QFETCH(int, reader);
        QFETCH(int, holder);
        QFETCH(int, mode);
        QFETCH(int, selector);
        QFETCH(bool, alreadyThere);
        QFETCH(int, readOffset);
        QFETCH(int, writeOffset);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("autonoom.bst"), records(128, 12)));
        const char mask = char(1 << (reader % 8));
        const bool set = mode == 1;
        QByteArray second = record(512, 2);
        if (readOffset > 0) {
            char& b = second[readOffset + reader / 8];
            b = set == alreadyThere ? char(b | mask) : char(b & ~mask);
        }
        QVERIFY(writeFile(dir.filePath("asleutel.bst"), record(512, 1) + second + record(512, 3)));

        QString error;
        const bool ok = KeyHolderFile(dir.path()).record_update(reader, holder, mode, selector, kToday, &error);
        QCOMPARE(ok, readOffset > 0);
        QCOMPARE(error.isEmpty(), ok);
        QByteArray readers = records(128, 12);
        if (ok) {
            QByteArray map = second.mid(readOffset, 16);
            map[reader / 8] = set ? char(map[reader / 8] | mask) : char(map[reader / 8] & ~mask);
            second.replace(writeOffset, 16, map);
            readers.replace(reader * 128, 128, with(record(128, reader + 1), {{14, 8, kTodayText}, {60, 1, "X"}}));
        }
        QCOMPARE(readFile(dir.filePath("asleutel.bst")), record(512, 1) + second + record(512, 3));
        QCOMPARE(readFile(dir.filePath("autonoom.bst")), readers);
    }

    void keyHolderSaves() {
        QTemporaryDir dir;
        const QString path = dir.filePath("asleutel.bst");
        QVERIFY(writeFile(path, records(512, 3)));
        KeyHolderFile file(dir.path());
        QString error;
        QVERIFY2(file.record_save(2, "Jansen", "Dorpsstraat 1", "Zwolle", "sleutel kwijt?", &error), qPrintable(error));
        const QByteArray second =
            with(record(512, 2),
                 {{14, 30, "Jansen"}, {44, 30, "Dorpsstraat 1"}, {81, 21, "Zwolle"}, {175, 58, "sleutel kwijt?"}});
        QCOMPARE(readFile(path), record(512, 1) + second + record(512, 3));

        const QList<Field> details = {{14, 30, "Piet"},         {44, 30, "Laan 2"},       {81, 21, "Ede"},
                                      {102, 15, "0318-123456"}, {132, 15, "06-12345678"}, {157, 10, "0A1B2C3D4E"}};
        QByteArray first;
        for (bool geldig : {true, false}) {
            const KeyHolderDetails row{"Piet", "Laan 2", "Ede", "0318-123456", "06-12345678", "0A1B2C3D4E", geldig};
            QVERIFY2(file.saveDetails(1, row, &error), qPrintable(error));
            first = with(record(512, 1), details);
            first[0] = geldig ? '1' : '0';
            QCOMPARE(readFile(path), first + second + record(512, 3));
        }

        // Past the end reads as the blank record; a new record starts from the one read last, on purpose.
        QVERIFY(file.record_load(4, &error));
        QCOMPARE(file.current().bytes(), KeyHolder::blank().bytes());
        QVERIFY(file.record_load(3, &error));
        QCOMPARE(file.newRecord(&error), 4);
        const QByteArray fourth = with(record(512, 3), {{0, 1, "1"}, {14, 30, ""}, {157, 10, ""}});
        QCOMPARE(readFile(path), first + second + record(512, 3) + fourth);
    }

    void findByKeyCode() {
        QTemporaryDir dir;
        auto holder = [](int seed, const QByteArray& code) { return with(record(512, seed), {{157, 10, code}}); };
        QVERIFY(writeFile(dir.filePath("asleutel.bst"),
                          holder(1, "") + holder(2, "AB12") + holder(3, "0011223344") + holder(4, "0011223344")));
        KeyHolderFile file(dir.path());
        QString error;
        QCOMPARE(file.findByKeyCode("0011223344", &error), 3);
        QCOMPARE(file.current().bytes(), holder(3, "0011223344"));
        QCOMPARE(file.findByKeyCode("AB12", &error), 2);
        QCOMPARE(file.findByKeyCode("FFFFFFFFFF", &error), 0);
        QCOMPARE(KeyHolderFile(dir.filePath("leeg")).findByKeyCode("AB12", &error), 0);
    }

    void locationFile() {
        QTemporaryDir dir;
        QString error;
        LocationFile file(dir.path());
        // A name in other letter case is taken over, not replaced by a new file.
        QVERIFY(writeFile(dir.filePath("LOCATIE.BST"), records(986, 2)));
        QVERIFY2(file.ensureFile(&error), qPrintable(error));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"locatie.bst"});
        QCOMPARE(readFile(file.path()), records(986, 2));

        // The buffer holds the last record read; its reserved bytes go into the saved row.
        QList<Location> all;
        QVERIFY(file.readAll(&all, &error));
        QCOMPARE(all.size(), 2);
        QStringList columns{"Kantoor", "Markt 1", "Ede", "0318", "Mevr. Smit", "06", "fax", "www.nl", "kantoor"};
        QVERIFY2(file.saveRow(3, columns, &error), qPrintable(error));
        const QList<Field> texts = {{12, 30, "Kantoor"}, {42, 30, "Mevr. Smit"}, {72, 30, "Markt 1"},
                                    {102, 30, "Ede"},    {132, 15, "0318"},      {147, 15, "fax"},
                                    {162, 15, "06"},     {177, 50, "www.nl"},    {227, 12, "kantoor"}};
        const QByteArray third = with(record(986, 2), texts);
        QCOMPARE(readFile(file.path()), records(986, 2) + third);

        // Refused as typed, and as it would be stored: cut to 12 it would end in a dot.
        for (const char* map : {"../boven", "Zuidkantoor.x"}) {
            columns[8] = QString::fromLatin1(map);
            QVERIFY(!file.saveRow(1, columns, &error));
            QVERIFY(!error.isEmpty());
            QCOMPARE(readFile(file.path()), records(986, 2) + third);
        }
    }

    void folderNameCheck_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("empty") << "" << true;
        QTest::newRow("space and accent") << QString::fromUtf8("De Ruïne 2") << true;
        QTest::newRow("dots inside") << "a.b" << true;
        QTest::newRow("dot") << "." << false;
        QTest::newRow("dot dot padded") << " .. " << false;
        QTest::newRow("slash") << "a/b" << false;
        QTest::newRow("backslash") << "a\\b" << false;
        QTest::newRow("colon") << "c:" << false;
        QTest::newRow("tab") << "a\tb" << false;
        QTest::newRow("device, any case, with extension") << "com1.txt" << false;
        QTest::newRow("trailing dot") << "kantoor." << false;
    }

    void folderNameCheck() {
        QFETCH(QString, name);
        QFETCH(bool, allowed);
        QString error;
        QCOMPARE(checkFolderName(name, &error), allowed);
        QCOMPARE(error.isEmpty(), allowed);
    }
};

QTEST_GUILESS_MAIN(TestRecordFiles)
#include "tst_recordfiles.moc"
