// Every write, flush and rename that a delete or a creation reaches is made to fail in turn. Whatever
// fails, the record file must be the whole old file or (only on success) the whole new one, tmp.bst
// must be its previous content or the whole old file, and the error must come back.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>
#include <cstring>
#include <functional>

#include "records/AtomicWrite.h"
#include "records/FileOps.h"
#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"
#include "records/RecordFile.h"
#include "support/FaultyFileOps.h"
#include "support/RecordFixtures.h"
#include "support/VerifyStatus.h"

using namespace fixtures;

namespace {

int modeOf(const QString& path) {
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? int(st.st_mode & 07777) : -1;
}

const QByteArray kOldScratch("tmp.bst of an earlier delete");
const QByteArray kMissing("<missing>");
const QDate kToday(2025, 1, 31);

using Run = std::function<Status(const QString& folder, FileOps* ops)>;

struct Case {
    QString fileName;
    QByteArray before;  // kMissing for a creation; a delete keeps it in tmp.bst
    QByteArray after;
    Run run;
};

struct Owner {
    uid_t uid;
    gid_t gid;
};

Owner ownerOf(const QString& path) {
    struct stat st {};
    ::stat(QFile::encodeName(path).constData(), &st);
    return {st.st_uid, st.st_gid};
}

bool isLink(const QString& path) {
    return QFileInfo(path).isSymLink();
}

// Lowers one resource limit of this process for as long as it lives.
class Limit {
public:
    Limit(int resource, rlim_t soft) : m_resource(resource) {
        ::getrlimit(m_resource, &m_old);
        rlimit lowered = m_old;
        lowered.rlim_cur = soft;
        ::setrlimit(m_resource, &lowered);
    }
    ~Limit() { ::setrlimit(m_resource, &m_old); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

    // The lowest file descriptor free now: with that as the limit, no file can be opened.
    static rlim_t noMoreFiles() {
        const int fd = ::dup(0);
        ::close(fd);
        return rlim_t(fd);
    }

private:
    int m_resource;
    rlimit m_old{};
};

QString systemText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

template <class File>
Case deleteCase(int length, int count, int victim) {
    return {File::kFileName, records(length, count),
            records(length, victim - 1) + records(length, count - victim, victim + 1),
            [victim](const QString& folder, FileOps* ops) { return File(folder, ops).remove(victim); }};
}

}  // namespace

Q_DECLARE_METATYPE(Case)
Q_DECLARE_METATYPE(Run)

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
                    [](const QString& f, FileOps* o) { return ReaderFile(f, o).createDefault(kToday); }}
            << 3;
        QTest::newRow("create asleutel.bst")
            << Case{"asleutel.bst", kMissing, QByteArray(512, '\0'),
                    [](const QString& f, FileOps* o) { return KeyHolderFile(f, o).create(); }}
            << 3;
        QTest::newRow("create locatie.bst")
            << Case{"locatie.bst", kMissing, QByteArray(986, '\0'),
                    [](const QString& f, FileOps* o) { return LocationFile(f, o).ensureFile(); }}
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
            const Status status = c.run(dir.path(), &ops);
            const bool ok = status.ok();
            const QString& error = status.error;
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
            // The user is told which record file failed, not which scratch file the failure hit.
            QVERIFY2(error.contains(c.fileName) && !error.contains(QLatin1String("tmp.bst")) &&
                         !error.contains(QLatin1String(".new")),
                     qPrintable(error));
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
            for (int n = 1; n <= 2; ++n) {
                VERIFY_OK(ReaderFile(dir.path()).write(n, Reader::defaultRecord(kToday.addDays(-9))));
            }
            VERIFY_OK(KeyHolderFile(dir.path()).create());

            FaultyFileOps ops(failAt);
            const Status status = KeyHolderFile(dir.path(), &ops).record_update(1, 1, 1, 0, kToday);
            const Reader reader = ReaderFile(dir.path()).read(2).value;
            KeyHolderFile holders(dir.path());
            VERIFY_OK(holders.record_load(1));
            const bool granted = holders.current().toegang().at(0) == char(0x02);
            QVERIFY2(!granted || reader.isChanged(), qPrintable(QString::number(failAt)));
            if (!ops.fired()) {
                QVERIFY2(status.ok() && granted, qPrintable(status.error));
                break;
            }
            QVERIFY(!status.ok());
        }
    }

    // A rewrite built beside the file must not open up a file its owner had closed, nor leave its old
    // content in a tmp.bst anyone may read. A file made read-only by its owner is never rewritten, not
    // even by the superuser, whom the mode bits do not stop: refused with the system's word for it,
    // nothing changed.
    void rewriteKeepsTheMode_data() {
        QTest::addColumn<Run>("run");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QByteArray>("after");  // empty: refused
        const Run remove2 = [](const QString& f, FileOps*) { return ReaderFile(f).remove(2); };
        const Run replace = [](const QString& f, FileOps*) {
            return writeAtomically(f + "/autonoom.bst", records(128, 1));
        };
        const QByteArray removed = records(128, 1) + record(128, 3);
        QTest::newRow("delete, owner only") << remove2 << 0600 << removed;
        QTest::newRow("delete, group may read") << remove2 << 0640 << removed;
        QTest::newRow("replace, owner only") << replace << 0600 << records(128, 1);
        QTest::newRow("replace, read-only for all") << replace << 0444 << records(128, 1);
        QTest::newRow("delete, read-only for all") << remove2 << 0444 << QByteArray();
        QTest::newRow("delete, only the owner may read")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).remove(1); }) << 0400 << QByteArray();
        QTest::newRow("replacing the whole file, read-only") << Run([](const QString& f, FileOps*) {
            return RecordFile(f + "/autonoom.bst", 128).replaceWith(records(128, 1));
        }) << 0444 << QByteArray();
        QTest::newRow("record update, read-only") << Run([](const QString& f, FileOps*) {
            return ReaderFile(f).update(2, [](Reader& r) { r.setLezerNaam("Poort"); });
        }) << 0444 << QByteArray();
        QTest::newRow("append, read-only")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).write(4, Reader()); }) << 0440 << QByteArray();
    }

    void rewriteKeepsTheMode() {
        QFETCH(Run, run);
        QFETCH(int, mode);
        QFETCH(QByteArray, after);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        QVERIFY(writeFile(path, records(128, 3)));
        QVERIFY(writeFile(dir.filePath("tmp.bst"), kOldScratch));
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode_t(mode)), 0);

        const Status status = run(dir.path(), nullptr);
        QCOMPARE(modeOf(path), mode);
        if (!after.isEmpty()) {
            VERIFY_OK(status);
            QCOMPARE(readFile(path), after);
            // A delete keeps the old file in tmp.bst; a replacement leaves tmp.bst alone.
            const bool deleted = after.size() == 2 * 128;
            QCOMPARE(readFile(dir.filePath("tmp.bst")), deleted ? records(128, 3) : kOldScratch);
            QVERIFY(!deleted || modeOf(dir.filePath("tmp.bst")) == mode);
            return;
        }
        QVERIFY(!status);
        QVERIFY2(status.error.contains(systemText(EACCES)), qPrintable(status.error));
        QVERIFY2(status.error.contains(QDir::toNativeSeparators(path)), qPrintable(status.error));
        QCOMPARE(readFile(path), records(128, 3));
        QCOMPARE(readFile(dir.filePath("tmp.bst")), kOldScratch);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({"autonoom.bst", "tmp.bst"}));
    }

    // A rewrite gives the new file the owner and group of the old one, and tmp.bst too, so that the
    // old content is no more readable than it was. Only the superuser may give a file away; others
    // can show it with a group of their own.
    void rewriteKeepsOwnerAndGroup_data() {
        QTest::addColumn<bool>("remove");
        QTest::newRow("delete") << true;
        QTest::newRow("replacing the whole file") << false;
    }

    void rewriteKeepsOwnerAndGroup() {
        QFETCH(bool, remove);
        Owner other{::geteuid() == 0 ? uid_t(4321) : ::geteuid(), ::getegid()};
        if (::geteuid() == 0) {
            other.gid = 8765;
        } else {
            gid_t groups[64];
            const int n = ::getgroups(64, groups);
            for (int i = 0; i < n; ++i) {
                if (groups[i] != ::getegid()) {
                    other.gid = groups[i];
                }
            }
            if (other.gid == ::getegid()) {
                QSKIP("needs the superuser, or a second group to give the file");
            }
        }
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        QVERIFY(writeFile(path, records(128, 3)));
        QCOMPARE(::chown(QFile::encodeName(path).constData(), other.uid, other.gid), 0);
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0640), 0);

        VERIFY_OK(remove ? ReaderFile(dir.path()).remove(2) : RecordFile(path, 128).replaceWith(records(128, 1)));
        QCOMPARE(readFile(path).size(), remove ? 256 : 128);
        for (const QString& file : remove ? QStringList{path, dir.filePath("tmp.bst")} : QStringList{path}) {
            QCOMPARE(ownerOf(file).uid, other.uid);
            QCOMPARE(ownerOf(file).gid, other.gid);
            QCOMPARE(modeOf(file), 0640);
        }
    }

    // A record file that is a symbolic link stays one: the rewrite goes to the file it leads to, which
    // keeps its mode; tmp.bst lies beside the link, where the program looks for it.
    void rewriteGoesThroughSymbolicLinks_data() {
        QTest::addColumn<QStringList>("links");  // each a link to the next; the last is the real file
        QTest::addColumn<bool>("realFileThere");
        QTest::newRow("delete through a link") << QStringList{"autonoom.bst", "elders/lezers.bst"} << true;
        QTest::newRow("delete through two links")
            << QStringList{"autonoom.bst", "elders/tussen.bst", "elders/diep/lezers.bst"} << true;
        QTest::newRow("creation through a link to no file yet")
            << QStringList{"autonoom.bst", "elders/lezers.bst"} << false;
    }

    void rewriteGoesThroughSymbolicLinks() {
        QFETCH(QStringList, links);
        QFETCH(bool, realFileThere);
        QTemporaryDir dir;
        const QString data = dir.filePath("data");
        QVERIFY(QDir().mkpath(data + "/elders/diep"));
        for (int i = 0; i + 1 < links.size(); ++i) {
            // Relative, as a user makes them: the link's own folder is where it starts from.
            const QString from = QDir(data).filePath(links.at(i));
            const QString to = QFileInfo(from).dir().relativeFilePath(QDir(data).filePath(links.at(i + 1)));
            QVERIFY(QFile::link(to, from));
        }
        const QString real = QDir(data).filePath(links.constLast());
        if (realFileThere) {
            QVERIFY(writeFile(real, records(128, 3)));
            QCOMPARE(::chmod(QFile::encodeName(real).constData(), 0604), 0);
        }

        const ReaderFile file(data);
        VERIFY_OK(realFileThere ? file.remove(2) : file.createDefault(kToday));
        for (int i = 0; i + 1 < links.size(); ++i) {
            QVERIFY2(isLink(QDir(data).filePath(links.at(i))), qPrintable(links.at(i)));
        }
        QVERIFY(!isLink(real));
        QCOMPARE(readFile(real),
                 realFileThere ? record(128, 1) + record(128, 3) : Reader::defaultRecord(kToday).bytes());
        if (realFileThere) {
            QCOMPARE(modeOf(real), 0604);
            QCOMPARE(readFile(data + "/tmp.bst"), records(128, 3));
        }
        QCOMPARE(QDir(data).entryList({"*.new"}, QDir::Files) + QFileInfo(real).dir().entryList({"*.new"}),
                 QStringList());
    }

    // A failure says what the system said (not "Unknown error"), names the record file (never a
    // scratch file) and changes nothing. A file size limit cuts a write short, as a full disk does.
    void failureCarriesSystemText_data() {
        QTest::addColumn<Run>("run");
        QTest::addColumn<int>("resource");
        QTest::addColumn<int>("limit");  // -1: no file can be opened
        QTest::addColumn<int>("error");
        QTest::addColumn<QByteArray>("before");

        const QByteArray forty = records(128, 40);
        QTest::newRow("delete: tmp.bst cut short")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).remove(3); }) << int(RLIMIT_FSIZE) << 4096
            << EFBIG << forty;
        QTest::newRow("update across the limit: the record stays whole") << Run([](const QString& f, FileOps*) {
            return ReaderFile(f).update(40, [](Reader& r) { r.setLezerNaam("Poort"); });
        }) << int(RLIMIT_FSIZE) << 5056 << EFBIG << forty;
        QTest::newRow("append at the limit")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).write(41, Reader()); }) << int(RLIMIT_FSIZE)
            << 5120 << EFBIG << forty;
        QTest::newRow("creation cut short")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).createDefault(kToday); }) << int(RLIMIT_FSIZE)
            << 100 << EFBIG << kMissing;
        QTest::newRow("creation without a file handle left")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).createDefault(kToday); }) << int(RLIMIT_NOFILE)
            << -1 << EMFILE << kMissing;
        QTest::newRow("delete without a file handle left")
            << Run([](const QString& f, FileOps*) { return ReaderFile(f).remove(3); }) << int(RLIMIT_NOFILE) << -1
            << EMFILE << forty;
    }

    void failureCarriesSystemText() {
        QFETCH(Run, run);
        QFETCH(int, resource);
        QFETCH(int, limit);
        QFETCH(int, error);
        QFETCH(QByteArray, before);
        // The default action would end the program instead of failing the write.
        ::signal(SIGXFSZ, SIG_IGN);
        QTemporaryDir dir;
        const QString path = dir.filePath("autonoom.bst");
        if (before != kMissing) {
            QVERIFY(writeFile(path, before));
        }
        Status status;
        {
            Limit lowered(resource, limit < 0 ? Limit::noMoreFiles() : rlim_t(limit));
            status = run(dir.path(), nullptr);
        }
        QVERIFY(!status);
        QVERIFY2(status.error.contains(systemText(error)), qPrintable(status.error));
        QVERIFY2(status.error.contains(QDir::toNativeSeparators(path)), qPrintable(status.error));
        QVERIFY2(!status.error.contains(".new"), qPrintable(status.error));
        QCOMPARE(readFile(path), before);
        QCOMPARE(QDir(dir.path()).entryList({"*.new"}, QDir::Files), QStringList());
    }

    // A new file gets what any new file in the folder gets.
    void newFileTakesTheFolderDefault() {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath("ander"), "x"));
        VERIFY_OK(writeAtomically(dir.filePath("autonoom.hex"), "image"));
        QCOMPARE(modeOf(dir.filePath("autonoom.hex")), modeOf(dir.filePath("ander")));
    }
};

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crashsafety.moc"
