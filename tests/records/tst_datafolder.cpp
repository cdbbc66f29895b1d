// The start-up file steps in a scratch program folder.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "DataFolder.h"
#include "Reader.h"
#include "RecordFixtures.h"

using fixtures::readFile;
using fixtures::records;
using fixtures::writeFile;

namespace {
const QDate kToday(2024, 12, 1);
}

class TestDataFolder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void dataFolderPath_data();
    void dataFolderPath();
    void bstFind_data();
    void bstFind();
    void firstStart_data();
    void firstStart();
    void wrongCaseRenamedNotRecreated();
    void existingFilesLeftAlone();
    void subFolderInOtherCase();
    void fileInTheWay_data();
    void fileInTheWay();
    void badSubdirRefused_data();
    void badSubdirRefused();
};

void TestDataFolder::dataFolderPath_data() {
    QTest::addColumn<QString>("subdir");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << ""
                           << "/p/bestanden/";
    QTest::newRow("blanks") << "   "
                            << "/p/bestanden/";
    QTest::newRow("trimmed") << " kantoor "
                             << "/p/bestanden/kantoor";
}

void TestDataFolder::dataFolderPath() {
    QFETCH(QString, subdir);
    QFETCH(QString, expected);
    QCOMPARE(DataFolder::path("/p", subdir), expected);
}

void TestDataFolder::bstFind_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::newRow("same case") << "Kantoor" << true;
    QTest::newRow("other case") << "KANTOOR" << true;
    QTest::newRow("file, not folder") << "notities" << false;
    QTest::newRow("dot") << "." << false;
    QTest::newRow("dot dot") << ".." << false;
    QTest::newRow("absent") << "magazijn" << false;
}

void TestDataFolder::bstFind() {
    QFETCH(QString, name);
    QFETCH(bool, found);
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir("Kantoor"));
    QVERIFY(writeFile(dir.filePath("notities"), "x"));
    QCOMPARE(DataFolder::bst_find(dir.path(), name), found);
}

void TestDataFolder::firstStart_data() {
    QTest::addColumn<QString>("subdir");
    QTest::addColumn<QString>("folder");
    QTest::newRow("no location") << ""
                                 << "bestanden";
    QTest::newRow("location") << " kantoor "
                              << "bestanden/kantoor";
}

void TestDataFolder::firstStart() {
    QFETCH(QString, subdir);
    QFETCH(QString, folder);
    QTemporaryDir program;
    QString error;
    QVERIFY2(prepareDataFolder(program.path(), subdir, kToday, &error), qPrintable(error));

    const QDir data(program.filePath(folder));
    QCOMPARE(data.entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
    const QByteArray reader = readFile(data.filePath("autonoom.bst"));
    QCOMPARE(reader.size(), 128);
    QCOMPARE(reader.left(6), QByteArray("000000"));
    QCOMPARE(reader[10], '\0');
    QCOMPARE(reader.mid(14, 8), QByteArray("01-12-24"));
    QCOMPARE(reader.mid(34, 20), QByteArray("nieuwe lezer        "));
    QCOMPARE(reader[60], ' ');
    QCOMPARE(readFile(data.filePath("asleutel.bst")), QByteArray(512, '\0'));

    // A second start finds everything in place and changes nothing.
    QVERIFY2(prepareDataFolder(program.path(), subdir, kToday.addDays(1), &error), qPrintable(error));
    QCOMPARE(readFile(data.filePath("autonoom.bst")), reader);
}

void TestDataFolder::wrongCaseRenamedNotRecreated() {
    QTemporaryDir program;
    QVERIFY(QDir(program.path()).mkpath("bestanden/kantoor"));
    const QString data = program.filePath("bestanden/kantoor");
    QVERIFY(writeFile(data + "/AUTONOOM.BST", records(128, 2)));
    QVERIFY(writeFile(data + "/Asleutel.Bst", records(512, 3)));
    QString error;
    QVERIFY2(prepareDataFolder(program.path(), "kantoor", kToday, &error), qPrintable(error));
    QCOMPARE(QDir(data).entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
    QCOMPARE(readFile(data + "/autonoom.bst"), records(128, 2));
    QCOMPARE(readFile(data + "/asleutel.bst"), records(512, 3));
}

void TestDataFolder::existingFilesLeftAlone() {
    // Where the exact name exists, a copy in other case is another file and stays untouched.
    QTemporaryDir program;
    QVERIFY(QDir(program.path()).mkpath("bestanden"));
    const QString data = program.filePath("bestanden");
    QVERIFY(writeFile(data + "/autonoom.bst", records(128, 1)));
    QVERIFY(writeFile(data + "/AUTONOOM.BST", records(128, 4)));
    QString error;
    QVERIFY2(prepareDataFolder(program.path(), "", kToday, &error), qPrintable(error));
    QCOMPARE(readFile(data + "/autonoom.bst"), records(128, 1));
    QCOMPARE(readFile(data + "/AUTONOOM.BST"), records(128, 4));
    QCOMPARE(readFile(data + "/asleutel.bst"), QByteArray(512, '\0'));
}

void TestDataFolder::subFolderInOtherCase() {
    QTemporaryDir program;
    QVERIFY(QDir(program.path()).mkpath("BESTANDEN/Kantoor"));
    QVERIFY(writeFile(program.filePath("BESTANDEN/Kantoor/autonoom.bst"), records(128, 2)));
    QString error;
    QVERIFY2(prepareDataFolder(program.path(), "kantoor", kToday, &error), qPrintable(error));
    QCOMPARE(readFile(program.filePath("bestanden/kantoor/autonoom.bst")), records(128, 2));
    QCOMPARE(QDir(program.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList({"bestanden"}));
}

void TestDataFolder::fileInTheWay_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("subdir");
    QTest::newRow("bestanden is a file") << "bestanden"
                                         << "";
    QTest::newRow("sub-folder is a file") << "bestanden/kantoor"
                                          << "kantoor";
}

void TestDataFolder::fileInTheWay() {
    QFETCH(QString, file);
    QFETCH(QString, subdir);
    QTemporaryDir program;
    QVERIFY(QDir(program.path()).mkpath(QFileInfo(program.filePath(file)).path()));
    QVERIFY(writeFile(program.filePath(file), "geen map"));
    QString error;
    QVERIFY(!prepareDataFolder(program.path(), subdir, kToday, &error));
    QVERIFY2(error.contains(QDir::toNativeSeparators(program.filePath(file))), qPrintable(error));
    QCOMPARE(readFile(program.filePath(file)), QByteArray("geen map"));
}

void TestDataFolder::badSubdirRefused_data() {
    QTest::addColumn<QString>("subdir");
    QTest::newRow("parent") << "..";
    QTest::newRow("climbs out") << "../buiten";
    QTest::newRow("nested") << "a/b";
    QTest::newRow("backslash") << "a\\b";
    QTest::newRow("colon") << "c:";
}

void TestDataFolder::badSubdirRefused() {
    QFETCH(QString, subdir);
    QTemporaryDir program;
    QString error;
    QVERIFY(!prepareDataFolder(program.path(), subdir, kToday, &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(QDir(program.path()).isEmpty());
}

QTEST_GUILESS_MAIN(TestDataFolder)
#include "tst_datafolder.moc"
