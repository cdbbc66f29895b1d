// The record files on disk: partial records, refused numbers, system errors, the typed read-modify-
// writes, the key-holder and location operations and the folder-name check.
#include <sys/stat.h>
#include <QDir>
#include <QMap>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>
#include <vector>

#include "records/FolderName.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "records/RecordFile.h"
#include "support/FaultyFileOps.h"
#include "support/OpenCounter.h"
#include "support/ReadOnlyFile.h"
#include "support/RecordFixtures.h"
#include "support/Unblocking.h"
#include "support/VerifyStatus.h"

using namespace fixtures;

namespace {

const QDate kToday(2025, 6, 9);
const QByteArray kTodayText("09-06-25");
const QString kReaders = QStringLiteral("autonoom.bst");
const QString kHolders = QStringLiteral("asleutel.bst");
const QString kLocations = QStringLiteral("locatie.bst");

const Location::Texts kLocationTexts{"Kantoor", "Mevr. Smit", "Markt 1", "Ede",    "0318",
                                     "fax",     "06",         "www.nl",  "kantoor"};
const QList<Field> kLocationFields = {{12, 30, "Kantoor"}, {42, 30, "Mevr. Smit"}, {72, 30, "Markt 1"},
                                      {102, 30, "Ede"},    {132, 15, "0318"},      {147, 15, "fax"},
                                      {162, 15, "06"},     {177, 50, "www.nl"},    {227, 12, "kantoor"}};

using Run = std::function<Status(const QString& folder, FileOps* ops)>;
using Span = QPair<qint64, qint64>;
using Checked = std::function<Status(const QString& folder, const LoadedRecord& loaded)>;

// What a window holds of a record, made from its bytes.
LoadedRecord loadedOf(const QByteArray& bytes) {
    Reader reader;
    KeyHolder holder;
    Location location;
    if (reader.setBytes(bytes)) {
        return reader;
    }
    if (holder.setBytes(bytes)) {
        return holder;
    }
    location.setBytes(bytes);
    return location;
}

// Record n of file becomes record (a number one past the end appends it).
struct Change {
    QString file;
    int n;
    QByteArray record;
};

}  // namespace

Q_DECLARE_METATYPE(Run)
Q_DECLARE_METATYPE(Checked)
Q_DECLARE_METATYPE(Change)

class TestRecordFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void partialTrailingRecord_data() {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("whole");
        QTest::addColumn<int>("tail");
        QTest::newRow("reader 3 + 50") << 128 << 3 << 50;
        QTest::newRow("reader only a tail") << 128 << 0 << 127;
        QTest::newRow("key holder 1000 bytes") << 512 << 1 << 488;
        QTest::newRow("location 2 + 985") << 986 << 2 << 985;
    }

    void partialTrailingRecord() {
        QFETCH(int, length);
        QFETCH(int, whole);
        QFETCH(int, tail);
        QTemporaryDir dir;
        const QString path = dir.filePath("records.bst");
        QVERIFY(writeFile(path, records(length, whole) + QByteArray(tail, 'T')));

        RecordFile file(path, length);
        QCOMPARE(file.count().value, whole);
        const Result<QByteArrayList> all = file.readAll();
        VERIFY_OK(all);
        QCOMPARE(all.value.join(), records(length, whole));
        const Result<QByteArray> past = file.read(whole + 1);
        VERIFY_OK(past);
        QCOMPARE(past.value, QByteArray());
        VERIFY_OK(file.write(whole + 1, record(length, 99)));
        QCOMPARE(readFile(path), records(length, whole) + record(length, 99));
    }

    // A number outside the file, or a record of the wrong length, is refused and writes nothing; marking
    // or clearing a reader that is not there says which.
    void numbersOutsideFileRefused_data() {
        QTest::addColumn<Run>("run");
        QTest::addColumn<bool>("fileThere");  // with two readers
        QTest::addColumn<QString>("error");   // empty: any message
        const auto raw = [](const QString& f) { return RecordFile(f + "/autonoom.bst", 128); };
        QTest::newRow("write 2 to a missing file")
            << Run([=](const QString& f, FileOps*) { return raw(f).write(2, record(128, 1)); }) << false << "";
        for (int n : {0, -1, 4}) {
            QTest::addRow("write %d", n) << Run([=](const QString& f, FileOps*) {
                return raw(f).write(n, record(128, 7));
            }) << true << "";
        }
        QTest::newRow("write a short record")
            << Run([=](const QString& f, FileOps*) { return raw(f).write(1, record(127, 7)); }) << true << "";
        for (int n : {0, 3}) {
            QTest::addRow("remove %d", n)
                << Run([=](const QString& f, FileOps*) { return raw(f).remove(n); }) << true << "";
        }
        for (bool mark : {true, false}) {
            const auto change = [mark](int n) {
                return Run([=](const QString& f, FileOps*) {
                    return mark ? ReaderFile(f).markChanged(n, kToday) : ReaderFile(f).clearChanged(n);
                });
            };
            const char* op = mark ? "mark" : "clear";
            const QString missing = QStringLiteral("Lezer %1 bestaat niet in autonoom.bst.");
            QTest::addRow("%s reader 0", op) << change(0) << true << missing.arg(0);
            QTest::addRow("%s reader count + 1", op) << change(3) << true << missing.arg(3);
            QTest::addRow("%s reader count + 2", op) << change(4) << true << missing.arg(4);
            QTest::addRow("%s in a missing file", op) << change(1) << false << missing.arg(1);
        }
    }

    void numbersOutsideFileRefused() {
        QFETCH(Run, run);
        QFETCH(bool, fileThere);
        QFETCH(QString, error);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        QVERIFY(!fileThere || writeFile(path, records(128, 2)));
        const Status refused = run(dir.path(), nullptr);
        QVERIFY(!refused);
        QVERIFY(!refused.error.isEmpty());
        QVERIFY2(error.isEmpty() || refused.error == error, qPrintable(refused.error));
        QCOMPARE(readFile(path), fileThere ? records(128, 2) : QByteArray("<missing>"));
        QVERIFY(!QFile::exists(dir.filePath("tmp.bst")));
    }

    void unusableFileGivesSystemText_data() {
        QTest::addColumn<bool>("folderMissing");  // else a folder stands where the file should be
        QTest::newRow("folder missing") << true;
        QTest::newRow("folder in the way") << false;
    }

    void unusableFileGivesSystemText() {
        QFETCH(bool, folderMissing);
        QTemporaryDir dir;
        const QString folder = folderMissing ? dir.filePath("niet-er") : dir.path();
        QVERIFY(folderMissing || QDir(folder).mkdir("autonoom.bst"));
        QFile probe(QDir(folder).filePath("autonoom.bst"));
        QVERIFY(!probe.open(QIODevice::ReadWrite));

        const ReaderFile file(folder);
        const Status written = file.write(1, Reader());
        QVERIFY(!written);
        QVERIFY2(written.error.contains(probe.errorString()), qPrintable(written.error));
        const Status removed = file.remove(1);
        QVERIFY(!removed);
        QVERIFY(!removed.error.isEmpty());
    }

    // A FIFO, a device or a folder where a record file should be: every operation refuses it with a
    // message naming it, never waits on it and leaves it as it was.
    void notAFileRefused_data() {
        QTest::addColumn<QString>("thing");
        QTest::addColumn<Run>("run");
        const QList<QPair<const char*, Run>> operations{
            {"count", [](const QString& f, FileOps*) { return Status(ReaderFile(f).count()); }},
            {"read", [](const QString& f, FileOps*) { return Status(ReaderFile(f).read(1)); }},
            {"readAll", [](const QString& f, FileOps*) { return Status(ReaderFile(f).readAll()); }},
            {"update", [](const QString& f, FileOps*) { return ReaderFile(f).markChanged(1, kToday); }},
            {"append", [](const QString& f, FileOps*) { return ReaderFile(f).write(1, Reader()); }},
            {"delete", [](const QString& f, FileOps*) { return ReaderFile(f).remove(1); }},
            {"creation", [](const QString& f, FileOps*) { return ReaderFile(f).createDefault(kToday); }},
        };
        for (const char* thing : {"fifo", "folder", "device"}) {
            for (const auto& [name, run] : operations) {
                QTest::addRow("%s: %s", thing, name) << QString::fromLatin1(thing) << run;
            }
        }
    }

    void notAFileRefused() {
        QFETCH(QString, thing);
        QFETCH(Run, run);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        if (thing == "fifo") {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
        } else if (thing == "folder") {
            QVERIFY(QDir(dir.path()).mkdir("autonoom.bst"));
        } else {
            QVERIFY(QFile::link("/dev/null", path));
        }
        Status status;
        QVERIFY2(unblocking::returnsWithoutBlocking([&] { return run(dir.path(), nullptr); }, path, &status),
                 "blocked on the FIFO");
        QVERIFY(!status);
        QVERIFY2(status.error.contains(QDir::toNativeSeparators(path)), qPrintable(status.error));
        struct stat st {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &st), 0);
        QVERIFY(thing == "fifo" ? S_ISFIFO(st.st_mode) : thing == "folder" ? S_ISDIR(st.st_mode) : S_ISCHR(st.st_mode));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::System).size(), thing == "folder" ? 0 : 1);
    }

    void recordUpdate_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<int>("holder");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("selector");
        QTest::addColumn<bool>("alreadyThere");
        QTest::addColumn<int>("readOffset");   // map BitFind works on; 0: refused, nothing written
        QTest::addColumn<int>("writeOffset");  // map that receives the result
        QTest::addColumn<bool>("readOnly");    // asleutel.bst cannot be opened for writing
        QTest::newRow("grant toegang") << 9 << 2 << 1 << 0 << false << 291 << 291 << false;
        QTest::newRow("grant toegang already set") << 9 << 2 << 1 << 0 << true << 291 << 291 << false;
        QTest::newRow("withdraw wijziging") << 0 << 2 << 2 << 1 << true << 307 << 307 << false;
        QTest::newRow("withdraw wijziging already clear") << 0 << 2 << 2 << 1 << false << 307 << 307 << false;
        QTest::newRow("selector 2 reads toegang writes wijziging") << 2 << 2 << 1 << 2 << false << 291 << 307 << false;
        QTest::newRow("reader 128") << 128 << 2 << 1 << 0 << false << 0 << 0 << false;
        QTest::newRow("reader beyond reader file") << 12 << 2 << 1 << 0 << false << 0 << 0 << false;
        QTest::newRow("key holder 0") << 0 << 0 << 1 << 0 << false << 0 << 0 << false;
        QTest::newRow("key holder beyond file") << 0 << 4 << 1 << 0 << false << 0 << 0 << false;
        QTest::newRow("key-holder file read-only: no reader marked") << 9 << 2 << 1 << 0 << false << 0 << 0 << true;
    }

    void recordUpdate() {
        QFETCH(int, reader);
        QFETCH(int, holder);
        QFETCH(int, mode);
        QFETCH(int, selector);
        QFETCH(bool, alreadyThere);
        QFETCH(int, readOffset);
        QFETCH(int, writeOffset);
        QFETCH(bool, readOnly);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("autonoom.bst"), records(128, 12)));
        const char mask = char(1 << (reader % 8));
        const bool set = mode == 1;
        QByteArray second = record(512, 2);
        if (readOffset > 0) {
            char& b = second[readOffset + reader / 8];
            b = set == alreadyThere ? char(b | mask) : char(b & ~mask);
        }
        QVERIFY(writeFile(dir.filePath("asleutel.bst"), record(512, 1) + second + record(512, 3)));
        std::unique_ptr<ReadOnlyFile> locked;
        if (readOnly) {
            locked = std::make_unique<ReadOnlyFile>(dir.filePath("asleutel.bst"));
            if (!locked->holds()) {
                QSKIP("this file system cannot make a file read-only for this user");
            }
        }

        const Status updated = KeyHolderFile(dir.path()).record_update(reader, holder, mode, selector, kToday);
        const bool ok = updated.ok();
        QVERIFY2(!readOnly || updated.error.contains("asleutel.bst"), qPrintable(updated.error));
        QCOMPARE(ok, readOffset > 0);
        QByteArray readers = records(128, 12);
        if (ok) {
            QByteArray map = second.mid(readOffset, 16);
            map[reader / 8] = set ? char(map[reader / 8] | mask) : char(map[reader / 8] & ~mask);
            second.replace(writeOffset, 16, map);
            readers.replace(reader * 128, 128, with(record(128, reader + 1), {{14, 8, kTodayText}, {60, 1, "X"}}));
        }
        QCOMPARE(readFile(dir.filePath("asleutel.bst")), record(512, 1) + second + record(512, 3));
        QCOMPARE(readFile(dir.filePath("autonoom.bst")), readers);
    }

    // Each typed change of a record reads it and writes it back in one open, as one positioned write of
    // the whole record; every other byte of every file stays.
    void readModifyWrites_data() {
        QTest::addColumn<Run>("run");
        QTest::addColumn<QList<Span>>("writes");  // position, length, in order
        QTest::addColumn<QList<Change>>("changes");
        QTest::addColumn<int>("opens");  // of the three files together

        const QByteArray readerMarked = with(record(128, 2), {{14, 8, kTodayText}, {60, 1, "X"}});
        QByteArray holderGranted = record(512, 2);
        holderGranted[291] = char(holderGranted[291] | 0x02);

        const auto row = [](const char* name, const QList<Span>& writes, const QList<Change>& changes, int opens,
                            const Run& run) { QTest::newRow(name) << run << writes << changes << opens; };
        row("reader update", {{128, 128}}, {{kReaders, 2, with(record(128, 2), {{34, 20, "Poort"}})}}, 1,
            [](const QString& f, FileOps* o) {
                return ReaderFile(f, o).update(2, [](Reader& r) { r.setLezerNaam("Poort"); });
            });
        row("reader update at count + 1 appends a blank reader", {{384, 128}},
            {{kReaders, 4, with(Reader().bytes(), {{34, 20, "Nieuw"}})}}, 1, [](const QString& f, FileOps* o) {
                return ReaderFile(f, o).update(4, [](Reader& r) { r.setLezerNaam("Nieuw"); });
            });
        row("markChanged", {{128, 128}}, {{kReaders, 2, readerMarked}}, 1,
            [](const QString& f, FileOps* o) { return ReaderFile(f, o).markChanged(2, kToday); });
        row("clearChanged keeps the date", {{256, 128}}, {{kReaders, 3, with(record(128, 3), {{60, 1, " "}})}}, 1,
            [](const QString& f, FileOps* o) { return ReaderFile(f, o).clearChanged(3); });
        row("key holder update", {{1024, 512}}, {{kHolders, 3, with(record(512, 3), {{175, 58, "kwijt"}})}}, 1,
            [](const QString& f, FileOps* o) {
                return KeyHolderFile(f, o).update(3, [](KeyHolder& k) { k.setVrijetekst("kwijt"); });
            });
        row("record_update marks the reader, then writes the holder", {{128, 128}, {512, 512}},
            {{kReaders, 2, readerMarked}, {kHolders, 2, holderGranted}}, 4,
            [](const QString& f, FileOps* o) { return KeyHolderFile(f, o).record_update(1, 2, 1, 0, kToday); });
        // Before any read the buffer is all zero bytes, and so are the saved record's reserved fields.
        row("location save", {{986, 986}}, {{kLocations, 2, with(Location().bytes(), kLocationFields)}}, 1,
            [](const QString& f, FileOps* o) { return LocationFile(f, o).saveRecord(2, kLocationTexts); });
    }

    void readModifyWrites() {
        QFETCH(Run, run);
        QFETCH(QList<Span>, writes);
        QFETCH(QList<Change>, changes);
        QFETCH(int, opens);
        QTemporaryDir dir;
        QMap<QString, QByteArray> expected{
            {kReaders, records(128, 3)}, {kHolders, records(512, 3)}, {kLocations, records(986, 3)}};
        std::vector<std::unique_ptr<OpenCounter>> counters;
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            QVERIFY(writeFile(dir.filePath(it.key()), it.value()));
            counters.push_back(std::make_unique<OpenCounter>(dir.filePath(it.key())));
            QVERIFY(counters.back()->watching());
        }

        FaultyFileOps ops;
        VERIFY_OK(run(dir.path(), &ops));
        QCOMPARE(ops.writeSpans(), writes);
        QCOMPARE(ops.operations(), 2 * int(writes.size()));  // a write and its flush, nothing renamed
        int opened = 0;
        for (const auto& counter : counters) {
            opened += counter->take();
        }
        QCOMPARE(opened, opens);
        for (const Change& c : changes) {
            const int length = int(c.record.size());
            expected[c.file] =
                expected[c.file].left((c.n - 1) * length) + c.record + expected[c.file].mid(c.n * length);
        }
        for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
            QCOMPARE(readFile(dir.filePath(it.key())), it.value());
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 3);
    }

    // Every typed change of a record, given the record as a window loaded it, lands while the disk
    // still holds that record, and is refused as a conflict, writing nothing anywhere, once another
    // program changed it or moved it by a delete.
    void changesCheckWhatWasLoaded_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<Checked>("run");  // on record 2
        QTest::addColumn<QString>("other");
        const auto rows = [](const char* name, const QString& file, const Checked& run) {
            for (const char* other : {"nothing", "changed it", "deleted the one before"}) {
                QTest::addRow("%s, another %s", name, other) << file << run << other;
            }
        };
        using L = const LoadedRecord&;
        rows("reader update", kReaders, [](const QString& f, L l) {
            return Status(ReaderFile(f).update(
                2, [](Reader& r) { r.setLezerNaam("Poort"); }, l));
        });
        rows("reader marked", kReaders, [](const QString& f, L l) { return ReaderFile(f).markChanged(2, kToday, l); });
        rows("reader mark cleared", kReaders, [](const QString& f, L l) { return ReaderFile(f).clearChanged(2, l); });
        rows("reader deleted", kReaders, [](const QString& f, L l) { return ReaderFile(f).remove(2, l); });
        rows("key holder update", kHolders, [](const QString& f, L l) {
            return Status(KeyHolderFile(f).update(
                2, [](KeyHolder& k) { k.setNaam("Jansen"); }, l));
        });
        rows("access change", kHolders,
             [](const QString& f, L l) { return KeyHolderFile(f).record_update(2, 2, 2, 0, kToday, l); });
        rows("key holder deleted", kHolders, [](const QString& f, L l) { return KeyHolderFile(f).remove(2, l); });
        rows("location save", kLocations,
             [](const QString& f, L l) { return LocationFile(f).saveRecord(2, kLocationTexts, l); });
        rows("location deleted", kLocations, [](const QString& f, L l) { return LocationFile(f).remove(2, l); });
    }

    void changesCheckWhatWasLoaded() {
        QFETCH(QString, file);
        QFETCH(Checked, run);
        QFETCH(QString, other);
        QTemporaryDir dir;
        const QMap<QString, int> lengths{{kReaders, 128}, {kHolders, 512}, {kLocations, 986}};
        for (auto it = lengths.cbegin(); it != lengths.cend(); ++it) {
            QVERIFY(writeFile(dir.filePath(it.key()), records(it.value(), 3)));
        }
        const int length = lengths.value(file);
        const RecordFile elsewhere(dir.filePath(file), length);
        if (other == "changed it") {
            VERIFY_OK(elsewhere.write(2, record(length, 9)));
        } else if (other == "deleted the one before") {
            VERIFY_OK(elsewhere.remove(1));
        }
        QMap<QString, QByteArray> before;
        for (const QString& name : lengths.keys()) {
            before.insert(name, readFile(dir.filePath(name)));
        }

        const Status status = run(dir.path(), loadedOf(record(length, 2)));
        QCOMPARE(status.ok(), other == "nothing");
        QCOMPARE(status.conflict, other != "nothing");
        if (status.conflict) {
            QVERIFY2(status.error.contains("is intussen door een ander gewijzigd"), qPrintable(status.error));
            QVERIFY2(status.error.contains(QDir::toNativeSeparators(dir.filePath(file))), qPrintable(status.error));
            for (const QString& name : lengths.keys()) {
                QCOMPARE(readFile(dir.filePath(name)), before.value(name));
            }
        } else {
            QVERIFY(readFile(dir.filePath(file)) != before.value(file));
        }
    }

    // Read whole in one open, as many records as there are; the shared buffer ends on the last one.
    void readAllInOneOpen_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("count");
        for (int count : {0, 1, 40}) {
            QTest::addRow("readers, %d", count) << kReaders << 128 << count;
            QTest::addRow("key holders, %d", count) << kHolders << 512 << count;
            QTest::addRow("locations, %d", count) << kLocations << 986 << count;
        }
    }

    void readAllInOneOpen() {
        QFETCH(QString, file);
        QFETCH(int, length);
        QFETCH(int, count);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(file), records(length, count) + QByteArray(length - 1, 'T')));
        OpenCounter opens(dir.filePath(file));
        QVERIFY(opens.watching());

        QByteArrayList read;
        QByteArray buffer;
        const auto readAll = [&read](auto& file) {
            const auto all = file.readAll();
            VERIFY_OK(all);
            for (const auto& one : all.value) {
                read.append(one.bytes());
            }
        };
        if (file == kReaders) {
            ReaderFile readers(dir.path());
            readAll(readers);
        } else if (file == kHolders) {
            KeyHolderFile holders(dir.path());
            readAll(holders);
            buffer = holders.current().bytes();
        } else {
            LocationFile locations(dir.path());
            readAll(locations);
            buffer = locations.buffer().bytes();
        }
        QCOMPARE(opens.take(), 1);
        QCOMPARE(read.join(), records(length, count));
        if (!buffer.isEmpty()) {
            QCOMPARE(buffer, count > 0 ? record(length, count) : QByteArray(length, '\0'));
        }
    }

    void keyHolderSaves() {
        QTemporaryDir dir;
        const QString path = dir.filePath("asleutel.bst");
        QVERIFY(writeFile(path, records(512, 3)));
        KeyHolderFile file(dir.path());
        VERIFY_OK(file.update(2, [](KeyHolder& k) {
            k.setNaam("Jansen");
            k.setAdres("Dorpsstraat 1");
            k.setWoonplaats("Zwolle");
            k.setVrijetekst("sleutel kwijt?");
        }));
        const QByteArray second =
            with(record(512, 2),
                 {{14, 30, "Jansen"}, {44, 30, "Dorpsstraat 1"}, {81, 21, "Zwolle"}, {175, 58, "sleutel kwijt?"}});
        QCOMPARE(readFile(path), record(512, 1) + second + record(512, 3));
        QCOMPARE(file.current().bytes(), second);

        // Past the end reads as the blank record; a new record starts from the one read last, on purpose.
        VERIFY_OK(file.record_load(4));
        QCOMPARE(file.current().bytes(), KeyHolder::blank().bytes());
        VERIFY_OK(file.record_load(3));
        QCOMPARE(file.newRecord().value, 4);
        const QByteArray fourth = with(record(512, 3), {{0, 1, "1"}, {14, 30, ""}, {157, 10, ""}});
        QCOMPARE(readFile(path), record(512, 1) + second + record(512, 3) + fourth);
    }

    // A holder without a key (blanks, or zero bytes never written) must never be found by a blank code.
    void findByKeyCode_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("found");
        QTest::newRow("first of two equal codes") << "0011223344" << 4;
        QTest::newRow("short code") << "AB12" << 3;
        QTest::newRow("blanks around") << " AB12 " << 3;
        QTest::newRow("zero bytes after") << QString("AB12") + QString(6, QChar(0)) << 3;
        QTest::newRow("no such code") << "FFFFFFFFFF" << 0;
        QTest::newRow("empty") << "" << 0;
        QTest::newRow("blanks") << "          " << 0;
        QTest::newRow("zero bytes") << QString(10, QChar(0)) << 0;
        QTest::newRow("ten zeros, an old record's no key") << "0000000000" << 0;
    }

    void findByKeyCode() {
        QFETCH(QString, code);
        QFETCH(int, found);
        QTemporaryDir dir;
        QByteArrayList holders;
        for (const QByteArray& key : {QByteArray(10, '\0'), QByteArray(10, ' '), QByteArray("AB12      "),
                                      QByteArray("0011223344"), QByteArray("0011223344"), QByteArray("0000000000")}) {
            holders.append(record(512, int(holders.size()) + 1).replace(157, 10, key));
        }
        QVERIFY(writeFile(dir.filePath("asleutel.bst"), holders.join()));
        OpenCounter opens(dir.filePath("asleutel.bst"));
        KeyHolderFile file(dir.path());
        const Result<int> result = file.findByKeyCode(code);
        VERIFY_OK(result);
        QCOMPARE(result.value, found);
        QCOMPARE(opens.take(), 1);
        QCOMPARE(file.current().bytes(), holders.at(found > 0 ? found - 1 : holders.size() - 1));
        QCOMPARE(KeyHolderFile(dir.filePath("leeg")).findByKeyCode(code).value, 0);
    }

    void locationFile() {
        QTemporaryDir dir;
        LocationFile file(dir.path());
        // A name in other letter case is taken over, not replaced by a new file.
        QVERIFY(writeFile(dir.filePath("LOCATIE.BST"), records(986, 2)));
        VERIFY_OK(file.ensureFile());
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"locatie.bst"});
        QCOMPARE(readFile(file.path()), records(986, 2));

        // The buffer holds the last record read; its reserved bytes go into the saved record.
        const Result<QList<Location>> all = file.readAll();
        VERIFY_OK(all);
        QCOMPARE(all.value.size(), 2);
        VERIFY_OK(file.saveRecord(3, kLocationTexts));
        const QByteArray third = with(record(986, 2), kLocationFields);
        QCOMPARE(readFile(file.path()), records(986, 2) + third);

        // Refused as typed, and as it would be stored: cut to 12 it would end in a dot.
        Location::Texts texts = kLocationTexts;
        for (const char* map : {"../boven", "Zuidkantoor.x"}) {
            texts[Location::Map] = QString::fromLatin1(map);
            const Status refused = file.saveRecord(1, texts);
            QVERIFY(!refused);
            QVERIFY(!refused.error.isEmpty());
            QCOMPARE(readFile(file.path()), records(986, 2) + third);
        }
    }

    void folderNameCheck_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("empty") << "" << true;
        QTest::newRow("space and accent") << QString::fromUtf8("De Ruïne 2") << true;
        QTest::newRow("dots inside") << "a.b" << true;
        QTest::newRow("dot") << "." << false;
        QTest::newRow("dot dot padded") << " .. " << false;
        QTest::newRow("slash") << "a/b" << false;
        QTest::newRow("backslash") << "a\\b" << false;
        QTest::newRow("colon") << "c:" << false;
        QTest::newRow("tab") << "a\tb" << false;
        QTest::newRow("device, any case, with extension") << "com1.txt" << false;
        QTest::newRow("trailing dot") << "kantoor." << false;
    }

    void folderNameCheck() {
        QFETCH(QString, name);
        QFETCH(bool, allowed);
        const Status checked = checkFolderName(name);
        QCOMPARE(checked.ok(), allowed);
        QCOMPARE(checked.error.isEmpty(), allowed);
    }
};

QTEST_GUILESS_MAIN(TestRecordFiles)
#include "tst_recordfiles.moc"
