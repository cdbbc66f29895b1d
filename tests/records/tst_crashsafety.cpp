// Every write, flush and rename that a delete or a creation reaches is made to fail in turn. Whatever
// fails, the record file must be the whole old file or (only on success) the whole new one, tmp.bst
// must be its previous content or the whole old file, and the error must come back.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <functional>

#include "records/FileOps.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {

const QByteArray kOldScratch("tmp.bst of an earlier delete");
const QByteArray kMissing("<missing>");
const QDate kToday(2025, 1, 31);

using Run = std::function<bool(const QString& folder, FileOps* ops, QString* error)>;

struct Case {
    QString fileName;
    QByteArray before;  // kMissing for a creation; a delete keeps it in tmp.bst
    QByteArray after;
    Run run;
};

template <class File>
Case deleteCase(int length, int count, int victim) {
    return {File::kFileName, records(length, count),
            records(length, victim - 1) + records(length, count - victim, victim + 1),
            [victim](const QString& folder, FileOps* ops, QString* error) {
                return File(folder, ops).remove(victim, error);
            }};
}

}  // namespace

Q_DECLARE_METATYPE(Case)

class TestCrashSafety : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFailurePoint_data() {
        QTest::addColumn<Case>("c");
        QTest::addColumn<int>("operations");  // writes + flushes + renames of the whole operation

        QTest::newRow("delete first reader") << deleteCase<ReaderFile>(128, 3, 1) << 6;
        QTest::newRow("delete middle reader") << deleteCase<ReaderFile>(128, 3, 2) << 6;
        QTest::newRow("delete last reader") << deleteCase<ReaderFile>(128, 3, 3) << 6;
        QTest::newRow("delete only key holder") << deleteCase<KeyHolderFile>(512, 1, 1) << 6;
        QTest::newRow("delete middle key holder") << deleteCase<KeyHolderFile>(512, 4, 2) << 6;
        QTest::newRow("delete location 3 of 5") << deleteCase<LocationFile>(986, 5, 3) << 6;

        QTest::newRow("create autonoom.bst")
            << Case{"autonoom.bst", kMissing, Reader::defaultRecord(kToday).bytes(),
                    [](const QString& f, FileOps* o, QString* e) { return ReaderFile(f, o).createDefault(kToday, e); }}
            << 3;
        QTest::newRow("create asleutel.bst")
            << Case{"asleutel.bst", kMissing, QByteArray(512, '\0'),
                    [](const QString& f, FileOps* o, QString* e) { return KeyHolderFile(f, o).create(e); }}
            << 3;
        QTest::newRow("create locatie.bst")
            << Case{"locatie.bst", kMissing, QByteArray(986, '\0'),
                    [](const QString& f, FileOps* o, QString* e) { return LocationFile(f, o).ensureFile(e); }}
            << 3;
    }

    void everyFailurePoint() {
        QFETCH(Case, c);
        QFETCH(int, operations);

        for (int failAt = 1;; ++failAt) {
            QTemporaryDir dir;
            const QString path = dir.filePath(c.fileName);
            if (c.before != kMissing) {
                QVERIFY(writeFile(path, c.before));
            }
            QVERIFY(writeFile(dir.filePath("tmp.bst"), kOldScratch));

            FaultyFileOps ops(failAt);
            QString error;
            const bool ok = c.run(dir.path(), &ops, &error);
            const QByteArray file = readFile(path);
            const QByteArray scratch = readFile(dir.filePath("tmp.bst"));
            const QStringList leftOver = QDir(dir.path()).entryList({"*.new"}, QDir::Files);

            if (!ops.fired()) {
                QVERIFY2(ok, qPrintable(error));
                QCOMPARE(failAt, operations + 1);
                QCOMPARE(file, c.after);
                QCOMPARE(scratch, c.before != kMissing ? c.before : kOldScratch);
                QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({c.fileName, "tmp.bst"}));
                break;
            }
            const QByteArray at = QByteArray::number(failAt);
            QVERIFY2(!ok, at);
            QVERIFY2(error.contains(FaultyFileOps::faultText()), qPrintable(error));
            QVERIFY2(file == c.before, at);
            QVERIFY2(scratch == kOldScratch || (c.before != kMissing && scratch == c.before), at);
            QVERIFY2(leftOver.isEmpty(), qPrintable(leftOver.join(' ')));
        }
    }

    // Whatever write fails, an access change never lands without its reader's mark: that reader would
    // otherwise never get a new programming key.
    void accessChangeNeverWithoutItsMark() {
        for (int failAt = 1;; ++failAt) {
            QTemporaryDir dir;
            QString error;
            for (int n = 1; n <= 2; ++n) {
                QVERIFY(ReaderFile(dir.path()).write(n, Reader::defaultRecord(kToday.addDays(-9)), &error));
            }
            QVERIFY(KeyHolderFile(dir.path()).create(&error));

            FaultyFileOps ops(failAt);
            const bool ok = KeyHolderFile(dir.path(), &ops).record_update(1, 1, 1, 0, kToday, &error);
            Reader reader;
            QVERIFY(ReaderFile(dir.path()).read(2, &reader, &error));
            KeyHolderFile holders(dir.path());
            QVERIFY(holders.record_load(1, &error));
            const bool granted = holders.current().toegang().at(0) == char(0x02);
            QVERIFY2(!granted || reader.isChanged(), qPrintable(QString::number(failAt)));
            if (!ops.fired()) {
                QVERIFY2(ok && granted, qPrintable(error));
                break;
            }
            QVERIFY(!ok);
        }
    }
};

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crashsafety.moc"
