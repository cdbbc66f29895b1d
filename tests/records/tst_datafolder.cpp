// The start-up file steps in a scratch program folder.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "records/DataFolder.h"
#include "records/Reader.h"
#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {
const QDate kToday(2024, 12, 1);
}

class TestDataFolder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstStart_data() {
        QTest::addColumn<QString>("subdir");
        QTest::newRow("no location") << "";
        QTest::newRow("location, blanks trimmed") << " kantoor ";
    }

    void firstStart() {
        QFETCH(QString, subdir);
        QTemporaryDir program;
        QString error;
        QVERIFY2(prepareDataFolder(program.path(), subdir, kToday, &error), qPrintable(error));

        const QDir data(program.filePath("bestanden/" + subdir.trimmed()));
        QCOMPARE(data.entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
        const QByteArray reader = readFile(data.filePath("autonoom.bst"));
        QCOMPARE(reader.size(), 128);
        QCOMPARE(reader, Reader::defaultRecord(kToday).bytes());
        QCOMPARE(readFile(data.filePath("asleutel.bst")), QByteArray(512, '\0'));

        // A second start finds everything in place and changes nothing.
        QVERIFY2(prepareDataFolder(program.path(), subdir, kToday.addDays(1), &error), qPrintable(error));
        QCOMPARE(readFile(data.filePath("autonoom.bst")), reader);
    }

    void otherLetterCase() {
        // Copied from a disk that ignores letter case: folders and files are renamed, never recreated.
        QTemporaryDir program;
        QVERIFY(QDir(program.path()).mkpath("BESTANDEN/Kantoor"));
        QVERIFY(writeFile(program.filePath("BESTANDEN/Kantoor/AUTONOOM.BST"), records(128, 2)));
        QVERIFY(writeFile(program.filePath("BESTANDEN/Kantoor/Asleutel.Bst"), records(512, 3)));
        QString error;
        QVERIFY2(prepareDataFolder(program.path(), "kantoor", kToday, &error), qPrintable(error));
        QCOMPARE(QDir(program.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList({"bestanden"}));
        const QString data = program.filePath("bestanden/kantoor");
        QCOMPARE(QDir(data).entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
        QCOMPARE(readFile(data + "/autonoom.bst"), records(128, 2));
        QCOMPARE(readFile(data + "/asleutel.bst"), records(512, 3));
        QVERIFY(DataFolder::bst_find(program.path(), "BESTANDEN"));
        QVERIFY(!DataFolder::bst_find(data, "autonoom.bst"));  // a file, not a folder
        QVERIFY(!DataFolder::bst_find(data, ".."));

        // Where the exact name exists, a copy in other case is another file and stays untouched.
        const QString bestanden = program.filePath("bestanden");
        QVERIFY(writeFile(bestanden + "/autonoom.bst", records(128, 1)));
        QVERIFY(writeFile(bestanden + "/AUTONOOM.BST", records(128, 4)));
        QVERIFY2(prepareDataFolder(program.path(), "", kToday, &error), qPrintable(error));
        QCOMPARE(readFile(bestanden + "/autonoom.bst"), records(128, 1));
        QCOMPARE(readFile(bestanden + "/AUTONOOM.BST"), records(128, 4));
        QCOMPARE(readFile(bestanden + "/asleutel.bst"), QByteArray(512, '\0'));
    }

    void cannotCreate_data() {
        QTest::addColumn<QStringList>("c");  // subdir, a file where a folder must come, the path the message names
        const QString tooLong(300, 'a');
        QTest::newRow("bestanden is a file") << QStringList{"", "bestanden", "bestanden"};
        QTest::newRow("sub-folder is a file") << QStringList{"kantoor", "bestanden/kantoor", "bestanden/kantoor"};
        QTest::newRow("name too long") << QStringList{tooLong, "", "bestanden/" + tooLong};
        QTest::newRow("subdir climbs out") << QStringList{"../buiten", "", ""};
        QTest::newRow("subdir is the program folder") << QStringList{"..", "", ""};
    }

    void cannotCreate() {
        QFETCH(QStringList, c);
        QTemporaryDir program;
        if (!c[1].isEmpty()) {
            QVERIFY(QDir(program.path()).mkpath(QFileInfo(program.filePath(c[1])).path()));
            QVERIFY(writeFile(program.filePath(c[1]), "geen map"));
        }
        QString error;
        QVERIFY(!prepareDataFolder(program.path(), c[0], kToday, &error));
        QVERIFY(!error.isEmpty());
        if (c[2].isEmpty()) {
            QVERIFY(QDir(program.path()).isEmpty());
        } else {
            QVERIFY2(error.contains(QDir::toNativeSeparators(program.filePath(c[2]))), qPrintable(error));
        }
        if (!c[1].isEmpty()) {
            QCOMPARE(readFile(program.filePath(c[1])), QByteArray("geen map"));
        }
    }
};

QTEST_GUILESS_MAIN(TestDataFolder)
#include "tst_datafolder.moc"
