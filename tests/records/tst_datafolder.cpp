// The start-up file steps in a scratch program folder.
#include <sys/time.h>
#include <QDir>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>

#include "records/DataFolder.h"
#include "records/Reader.h"
#include "records/ReaderFile.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

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
        VERIFY_OK(prepareDataFolder(program.path(), subdir, kToday));

        const QDir data(program.filePath("bestanden/" + subdir.trimmed()));
        QCOMPARE(data.entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
        const QByteArray reader = readFile(data.filePath("autonoom.bst"));
        QCOMPARE(reader.size(), 128);
        QCOMPARE(reader, Reader::defaultRecord(kToday).bytes());
        QCOMPARE(readFile(data.filePath("asleutel.bst")), QByteArray(512, '\0'));

        // A second start finds everything in place and changes nothing.
        VERIFY_OK(prepareDataFolder(program.path(), subdir, kToday.addDays(1)));
        QCOMPARE(readFile(data.filePath("autonoom.bst")), reader);
    }

    void otherLetterCase() {
        // Copied from a disk that ignores letter case: folders and files are renamed, never recreated.
        QTemporaryDir program;
        QVERIFY(QDir(program.path()).mkpath("BESTANDEN/Kantoor"));
        QVERIFY(writeFile(program.filePath("BESTANDEN/Kantoor/AUTONOOM.BST"), records(128, 2)));
        QVERIFY(writeFile(program.filePath("BESTANDEN/Kantoor/Asleutel.Bst"), records(512, 3)));
        VERIFY_OK(prepareDataFolder(program.path(), "kantoor", kToday));
        QCOMPARE(QDir(program.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList({"bestanden"}));
        // bestanden takes its own name; a location's folder is used as it is (see locationFolders).
        const QString data = program.filePath("bestanden/Kantoor");
        QCOMPARE(DataFolder::path(program.path(), "kantoor"), data);
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
        VERIFY_OK(prepareDataFolder(program.path(), "", kToday));
        QCOMPARE(readFile(bestanden + "/autonoom.bst"), records(128, 1));
        QCOMPARE(readFile(bestanden + "/AUTONOOM.BST"), records(128, 4));
        QCOMPARE(readFile(bestanden + "/asleutel.bst"), QByteArray(512, '\0'));
    }

    // A location folder named in other letter case than it was made is used as it is, never renamed
    // under another program working in it. A link to another folder in bestanden is followed; one that
    // leads outside bestanden, or nowhere, is refused and nothing is made at its end.
    void locationFolders_data() {
        QTest::addColumn<QString>("subdir");
        QTest::addColumn<QString>("make");  // "folder NAME", or "link NAME TARGET" with TARGET from bestanden
        QTest::addColumn<QString>("used");  // the folder the records are in, from bestanden; empty: refused
        const auto row = [](const char* name, const QString& subdir, const QString& make, const QString& used) {
            QTest::newRow(name) << subdir << make << used;
        };
        row("other letter case", "kantoor", "folder Kantoor", "Kantoor");
        row("other letter case, blanks", " KANTOOR ", "folder Kantoor", "Kantoor");
        row("exact name beside one in other case", "kantoor", "folder Kantoor,folder kantoor", "kantoor");
        row("link to a folder in bestanden", "noord", "folder echt,link noord echt", "echt");
        row("link in other letter case", "NOORD", "folder echt,link noord echt", "echt");
        row("link out of bestanden", "noord", "link noord ../elders", "");
        row("link to bestanden's parent", "noord", "link noord ..", "");
        row("link through a folder inside to outside", "noord",
            "folder echt,link echt/uit ../../elders,link noord echt/uit", "");
        row("link to nowhere", "noord", "link noord weg", "");
    }

    void locationFolders() {
        QFETCH(QString, subdir);
        QFETCH(QString, make);
        QFETCH(QString, used);
        QTemporaryDir program;
        const QDir bestanden(program.filePath("bestanden"));
        QVERIFY(QDir().mkpath(bestanden.path()));
        QVERIFY(QDir().mkpath(program.filePath("elders")));
        for (const QString& step : make.split(',')) {
            const QStringList w = step.split(' ');
            if (w[0] == "folder") {
                QVERIFY(bestanden.mkpath(w[1]));
                QVERIFY(writeFile(bestanden.filePath(w[1] + "/autonoom.bst"), records(128, 2)));
            } else {
                QVERIFY(QFile::link(w[2], bestanden.filePath(w[1])));
            }
        }
        const QStringList before = bestanden.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System);

        const Status prepared = prepareDataFolder(program.path(), subdir, kToday);
        QCOMPARE(bestanden.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System), before);
        if (used.isEmpty()) {
            QVERIFY(!prepared);
            QVERIFY2(prepared.error.contains(subdir.trimmed()), qPrintable(prepared.error));
            QCOMPARE(QDir(program.filePath("elders")).entryList(QDir::Files), QStringList());
            QVERIFY(!DataFolder::checkLocation(program.path(), subdir));
            return;
        }
        VERIFY_OK(prepared);
        VERIFY_OK(DataFolder::checkLocation(program.path(), subdir));
        const QString folder = DataFolder::path(program.path(), subdir);
        QCOMPARE(QFileInfo(folder).canonicalFilePath(), QFileInfo(bestanden.filePath(used)).canonicalFilePath());
        QCOMPARE(readFile(folder + "/autonoom.bst"), records(128, 2));
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList({"asleutel.bst", "autonoom.bst"}));
    }

    // Scratch files of a run that was killed half way are removed at the next start: only names the
    // program itself makes, in the folders it writes.
    void leftoversOfAKilledRunRemoved() {
        QTemporaryDir program;
        const QDir bestanden(program.filePath("bestanden"));
        QVERIFY(QDir().mkpath(bestanden.filePath("noord")));
        const QStringList ours{"autonoom.bst.4711-3.new", "asleutel.bst.12-0.new", "tmp.bst.99-1.new",
                               "autonoom.hex.5-12.new",   "autonoom.bst.new",      "tmp.bst.new"};
        const QStringList theirs{"notities.new",         "autonoom.bst.x-1.new",
                                 "AUTONOOM.BST.1-1.new", "autonoom.bst.1-1.new.bak",
                                 "autonoom.bst.1-1",     "lezers.bst.1-1.new"};
        for (const QString& name : ours + theirs) {
            QVERIFY(writeFile(bestanden.filePath("noord/" + name), "x"));
        }
        for (const char* name : {"locatie.bst.77-2.new", "locatie.bst.new"}) {
            QVERIFY(writeFile(bestanden.filePath(QString::fromLatin1(name)), "x"));
        }
        VERIFY_OK(prepareDataFolder(program.path(), "noord", kToday));
        QStringList kept = theirs + QStringList{"asleutel.bst", "autonoom.bst"};
        kept.sort(Qt::CaseInsensitive);
        QCOMPARE(QDir(bestanden.filePath("noord")).entryList(QDir::Files), kept);
        QCOMPARE(bestanden.entryList(QDir::Files), QStringList());
    }

    // A lock left by a program that is gone does not stop the next: it is taken over at once, or, when
    // it was never even filled in, once it is clearly old.
    void staleLockTakenOver_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("ageS");
        const QByteArray host = QSysInfo::machineHostName().toUtf8();
        QTest::newRow("of a process that has ended")
            << "999999999\nvondrel\n" + host + "\n" + QSysInfo::machineUniqueId() + "\n" + QSysInfo::bootUniqueId() +
                   "\n"
            << 0;
        QTest::newRow("empty, of a process killed while taking it") << QByteArray() << 60;
    }

    void staleLockTakenOver() {
        QFETCH(QByteArray, content);
        QFETCH(int, ageS);
        QTemporaryDir program;
        const QString folder = program.filePath("bestanden");
        QVERIFY(QDir().mkpath(folder));
        const QString lock = folder + "/vondrel.lck";
        QVERIFY(writeFile(lock, content));
        const timeval old[2] = {{time(nullptr) - ageS, 0}, {time(nullptr) - ageS, 0}};
        QCOMPARE(::utimes(QFile::encodeName(lock).constData(), old), 0);

        VERIFY_OK(prepareDataFolder(program.path(), "", kToday));
        VERIFY_OK(ReaderFile(folder).remove(1));
        QVERIFY(!QFile::exists(lock));
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
        const Status refused = prepareDataFolder(program.path(), c[0], kToday);
        const QString& error = refused.error;
        QVERIFY(!refused);
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
