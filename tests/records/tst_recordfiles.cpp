// The record files on disk: counting, reading past the end, appending, saving rows, deleting, the
// key-holder and location operations and the folder-name check.
#include <unistd.h>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "FolderName.h"
#include "KeyHolderFile.h"
#include "LocationFile.h"
#include "ReaderFile.h"
#include "RecordFile.h"
#include "RecordFixtures.h"

using fixtures::readFile;
using fixtures::record;
using fixtures::records;
using fixtures::writeFile;

namespace {

const QDate kToday(2025, 6, 9);
const QByteArray kTodayText("09-06-25");

QByteArray blankOf(int length) {
    if (length == Reader::kSize) {
        return Reader().bytes();
    }
    if (length == KeyHolder::kSize) {
        return KeyHolder::blank().bytes();
    }
    return Location::blank().bytes();
}

QString fileNameOf(int length) {
    if (length == Reader::kSize) {
        return ReaderFile::kFileName;
    }
    if (length == KeyHolder::kSize) {
        return KeyHolderFile::kFileName;
    }
    return LocationFile::kFileName;
}

// Reads record n through the typed file for that record length.
QByteArray typedRead(const QString& folder, int length, int n) {
    if (length == Reader::kSize) {
        Reader r;
        return ReaderFile(folder).read(n, &r, nullptr) ? r.bytes() : QByteArray();
    }
    if (length == KeyHolder::kSize) {
        KeyHolderFile f(folder);
        return f.record_load(n, nullptr) ? f.current().bytes() : QByteArray();
    }
    LocationFile f(folder);
    QList<Location> all;
    if (!f.readAll(&all, nullptr)) {
        return QByteArray();
    }
    return n <= all.size() ? all[n - 1].bytes() : Location::blank().bytes();
}

}  // namespace

class TestRecordFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void partialTrailingRecord_data();
    void partialTrailingRecord();
    void writeOutsideFileRefused();
    void unusableFileGivesSystemText_data();
    void unusableFileGivesSystemText();
    void readerRecordSave_data();
    void readerRecordSave();
    void deleteOutOfRangeRefused();
    void recordUpdate_data();
    void recordUpdate();
    void recordUpdateRefused_data();
    void recordUpdateRefused();
    void keyHolderSavesKeepOtherBytes();
    void newKeyHolderCopiesCurrent();
    void findByKeyCode();
    void locationFile();
    void folderNameCheck_data();
    void folderNameCheck();
};

void TestRecordFiles::partialTrailingRecord_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("whole");
    QTest::addColumn<int>("tail");
    QTest::newRow("reader 3 + 50") << Reader::kSize << 3 << 50;
    QTest::newRow("key holder 1000 bytes") << KeyHolder::kSize << 1 << 488;
    QTest::newRow("location 2 + 985") << Location::kSize << 2 << 985;
    QTest::newRow("reader empty file") << Reader::kSize << 0 << 0;
    QTest::newRow("reader only a tail") << Reader::kSize << 0 << 127;
}

void TestRecordFiles::partialTrailingRecord() {
    QFETCH(int, length);
    QFETCH(int, whole);
    QFETCH(int, tail);
    QTemporaryDir dir;
    const QString path = dir.filePath(fileNameOf(length));
    const QByteArray content = records(length, whole) + QByteArray(tail, 'T');
    QVERIFY(writeFile(path, content));

    RecordFile file(path, length);
    QString error;
    QCOMPARE(file.count(&error), whole);
    if (whole > 0) {
        QCOMPARE(typedRead(dir.path(), length, whole), record(length, whole));
    }
    QCOMPARE(typedRead(dir.path(), length, whole + 1), blankOf(length));

    // The next append writes over the tail.
    QVERIFY2(file.write(whole + 1, record(length, 99), &error), qPrintable(error));
    QCOMPARE(readFile(path), records(length, whole) + record(length, 99));
}

