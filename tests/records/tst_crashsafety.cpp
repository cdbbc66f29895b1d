// Every write, flush and rename that a delete, a creation or a record save reaches is made to fail in
// turn. Whatever fails, the record file must be the whole old file or (only on success) the whole new
// one, tmp.bst must be its previous content or the whole old file, and the error must come back.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <functional>

#include "FileOps.h"
#include "KeyHolderFile.h"
#include "LocationFile.h"
#include "ReaderFile.h"
#include "RecordFixtures.h"

using fixtures::readFile;
using fixtures::record;
using fixtures::records;
using fixtures::writeFile;

namespace {

const QByteArray kOldScratch("tmp.bst of an earlier delete");
const QByteArray kMissing("<missing>");

struct Case {
    QString fileName;
    QByteArray before;  // kMissing: the file does not exist yet
    QByteArray after;
    bool scratch;  // whether the operation leaves the old file in tmp.bst
    bool inPlace;  // a single positioned write: a failed flush may leave the whole new record
    std::function<bool(const QString& folder, FileOps* ops, QString* error)> run;
};

QByteArray without(int length, int count, int victim) {
    QByteArray b;
    for (int i = 1; i <= count; ++i) {
        if (i != victim) {
            b += record(length, i);
        }
    }
    return b;
}

Case deleteCase(int length, int count, int victim) {
    const QString name = length == Reader::kSize      ? ReaderFile::kFileName
                         : length == KeyHolder::kSize ? KeyHolderFile::kFileName
                                                      : LocationFile::kFileName;
    return {name,
            records(length, count),
            without(length, count, victim),
            true,
            false,
            [length, victim](const QString& folder, FileOps* ops, QString* error) {
                if (length == Reader::kSize) {
                    return ReaderFile(folder, ops).remove(victim, error);
                }
                if (length == KeyHolder::kSize) {
                    return KeyHolderFile(folder, ops).remove(victim, error);
                }
                return LocationFile(folder, ops).remove(victim, error);
            }};
}

}  // namespace

Q_DECLARE_METATYPE(Case)

class TestCrashSafety : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFailurePoint_data();
    void everyFailurePoint();
};

void TestCrashSafety::everyFailurePoint_data() {
    QTest::addColumn<Case>("c");
    QTest::addColumn<int>("operations");  // writes + flushes + renames of the whole operation

    QTest::newRow("delete first reader") << deleteCase(Reader::kSize, 3, 1) << 6;
    QTest::newRow("delete middle reader") << deleteCase(Reader::kSize, 3, 2) << 6;
    QTest::newRow("delete last reader") << deleteCase(Reader::kSize, 3, 3) << 6;
    QTest::newRow("delete only key holder") << deleteCase(KeyHolder::kSize, 1, 1) << 6;
    QTest::newRow("delete first key holder") << deleteCase(KeyHolder::kSize, 3, 1) << 6;
    QTest::newRow("delete middle key holder") << deleteCase(KeyHolder::kSize, 4, 2) << 6;
    QTest::newRow("delete last key holder") << deleteCase(KeyHolder::kSize, 3, 3) << 6;
    QTest::newRow("delete first location") << deleteCase(Location::kSize, 5, 1) << 6;
    QTest::newRow("delete location 3 of 5") << deleteCase(Location::kSize, 5, 3) << 6;
    QTest::newRow("delete last location") << deleteCase(Location::kSize, 5, 5) << 6;

    const QDate today(2025, 1, 31);
    QTest::newRow("create autonoom.bst") << Case{ReaderFile::kFileName,
                                                 kMissing,
                                                 Reader::defaultRecord(today).bytes(),
                                                 false,
                                                 false,
                                                 [today](const QString& folder, FileOps* ops, QString* error) {
                                                     return ReaderFile(folder, ops).createDefault(today, error);
                                                 }}
                                         << 3;
    QTest::newRow("create asleutel.bst") << Case{KeyHolderFile::kFileName,
                                                 kMissing,
                                                 QByteArray(512, '\0'),
                                                 false,
                                                 false,
                                                 [](const QString& folder, FileOps* ops, QString* error) {
                                                     return KeyHolderFile(folder, ops).create(error);
                                                 }}
                                         << 3;
    QTest::newRow("create locatie.bst") << Case{LocationFile::kFileName,
                                                kMissing,
                                                QByteArray(986, '\0'),
                                                false,
                                                false,
                                                [](const QString& folder, FileOps* ops, QString* error) {
                                                    return LocationFile(folder, ops).ensureFile(error);
                                                }}
                                        << 3;

    QByteArray saved = record(128, 2);
    saved.replace(34, 20, "Achterdeur          ");
    saved.replace(14, 8, "31-01-25");
    saved[10] = 18;
    saved.replace(0, 6, "00AB12");
    saved[12] = 5;
    saved[13] = 0;
    saved[58] = 1;
    saved[59] = 0;
    saved[60] = 'X';
    QTest::newRow("save reader row") << Case{ReaderFile::kFileName,
                                             records(128, 3),
                                             record(128, 1) + saved + record(128, 3),
                                             false,
                                             true,
                                             [today](const QString& folder, FileOps* ops, QString* error) {
                                                 const ReaderRow row{"X",      "2",      "Achterdeur", "1",
                                                                     "00AB12", "Intern", "Tijd",       "5"};
                                                 return ReaderFile(folder, ops).record_save(row, today, error);
                                             }}
                                     << 2;
}

void TestCrashSafety::everyFailurePoint() {
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
            QCOMPARE(scratch, c.scratch ? c.before : kOldScratch);
            QVERIFY(leftOver.isEmpty());
            QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({c.fileName, "tmp.bst"}));
            break;
        }
        const QByteArray at = QByteArray::number(failAt);
        QVERIFY2(!ok, at);
        QVERIFY2(error.contains(FaultyFileOps::faultText()), qPrintable(error));
        QVERIFY2(file == c.before || (c.inPlace && file == c.after), at);
        QVERIFY2(scratch == kOldScratch || (c.scratch && scratch == c.before), at);
        QVERIFY2(leftOver.isEmpty(), qPrintable(leftOver.join(' ')));
    }
}

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crashsafety.moc"
