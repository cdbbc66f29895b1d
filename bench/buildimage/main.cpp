// Times making one reader's programming image over a large key-holder file, with its parts (reading
// every key holder, composing the image), each set against reading the file whole: the floor any of
// them could reach.

#include "programming/ImageBuilder.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kHolders = 10000;
constexpr int kRuns = 9;

double medianSeconds(const std::function<bool()>& work, bool* ok) {
    std::vector<double> runs;
    for (int i = 0; i < kRuns; ++i) {
        QElapsedTimer clock;
        clock.start();
        *ok = work() && *ok;
        runs.push_back(clock.nsecsElapsed() / 1e9);
    }
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

bool writeFolder(const QString& folder) {
    QByteArray holders;
    holders.reserve(qsizetype(kHolders) * KeyHolder::kSize);
    for (int i = 0; i < kHolders; ++i) {
        KeyHolder k = KeyHolder::blank();
        k.setGeldig(QStringLiteral("1"));
        k.setNaam(QStringLiteral("Houder %1").arg(i));
        k.setSleutelcode(QStringLiteral("%1000000").arg(i, 4, 16, QLatin1Char('0')).toUpper());
        k.setToegang(QByteArray(1, i % 3 ? '\x01' : '\0'));
        k.setWijziging(QByteArray(1, i % 7 ? '\0' : '\x01'));
        holders += k.bytes();
    }
    QFile file(QDir(folder).filePath(QLatin1String(KeyHolderFile::kFileName)));
    return file.open(QIODevice::WriteOnly) && file.write(holders) == holders.size() &&
           ReaderFile(folder).createDefault(QDate(2025, 1, 1)).ok();
}

}  // namespace

int main() {
    QTemporaryDir dir;
    if (!dir.isValid() || !writeFolder(dir.path())) {
        std::printf("cannot make the data folder in %s\n", qPrintable(dir.path()));
        return 1;
    }
    const QString holdersPath = dir.filePath(QLatin1String(KeyHolderFile::kFileName));
    std::printf("%d key holders (%lld bytes), 1 reader; median of %d runs\n", kHolders,
                static_cast<long long>(QFile(holdersPath).size()), kRuns);

    bool ok = true;
    const double floor = medianSeconds(
        [&] {
            QFile file(holdersPath);
            return file.open(QIODevice::ReadOnly) && file.readAll().size() == qsizetype(kHolders) * KeyHolder::kSize;
        },
        &ok);
    const double load =
        medianSeconds([&] { return KeyHolderFile(dir.path()).readAll().value.size() == kHolders; }, &ok);
    const QList<KeyHolder> holders = KeyHolderFile(dir.path()).readAll().value;
    const double compose = medianSeconds(
        [&] {
            BuiltImage built;
            QString error;
            return ImageBuilder::buildImage(Reader::defaultRecord(QDate(2025, 1, 1)), 1, holders, &built, &error);
        },
        &ok);
    int keys = 0;
    const double build = medianSeconds(
        [&] {
            const SleutelLadenResult result = Sleutel_Laden(dir.path(), 1);
            keys = result.keyCount;
            return result.ok;
        },
        &ok);

    std::printf("  %-32s %8.2f ms\n", "read the file whole (floor)", floor * 1e3);
    std::printf("  %-32s %8.2f ms  %6.1f x floor\n", "read all key holders", load * 1e3, load / floor);
    std::printf("  %-32s %8.2f ms  %6.1f x floor\n", "compose the image in memory", compose * 1e3, compose / floor);
    std::printf("  %-32s %8.2f ms  %6.1f x floor  (%d keys; both files synced to disk)%s\n",
                "build-image (Sleutel_Laden)", build * 1e3, build / floor, keys, ok ? "" : "  FAILED");
    return ok ? 0 : 1;
}