void TestRecordFiles::writeOutsideFileRefused() {
    QTemporaryDir dir;
    const QString path = dir.filePath("autonoom.bst");
    RecordFile missing(path, 128);
    QString error;
    QVERIFY(!missing.write(2, record(128, 1), &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!QFile::exists(path));
    QCOMPARE(missing.count(&error), 0);

    QVERIFY(writeFile(path, records(128, 2)));
    for (int n : {0, -1, 4}) {
        error.clear();
        QVERIFY(!missing.write(n, record(128, 7), &error));
        QVERIFY(!error.isEmpty());
    }
    QVERIFY(!missing.write(1, record(127, 7), &error));
    QCOMPARE(readFile(path), records(128, 2));
}

void TestRecordFiles::unusableFileGivesSystemText_data() {
    QTest::addColumn<QString>("situation");
    QTest::newRow("folder missing") << "missing";
    QTest::newRow("folder in the way") << "folder";
    QTest::newRow("read-only file") << "readonly";
}

void TestRecordFiles::unusableFileGivesSystemText() {
    QFETCH(QString, situation);
    QTemporaryDir dir;
    QString folder = dir.path();
    if (situation == "missing") {
        folder = dir.filePath("niet-er");
    } else if (situation == "folder") {
        QVERIFY(QDir(folder).mkdir("autonoom.bst"));
    } else {
        if (::geteuid() == 0) {
            QSKIP("root writes to read-only files");
        }
        QVERIFY(writeFile(dir.filePath("autonoom.bst"), records(128, 1)));
        QVERIFY(QFile::setPermissions(dir.filePath("autonoom.bst"), QFile::ReadOwner));
    }
    const QString path = QDir(folder).filePath("autonoom.bst");
    QFile probe(path);
    QVERIFY(!probe.open(QIODevice::ReadWrite));
    const QString systemText = probe.errorString();

    const ReaderFile file(folder);
    QString error;
    QVERIFY(!file.write(1, Reader(), &error));
    QVERIFY2(error.contains(systemText), qPrintable(error));
    error.clear();
    QVERIFY(!file.record_save({"", "1", "naam", "0", "", "Intern", "Tijd", "1"}, kToday, &error));
    QVERIFY(!error.isEmpty());
    if (situation != "missing") {
        error.clear();
        QVERIFY(!file.remove(1, &error));
        QVERIFY(!error.isEmpty());
    }
}

void TestRecordFiles::readerRecordSave_data() {
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("keyCount");
    QTest::addColumn<QString>("relayTime");
    QTest::addColumn<QString>("flag");
    QTest::addColumn<QString>("code");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<int>("written");  // record number written, 0 for none
    QTest::addColumn<int>("expKeyCount");
    QTest::addColumn<int>("expRelay");
    QTest::addColumn<char>("expFlag");

    QTest::newRow("plain") << "2"
                           << "5"
                           << "7"
                           << "X"
                           << "ABC123" << true << 2 << 5 << 7 << 'X';
    QTest::newRow("empty key count is 0") << "1"
                                          << ""
                                          << "10"
                                          << "X"
                                          << "ABC123" << true << 1 << 0 << 10 << 'X';
    QTest::newRow("relay time rounded") << "1"
                                        << "3"
                                        << "2.5"
                                        << ""
                                        << "ABC123" << true << 1 << 3 << 3 << ' ';
    QTest::newRow("relay time with text after") << "1"
                                                << "3"
                                                << "15 sec"
                                                << ""
                                                << "1" << true << 1 << 3 << 15 << ' ';
    QTest::newRow("relay time empty") << "1"
                                      << "3"
                                      << ""
                                      << ""
                                      << "1" << true << 1 << 3 << 0 << ' ';
    QTest::newRow("relay time 32767") << "1"
                                      << "3"
                                      << "32767"
                                      << ""
                                      << "1" << true << 1 << 3 << 32767 << ' ';
    QTest::newRow("relay time -32768") << "1"
                                       << "3"
                                       << "-32768"
                                       << ""
                                       << "1" << true << 1 << 3 << -32768 << ' ';
    QTest::newRow("relay time 32768 refused") << "1"
                                              << "3"
                                              << "32768"
                                              << ""
                                              << "1" << false << 0 << 0 << 0 << ' ';
    QTest::newRow("relay time -32769 refused") << "1"
                                               << "3"
                                               << "-32769"
                                               << ""
                                               << "1" << false << 0 << 0 << 0 << ' ';
    QTest::newRow("key count text refused") << "1"
                                            << "veel"
                                            << "1"
                                            << ""
                                            << "1" << false << 0 << 0 << 0 << ' ';
    QTest::newRow("key count 40000 refused") << "1"
                                             << "40000"
                                             << "1"
                                             << ""
                                             << "1" << false << 0 << 0 << 0 << ' ';
    QTest::newRow("other flag written blank") << "1"
                                              << "1"
                                              << "1"
                                              << "Y"
                                              << "1" << true << 1 << 1 << 1 << ' ';
    QTest::newRow("code cut to 6") << "1"
                                   << "1"
                                   << "1"
                                   << ""
                                   << "ABCDEF12" << true << 1 << 1 << 1 << ' ';
    QTest::newRow("number 0") << "0"
                              << "1"
                              << "1"
                              << ""
                              << "1" << true << 0 << 0 << 0 << ' ';
    QTest::newRow("number empty") << ""
                                  << "1"
                                  << "1"
                                  << ""
                                  << "1" << true << 0 << 0 << 0 << ' ';
    QTest::newRow("number not numeric") << "abc"
                                        << "1"
                                        << "1"
                                        << ""
                                        << "1" << true << 0 << 0 << 0 << ' ';
    QTest::newRow("count + 1 appends") << "3"
                                       << "1"
                                       << "1"
                                       << "X"
                                       << "1" << true << 3 << 1 << 1 << 'X';
    QTest::newRow("count + 2 refused") << "4"
                                       << "1"
                                       << "1"
                                       << "X"
                                       << "1" << false << 0 << 0 << 0 << ' ';
}

void TestRecordFiles::readerRecordSave() {
    QFETCH(QString, number);
    QFETCH(QString, keyCount);
    QFETCH(QString, relayTime);
    QFETCH(QString, flag);
    QFETCH(QString, code);
    QFETCH(bool, ok);
    QFETCH(int, written);
    QFETCH(int, expKeyCount);
    QFETCH(int, expRelay);
    QFETCH(char, expFlag);

    QTemporaryDir dir;
    const QString path = dir.filePath("autonoom.bst");
    const QByteArray before = records(128, 2);
    QVERIFY(writeFile(path, before));

    QString error;
    const ReaderRow row{flag, number, QString::fromUtf8("Poort é"), keyCount, code, "Extern Invers", "Houd", relayTime};
    QCOMPARE(ReaderFile(dir.path()).record_save(row, kToday, &error), ok);
    QCOMPARE(error.isEmpty(), ok);

    QByteArray expected = before;
    if (written > 0) {
        QByteArray rec = written <= 2 ? record(128, written) : Reader().bytes();
        rec.replace(0, 6, (code.toLatin1() + "      ").left(6));
        rec[10] = 14;  // 2 + 4 Houd + 8 Extern, inverted
        rec[12] = char(expRelay & 0xFF);
        rec[13] = char((expRelay >> 8) & 0xFF);
        rec.replace(14, 8, kTodayText);
        rec.replace(34, 20, QByteArray("Poort \xE9") + QByteArray(13, ' '));
        rec[58] = char(expKeyCount & 0xFF);
        rec[59] = char((expKeyCount >> 8) & 0xFF);
        rec[60] = expFlag;
        if (written <= 2) {
            expected.replace((written - 1) * 128, 128, rec);
        } else {
            expected.append(rec);
        }
    }
    QCOMPARE(readFile(path), expected);
}

void TestRecordFiles::deleteOutOfRangeRefused() {
    QTemporaryDir dir;
    const QString path = dir.filePath("asleutel.bst");
    QVERIFY(writeFile(path, records(512, 2)));
    for (int n : {0, 3}) {
        QString error;
        QVERIFY(!KeyHolderFile(dir.path()).remove(n, &error));
        QVERIFY(!error.isEmpty());
    }
    QCOMPARE(readFile(path), records(512, 2));
    QVERIFY(!QFile::exists(dir.filePath("tmp.bst")));
}

void TestRecordFiles::recordUpdate_data() {
    QTest::addColumn<int>("reader");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("selector");
    QTest::addColumn<bool>("alreadyThere");
    QTest::addColumn<int>("readOffset");   // map BitFind works on
    QTest::addColumn<int>("writeOffset");  // map that receives the result

    QTest::newRow("grant toegang") << 9 << 1 << 0 << false << 291 << 291;
    QTest::newRow("grant toegang already set") << 9 << 1 << 0 << true << 291 << 291;
    QTest::newRow("withdraw wijziging") << 0 << 2 << 1 << true << 307 << 307;
    QTest::newRow("withdraw wijziging already clear") << 0 << 2 << 1 << false << 307 << 307;
    QTest::newRow("selector 2 reads toegang writes wijziging") << 2 << 1 << 2 << false << 291 << 307;
}

void TestRecordFiles::recordUpdate() {
    QFETCH(int, reader);
    QFETCH(int, mode);
    QFETCH(int, selector);
    QFETCH(bool, alreadyThere);
    QFETCH(int, readOffset);
    QFETCH(int, writeOffset);

    QTemporaryDir dir;
    const QByteArray readersBefore = records(128, 12);
    QVERIFY(writeFile(dir.filePath("autonoom.bst"), readersBefore));
    QByteArray holder = record(512, 50);
    const int byteIndex = reader / 8;
    const char mask = char(1 << (reader % 8));
    char& b = holder[readOffset + byteIndex];
    const bool setWanted = mode == 1;
    b = (setWanted == alreadyThere) ? char(b | mask) : char(b & ~mask);
    const QByteArray holdersBefore = record(512, 49) + holder + record(512, 51);
    QVERIFY(writeFile(dir.filePath("asleutel.bst"), holdersBefore));

    KeyHolderFile file(dir.path());
    QString error;
    QVERIFY2(file.record_update(reader, 2, mode, selector, kToday, &error), qPrintable(error));

    QByteArray map = holder.mid(readOffset, 16);
    map[byteIndex] = setWanted ? char(map[byteIndex] | mask) : char(map[byteIndex] & ~mask);
    QByteArray expectedHolder = holder;
    expectedHolder.replace(writeOffset, 16, map);
    QCOMPARE(readFile(dir.filePath("asleutel.bst")), record(512, 49) + expectedHolder + record(512, 51));

    QByteArray expectedReaders = readersBefore;
    expectedReaders[reader * 128 + 60] = 'X';
    expectedReaders.replace(reader * 128 + 14, 8, kTodayText);
    QCOMPARE(readFile(dir.filePath("autonoom.bst")), expectedReaders);
}

void TestRecordFiles::recordUpdateRefused_data() {
    QTest::addColumn<int>("reader");
    QTest::addColumn<int>("record");
    QTest::newRow("reader 128") << 128 << 1;
    QTest::newRow("reader -1") << -1 << 1;
    QTest::newRow("reader beyond reader file") << 3 << 1;
    QTest::newRow("key holder 0") << 0 << 0;
    QTest::newRow("key holder beyond file") << 0 << 3;
}

void TestRecordFiles::recordUpdateRefused() {
    QFETCH(int, reader);
    QFETCH(int, record);
    QTemporaryDir dir;
    QVERIFY(writeFile(dir.filePath("autonoom.bst"), records(128, 3)));
    QVERIFY(writeFile(dir.filePath("asleutel.bst"), records(512, 2)));
    QString error;
    QVERIFY(!KeyHolderFile(dir.path()).record_update(reader, record, 1, 0, kToday, &error));
    QVERIFY(!error.isEmpty());
    QCOMPARE(readFile(dir.filePath("autonoom.bst")), records(128, 3));
    QCOMPARE(readFile(dir.filePath("asleutel.bst")), records(512, 2));
}

void TestRecordFiles::keyHolderSavesKeepOtherBytes() {
    QTemporaryDir dir;
    const QString path = dir.filePath("asleutel.bst");
    QVERIFY(writeFile(path, records(512, 2)));
    KeyHolderFile file(dir.path());
    QString error;

    QVERIFY2(file.record_save(2, "Jansen", "Dorpsstraat 1", "Zwolle", "sleutel kwijt?", &error), qPrintable(error));
    QByteArray second = record(512, 2);
    second.replace(14, 30, "Jansen" + QByteArray(24, ' '));
    second.replace(44, 30, "Dorpsstraat 1" + QByteArray(17, ' '));
    second.replace(81, 21, "Zwolle" + QByteArray(15, ' '));
    second.replace(175, 58, "sleutel kwijt?" + QByteArray(44, ' '));
    QCOMPARE(readFile(path), record(512, 1) + second);

    for (bool geldig : {true, false}) {
        const KeyHolderDetails details{"Piet", "Laan 2", "Ede", "0318-123456", "06-12345678", "0A1B2C3D4E", geldig};
        QVERIFY2(file.saveDetails(1, details, &error), qPrintable(error));
        QByteArray first = record(512, 1);
        first[0] = geldig ? '1' : '0';
        first.replace(14, 30, "Piet" + QByteArray(26, ' '));
        first.replace(44, 30, "Laan 2" + QByteArray(24, ' '));
        first.replace(81, 21, "Ede" + QByteArray(18, ' '));
        first.replace(102, 15, "0318-123456    ");
        first.replace(132, 15, "06-12345678    ");
        first.replace(157, 10, "0A1B2C3D4E");
        QCOMPARE(readFile(path), first + second);
    }
}

void TestRecordFiles::newKeyHolderCopiesCurrent() {
    QTemporaryDir dir;
    const QString path = dir.filePath("asleutel.bst");
    QVERIFY(writeFile(path, records(512, 3)));
    KeyHolderFile file(dir.path());
    QString error;
    QVERIFY(file.record_load(2, &error));
    QCOMPARE(file.newRecord(&error), 4);

    QByteArray expected = record(512, 2);
    expected[0] = '1';
    expected.replace(14, 30, QByteArray(30, ' '));
    expected.replace(157, 10, QByteArray(10, ' '));
    QCOMPARE(readFile(path), records(512, 3) + expected);
}

void TestRecordFiles::findByKeyCode() {
    QTemporaryDir dir;
    auto holder = [](int seed, const QByteArray& code) {
        QByteArray r = record(512, seed);
        r.replace(157, 10, (code + QByteArray(10, ' ')).left(10));
        return r;
    };
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

void TestRecordFiles::locationFile() {
    QTemporaryDir dir;
    QString error;
    LocationFile file(dir.path());
    QVERIFY2(file.ensureFile(&error), qPrintable(error));
    QCOMPARE(readFile(file.path()), QByteArray(986, '\0'));

    // A name in other letter case is taken over, not replaced by a new file.
    QVERIFY(QFile::remove(file.path()));
    QVERIFY(writeFile(dir.filePath("LOCATIE.BST"), records(986, 2)));
    QVERIFY2(file.ensureFile(&error), qPrintable(error));
    QCOMPARE(readFile(file.path()), records(986, 2));
    QVERIFY(!QFile::exists(dir.filePath("LOCATIE.BST")));

    // The buffer holds the last record read; its reserved bytes go into the saved row.
    QList<Location> all;
    QVERIFY(file.readAll(&all, &error));
    QCOMPARE(all.size(), 2);
    const QStringList texts{"Kantoor", "Markt 1", "Ede", "0318", "Mevr. Smit", "06", "fax", "www.nl", "kantoor"};
    QVERIFY2(file.saveRow(3, texts, &error), qPrintable(error));
    QByteArray third = record(986, 2);
    third.replace(12, 30, "Kantoor" + QByteArray(23, ' '));
    third.replace(42, 30, "Mevr. Smit" + QByteArray(20, ' '));
    third.replace(72, 30, "Markt 1" + QByteArray(23, ' '));
    third.replace(102, 30, "Ede" + QByteArray(27, ' '));
    third.replace(132, 15, "0318" + QByteArray(11, ' '));
    third.replace(147, 15, "fax" + QByteArray(12, ' '));
    third.replace(162, 15, "06" + QByteArray(13, ' '));
    third.replace(177, 50, "www.nl" + QByteArray(44, ' '));
    third.replace(227, 12, "kantoor     ");
    QCOMPARE(readFile(file.path()), records(986, 2) + third);

    for (const QString& map : {QStringLiteral("../boven"), QStringLiteral("a/b"), QStringLiteral("..")}) {
        QStringList bad = texts;
        bad[8] = map;
        error.clear();
        QVERIFY(!file.saveRow(1, bad, &error));
        QVERIFY(!error.isEmpty());
    }
    QCOMPARE(readFile(file.path()), records(986, 2) + third);
}

void TestRecordFiles::folderNameCheck_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("empty") << "" << true;
    QTest::newRow("blanks") << "   " << true;
    QTest::newRow("plain") << "kantoor" << true;
    QTest::newRow("with space and accent") << QString::fromUtf8("De Ruïne 2") << true;
    QTest::newRow("dots inside") << "a.b" << true;
    QTest::newRow("dot") << "." << false;
    QTest::newRow("dot dot") << ".." << false;
    QTest::newRow("dot dot padded") << " .. " << false;
    QTest::newRow("slash") << "a/b" << false;
    QTest::newRow("backslash") << "a\\b" << false;
    QTest::newRow("parent path") << "../x" << false;
    QTest::newRow("colon") << "c:" << false;
    QTest::newRow("star") << "a*" << false;
    QTest::newRow("question") << "a?" << false;
    QTest::newRow("quote") << "a\"b" << false;
    QTest::newRow("angle") << "<a>" << false;
    QTest::newRow("pipe") << "a|b" << false;
    QTest::newRow("tab") << "a\tb" << false;
    QTest::newRow("device") << "con" << false;
    QTest::newRow("device with extension") << "COM1.txt" << false;
    QTest::newRow("trailing dot") << "kantoor." << false;
}

void TestRecordFiles::folderNameCheck() {
    QFETCH(QString, name);
    QFETCH(bool, allowed);
    QString error;
    QCOMPARE(checkFolderName(name, &error), allowed);
    QCOMPARE(error.isEmpty(), allowed);
}

QTEST_GUILESS_MAIN(TestRecordFiles)
#include "tst_recordfiles.moc"
