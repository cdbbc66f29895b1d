// A 100 MB autonoom.bst (819,200 readers): reading it for the reader list, in opens and time, against
// reading the file whole; then one record update and one delete of it, both synced to disk.

#include "records/ReaderFile.h"
#include "screens/ReaderListModel.h"
#include "support/OpenCounter.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>

namespace {

constexpr qint64 kBytes = 100LL * 1024 * 1024;

struct Measured {
    double seconds = 0;
    int opens = 0;
    bool ok = false;
};

Measured measure(const QString& path, const std::function<bool()>& work) {
    OpenCounter opens(path);
    QElapsedTimer clock;
    clock.start();
    Measured m;
    m.ok = work();
    m.seconds = clock.nsecsElapsed() / 1e9;
    m.opens = opens.take();
    return m;
}

void print(const char* what, const Measured& m, double floor) {
    std::printf("  %-34s %9.1f ms  %6.1f x floor  %d open%s%s\n", what, m.seconds * 1e3, m.seconds / floor, m.opens,
                m.opens == 1 ? "" : "s", m.ok ? "" : "  FAILED");
}

}  // namespace

int main() {
    QTemporaryDir dir;
    const QString path = dir.filePath(QLatin1String(ReaderFile::kFileName));
    {
        QByteArray readers;
        readers.reserve(kBytes);
        Reader r = Reader::defaultRecord(QDate(2025, 1, 1));
        while (readers.size() < kBytes) {
            readers += r.bytes();
        }
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(readers) != readers.size()) {
            std::printf("cannot write %s\n", qPrintable(path));
            return 1;
        }
    }
    const int count = int(kBytes / Reader::kSize);
    std::printf("autonoom.bst of %lld bytes, %d readers\n", static_cast<long long>(kBytes), count);

    const Measured floor = measure(path, [&] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) && file.readAll().size() == kBytes;
    });
    const Measured all = measure(path, [&] { return ReaderFile(dir.path()).readAll().value.size() == count; });
    ReaderListModel model;
    const Measured list =
        measure(path, [&] { return model.fg2_laden(dir.path()).ok() && model.rowCount() == count + 1; });
    const Measured update = measure(path, [&] {
        return ReaderFile(dir.path())
            .update(count / 2, [](Reader& r) { r.setLezerNaam(QStringLiteral("Poort")); })
            .ok();
    });
    const Measured remove = measure(path, [&] { return ReaderFile(dir.path()).remove(1).ok(); });

    std::printf("  %-34s %9.1f ms\n", "read the file whole (floor)", floor.seconds * 1e3);
    print("ReaderFile::readAll", all, floor.seconds);
    print("reader list filled (fg2_laden)", list, floor.seconds);
    print("one reader updated", update, floor.seconds);
    print("one reader deleted (file rewritten)", remove, floor.seconds);
    return floor.ok && all.ok && list.ok && update.ok && remove.ok ? 0 : 1;
}
