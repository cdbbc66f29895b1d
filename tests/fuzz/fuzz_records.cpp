// The three record files read from whatever bytes a disk or a hand edit left in them, and a few changes
// made to them. Input: the kind of file, four steps (operation, record number, value), then the file's
// content. Besides crashes it looks for the promises a user relies on: a refused change leaves the file
// as it was, a change touches only its own record, a delete moves the later records down by one.
#include <QDate>
#include <QDir>

#include "fuzz/FuzzSupport.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"

namespace {

const QDate kToday(2025, 6, 1);

struct Step {
    int operation;
    int number;  // a byte; each case brings it into range
    int value;
};

// Whole records of content, a partial tail left out.
QByteArrayList recordsOf(const QByteArray& content, int length) {
    QByteArrayList records;
    for (qsizetype at = 0; at + length <= content.size(); at += length) {
        records.append(content.mid(at, length));
    }
    return records;
}

// What a step did to the file, measured against the records it held before.
void checkOutcome(const char* what, const Status& status, const QByteArray& before, const QByteArray& after, int length,
                  int n, bool removal) {
    if (!status) {
        fuzz::expect(after == before, "a refused change altered the file:", QLatin1String(what));
        return;
    }
    QByteArrayList expected = recordsOf(before, length);
    const QByteArrayList now = recordsOf(after, length);
    if (removal) {
        fuzz::expect(n >= 1 && n <= expected.size(), "a delete outside the file succeeded:", QLatin1String(what));
        expected.removeAt(n - 1);
        fuzz::expect(now == expected && after.size() == qsizetype(now.size()) * length,
                     "a delete did not move the later records down by one:", QLatin1String(what));
        return;
    }
    fuzz::expect(n >= 1 && n <= expected.size() + 1, "a change outside the file succeeded:", QLatin1String(what));
    fuzz::expect(now.size() == qMax<qsizetype>(expected.size(), n),
                 "a change altered the number of records:", QLatin1String(what));
    for (int i = 0; i < expected.size(); ++i) {
        if (i != n - 1) {
            fuzz::expect(now.at(i) == expected.at(i), "a change touched another record:", QLatin1String(what));
        }
    }
}

// The record at n as a window would have loaded it; none() past the end.
template <typename Record>
LoadedRecord loadedAt(const QList<Record>& records, int n) {
    return n >= 1 && n <= records.size() ? LoadedRecord(records.at(n - 1)) : LoadedRecord::none();
}

void readers(const QList<Step>& steps, const QString& folder, const QByteArray& content) {
    const QString path = QDir(folder).filePath(QLatin1String(ReaderFile::kFileName));
    fuzz::writeFile(path, content);
    const ReaderFile file(folder, fuzz::quickOps());
    for (const Step& step : steps) {
        const Result<QList<Reader>> all = file.readAll();
        fuzz::expect(all.ok(), "a plain reader file could not be read:", all.error);
        const Result<int> count = file.count();
        fuzz::expect(count.ok() && count.value == all.value.size(), "count and readAll disagree");
        for (const Reader& reader : all.value) {
            // Every field of every record, as the reader list shows them.
            (void)reader.lezerkode().size();
            (void)reader.datum().size();
            (void)reader.lezerNaam().size();
            (void)reader.changedFlag().size();
            (void)(reader.relayTime() + reader.aantalsleutels() + reader.mode());
        }
        const int n = step.number % (count.value + 3);
        const Result<Reader> one = file.read(n);
        fuzz::expect(n < 1 || (one.ok() && one.value == (n <= count.value ? all.value.at(n - 1) : Reader())),
                     "read and readAll disagree");

        const QByteArray before = fuzz::readFile(path);
        Status status;
        bool removal = false;
        switch (step.operation % 6) {
            case 0:
                status = file.update(
                    n, [&](Reader& r) { r.setLezerNaam(QStringLiteral("Deur %1").arg(step.value)); },
                    loadedAt(all.value, n));
                break;
            case 1:
                status = file.markChanged(n, kToday.addDays(step.value), loadedAt(all.value, n));
                break;
            case 2:
                status = file.clearChanged(n);
                break;
            case 3:
                status = file.remove(n, loadedAt(all.value, n));
                removal = true;
                break;
            case 4:
                status = file.write(n, Reader::defaultRecord(kToday));
                break;
            default: {
                // What another program's window loaded before this one changed the record.
                Reader stale = Reader::defaultRecord(kToday);
                stale.setLezerNaam(QStringLiteral("verouderd %1").arg(step.value));
                status = file.update(
                    n, [](Reader& r) { r.setMode(Reader::kModeAlways); }, stale);
                fuzz::expect(!status || (n <= count.value && all.value.at(n - 1) == stale),
                             "a change over a record that differs from the one loaded was written");
                break;
            }
        }
        checkOutcome("reader", status, before, fuzz::readFile(path), Reader::kSize, n, removal);
    }
}

void keyHolders(const QList<Step>& steps, int readerCount, const QString& folder, const QByteArray& content) {
    const QString path = QDir(folder).filePath(QLatin1String(KeyHolderFile::kFileName));
    fuzz::writeFile(path, content);
    QByteArray readerRecords;
    for (int i = 0; i < readerCount; ++i) {
        readerRecords += Reader::defaultRecord(kToday).bytes();
    }
    fuzz::writeFile(QDir(folder).filePath(QLatin1String(ReaderFile::kFileName)), readerRecords);

    KeyHolderFile file(folder, fuzz::quickOps());
    for (const Step& step : steps) {
        const Result<QList<KeyHolder>> all = file.readAll();
        fuzz::expect(all.ok(), "a plain key-holder file could not be read:", all.error);
        for (const KeyHolder& holder : all.value) {
            (void)(holder.geldig() + holder.naam() + holder.adres() + holder.woonplaats() + holder.telefoon() +
                   holder.mobiel() + holder.sleutelcode() + holder.vrijetekst());
        }
        const int count = int(all.value.size());
        const int n = step.number % (count + 3);

        const QByteArray before = fuzz::readFile(path);
        Status status;
        bool removal = false;
        bool changesReaders = false;
        int changed = n;
        switch (step.operation % 5) {
            case 0: {
                const int reader = step.value % (KeyHolder::kMaxReaders + 3) - 1;
                status =
                    file.record_update(reader, n, step.value % 4, step.value / 4 % 3, kToday, loadedAt(all.value, n));
                changesReaders = true;
                break;
            }
            case 1:
                status = file.update(
                    n, [&](KeyHolder& k) { k.setNaam(QString::number(step.value)); }, loadedAt(all.value, n));
                break;
            case 2: {
                const Result<int> added = file.newRecord();
                fuzz::expect(!added || added.value == count + 1, "a new key holder got another number");
                status = added;
                changed = count + 1;
                break;
            }
            case 3:
                status = file.remove(n, loadedAt(all.value, n));
                removal = true;
                break;
            default: {
                // The key code of one of the holders finds that holder or an earlier one with the same code.
                if (n < 1 || n > count) {
                    (void)file.findByKeyCode(QString::number(step.value, 16));
                    continue;
                }
                const QString code = all.value.at(n - 1).sleutelcode();
                const Result<int> found = file.findByKeyCode(code);
                fuzz::expect(found.ok(), "findByKeyCode failed on a plain file:", found.error);
                // Blanks, NUL bytes and ten zeros are no key: they must never find a holder.
                const bool blank = KeyHolder::plainKeyCode(code).isEmpty();
                fuzz::expect(blank ? found.value == 0 : found.value >= 1 && found.value <= n,
                             "findByKeyCode missed the holder whose code it was given:", code);
                continue;
            }
        }
        const QByteArray after = fuzz::readFile(path);
        if (changesReaders && !status) {
            // A refused access change may have marked its reader already; the holders stay as they were.
            fuzz::expect(after == before, "a refused access change altered the key holders");
            continue;
        }
        checkOutcome("key holder", status, before, after, KeyHolder::kSize, changed, removal);
    }
}

void locations(const QList<Step>& steps, fuzz::Input& in, const QString& folder) {
    const QString path = QDir(folder).filePath(QLatin1String(LocationFile::kFileName));
    // The folder names the steps save: hand-typed text from the input, checked before anything is written.
    QStringList maps;
    for (int i = 0; i < steps.size(); ++i) {
        maps.append(QString::fromLatin1(in.take(size_t(in.number(0, 16)))));
    }
    fuzz::writeFile(path, in.rest());

    LocationFile file(folder, fuzz::quickOps());
    for (int s = 0; s < steps.size(); ++s) {
        const Step& step = steps.at(s);
        const Result<QList<Location>> all = file.readAll();
        fuzz::expect(all.ok(), "a plain location file could not be read:", all.error);
        for (const Location& location : all.value) {
            for (int f = 0; f < Location::kFieldCount; ++f) {
                (void)location.text(Location::Field(f)).size();
            }
        }
        const int n = step.number % (int(all.value.size()) + 3);
        const QByteArray before = fuzz::readFile(path);
        Status status;
        bool removal = false;
        if (step.operation % 2 == 0) {
            Location::Texts texts;
            texts[Location::Naam] = QStringLiteral("Locatie %1").arg(step.value);
            texts[Location::Map] = maps.at(s);
            status = file.saveRecord(n, texts, loadedAt(all.value, n));
        } else {
            status = file.remove(n, loadedAt(all.value, n));
            removal = true;
        }
        checkOutcome("location", status, before, fuzz::readFile(path), Location::kSize, n, removal);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const int kind = in.number(0, 2);
    const int readerCount = in.number(0, 3);
    QList<Step> steps;
    for (int i = in.number(1, 4); i > 0; --i) {
        const int operation = in.number(0, 255);
        const int number = in.number(0, 255);
        const int value = in.number(0, 255);
        steps.append({operation, number, value});
    }
    const QString folder = fuzz::emptyFolder();
    switch (kind) {
        case 0:
            readers(steps, folder, in.rest());
            break;
        case 1:
            keyHolders(steps, readerCount, folder, in.rest());
            break;
        default:
            locations(steps, in, folder);
            break;
    }
    return 0;
}
