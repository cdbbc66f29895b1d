// Two or more programs on one data folder, as real processes: deletes that happen at the same moment
// all land, one after the other, and each is reported done exactly when it landed; counts made by
// read-modify-writes in several processes add up.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <vector>

#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {

constexpr int kReaders = 41;
constexpr int kFinishMs = 120000;

QString worker() {
    return QStringLiteral(VONDREL_BIN_DIR "/recordworker");
}

int countIn(const QByteArray& file) {
    return quint8(file[12]) | quint8(file[13]) << 8;
}

}  // namespace

class TestTwoInstances : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void simultaneousChangesAllLand_data() {
        QTest::addColumn<int>("deleters");
        QTest::addColumn<int>("deletesEach");
        QTest::addColumn<int>("counters");
        QTest::addColumn<int>("countsEach");
        QTest::newRow("20 programs delete one reader each") << 20 << 1 << 0 << 0;
        QTest::newRow("4 programs delete five readers each") << 4 << 5 << 0 << 0;
        QTest::newRow("4 programs count to 100 each") << 0 << 0 << 4 << 100;
        QTest::newRow("deletes while two others count") << 10 << 2 << 2 << 60;
    }

    void simultaneousChangesAllLand() {
        QFETCH(int, deleters);
        QFETCH(int, deletesEach);
        QFETCH(int, counters);
        QFETCH(int, countsEach);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        // Reader 1 holds the count; the others, seeds 2 to 41, are there to be deleted.
        QByteArray first = record(128, 1);
        first.replace(12, 2, le16(0));
        QVERIFY(writeFile(path, first + records(128, kReaders - 1, 2)));

        // Kept open for writing here, so that no program waits at the gate for a writer.
        QTemporaryDir gateDir;
        const QString gate = gateDir.filePath("start");
        QCOMPARE(::mkfifo(QFile::encodeName(gate).constData(), 0600), 0);
        const int gateFd = ::open(QFile::encodeName(gate).constData(), O_RDWR);
        QVERIFY(gateFd >= 0);

        std::vector<std::unique_ptr<QProcess>> processes;
        QList<int> doomed;
        for (int d = 0; d < deleters; ++d) {
            QStringList args{"delete", gate, dir.path()};
            for (int i = 0; i < deletesEach; ++i) {
                // Every other reader, so that the survivors between them show any shift.
                const int seed = 2 + 2 * (d * deletesEach + i);
                doomed.append(seed);
                args.append(QString::number(seed));
            }
            processes.push_back(std::make_unique<QProcess>());
            processes.back()->start(worker(), args);
        }
        for (int c = 0; c < counters; ++c) {
            processes.push_back(std::make_unique<QProcess>());
            processes.back()->start(worker(), {"count", gate, dir.path(), QString::number(countsEach)});
        }
        for (const auto& p : processes) {
            QVERIFY2(p->waitForStarted(), qPrintable(p->errorString()));
            QVERIFY(p->canReadLine() || p->waitForReadyRead(kFinishMs));
            QCOMPARE(p->readLine(), QByteArray("ready\n"));
        }
        const QByteArray go(qsizetype(processes.size()), 'g');
        QCOMPARE(::write(gateFd, go.constData(), size_t(go.size())), ssize_t(go.size()));
        QStringList said;
        for (const auto& p : processes) {
            QVERIFY(p->waitForFinished(kFinishMs));
            QCOMPARE(p->exitCode(), 0);
            said += QString::fromUtf8(p->readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        }
        ::close(gateFd);

        QByteArray expected = first;
        for (int seed = 2; seed <= kReaders; ++seed) {
            if (!doomed.contains(seed)) {
                expected += record(128, seed);
            }
        }
        const QByteArray file = readFile(path);
        QCOMPARE(file.size(), expected.size());
        QCOMPARE(countIn(file), counters * countsEach);
        QCOMPARE(file.mid(128), expected.mid(128));
        for (int seed : doomed) {
            QVERIFY2(said.count(QString("deleted %1").arg(seed)) == 1, qPrintable(said.join('\n')));
        }
        QCOMPARE(said.count("counted"), counters * countsEach);
        QCOMPARE(said.size(), int(doomed.size()) + counters * countsEach);

        // No scratch file and no lock stay behind; tmp.bst is the file as it was before the last delete.
        const QStringList left = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(left, deleters > 0 ? QStringList({"autonoom.bst", "tmp.bst"}) : QStringList({"autonoom.bst"}));
        if (deleters > 0) {
            const QByteArray before = readFile(dir.filePath("tmp.bst"));
            QCOMPARE(before.size(), file.size() + 128);
            bool oneRecordMore = false;
            for (int r = 1; r * 128 < before.size() && !oneRecordMore; ++r) {
                oneRecordMore = (before.left(r * 128) + before.mid((r + 1) * 128)).mid(128) == file.mid(128);
            }
            QVERIFY(oneRecordMore);
        }
    }
};

QTEST_GUILESS_MAIN(TestTwoInstances)
#include "tst_twoinstances.moc"
