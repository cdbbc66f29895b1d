// A second program on the same data folder, for the tests that need two real processes: it deletes,
// counts or churns records when told to, and says on stdout what landed.
#include <fcntl.h>
#include <unistd.h>
#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QThread>
#include <cstdio>

#include "records/Reader.h"
#include "records/RecordFile.h"
#include "support/RecordFixtures.h"

namespace {

// Enough for every other program of a test to have had its turn.
constexpr int kAttempts = 1000;
constexpr int kMostPauseUs = 3000;

void say(const QString& line) {
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

// A program's next change comes a moment later, as a user's next action would, and not before the
// others waiting for the lock have had a chance at it.
void nextAction() {
    QThread::usleep(QRandomGenerator::global()->bounded(kMostPauseUs));
}

// The processes of one test start together: each says it is ready, then waits for its byte from the
// gate, a FIFO into which the test writes one byte for each once all are ready.
void waitForGo(const QString& gate) {
    say(QStringLiteral("ready"));
    const int fd = ::open(QFile::encodeName(gate).constData(), O_RDONLY);
    char go = 0;
    (void)!::read(fd, &go, 1);
    ::close(fd);
}

// As a window does it: the reader as it was read goes with the delete; when another program changed
// the list meanwhile, the list is read again and the delete tried anew.
int deleteReaders(const QString& gate, const QString& folder, const QStringList& seeds) {
    const RecordFile file(QDir(folder).filePath(QStringLiteral("autonoom.bst")), 128);
    waitForGo(gate);
    for (const QString& seed : seeds) {
        Reader wanted;
        wanted.setBytes(fixtures::record(128, seed.toInt()));
        Status removed = Status::failure(QStringLiteral("niet gevonden"));
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            const Result<QByteArrayList> all = file.readAll();
            const int n = int(all.value.indexOf(wanted.bytes())) + 1;
            removed = n > 0 ? file.remove(n, wanted) : Status::failure(QStringLiteral("niet gevonden"));
            if (!removed.conflict) {
                break;
            }
        }
        say(removed ? QStringLiteral("deleted %1").arg(seed)
                    : QStringLiteral("refused %1: %2").arg(seed, removed.error));
        nextAction();
    }
    return 0;
}

// Adds one to the 16-bit number at offset 12 of reader 1, times times, each in one update.
int count(const QString& gate, const QString& folder, int times) {
    const RecordFile file(QDir(folder).filePath(QStringLiteral("autonoom.bst")), 128);
    waitForGo(gate);
    for (int i = 0; i < times; ++i) {
        const Status counted = file.update(1, [](QByteArray& record) {
            const int value = quint8(record[12]) | quint8(record[13]) << 8;
            record.replace(12, 2, fixtures::le16(value + 1));
            return Status();
        });
        say(counted ? QStringLiteral("counted") : QStringLiteral("refused: %1").arg(counted.error));
        nextAction();
    }
    return 0;
}

struct Churned {
    const char* name;
    int length;
    int fewest;
    int most;
};

// Seeds are taken mod 256, as the fixture's records are: a new one always differs from the old, so
// a record half old and half new can never pass for a whole one.
int churn(const QString& folder, quint32 seed) {
    QRandomGenerator random(seed);
    const Churned files[] = {{"autonoom.bst", 128, 4, 24}, {"asleutel.bst", 512, 2, 12}, {"locatie.bst", 986, 2, 8}};
    for (;;) {
        const Churned& c = files[random.bounded(3)];
        const RecordFile file(QDir(folder).filePath(QLatin1String(c.name)), c.length);
        const int records = file.count().value;
        const int roll = int(random.bounded(10));
        const int n = 1 + int(random.bounded(quint32(qMax(records, 1))));
        const int newSeed = int(random.bounded(256));
        say(QStringLiteral("%1 %2 %3").arg(QLatin1String(c.name)).arg(roll).arg(n));
        if (records < c.fewest || (roll < 2 && records < c.most)) {
            (void)file.write(records + 1, fixtures::record(c.length, newSeed));
        } else if (roll < 4 || records >= c.most) {
            (void)file.remove(n);
        } else {
            (void)file.update(n, [&](QByteArray& record) {
                const int old = quint8(record[0]);
                record = fixtures::record(c.length, newSeed);
                if (quint8(record[0]) == old) {
                    record = fixtures::record(c.length, newSeed + 1);
                }
                return Status();
            });
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() >= 4 && args.at(1) == QLatin1String("delete")) {
        return deleteReaders(args.at(2), args.at(3), args.mid(4));
    }
    if (args.size() == 5 && args.at(1) == QLatin1String("count")) {
        return count(args.at(2), args.at(3), args.at(4).toInt());
    }
    if (args.size() == 4 && args.at(1) == QLatin1String("churn")) {
        return churn(args.at(2), args.at(3).toUInt());
    }
    std::fputs("recordworker delete POORT MAP ZAAD... | count POORT MAP N | churn MAP ZAAD\n", stderr);
    return 2;
}
