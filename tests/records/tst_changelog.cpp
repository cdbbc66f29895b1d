#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QtTest>

#include "records/ChangeLog.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "records/ReaderRemoval.h"
#include "support/VerifyStatus.h"

namespace {

const QDateTime kWhen(QDate(2026, 11, 24), QTime(9, 5, 7), QTimeZone(3600));

Reader reader(const QString& name) {
    Reader r = Reader::defaultRecord(QDate(2024, 2, 1));
    r.setLezerNaam(name);
    return r;
}

KeyHolder holder(const QString& naam, const QByteArray& toegang, const QByteArray& wijziging) {
    KeyHolder k = KeyHolder::blank();
    k.setGeldig(QStringLiteral("1"));
    k.setNaam(naam);
    k.setSleutelcode(QStringLiteral("0A1B2C3D4E"));
    k.setToegang(toegang);
    k.setWijziging(wijziging);
    return k;
}

QByteArray map(std::initializer_list<std::pair<int, quint8>> bytes) {
    QByteArray m(KeyHolder::kMapBytes, '\0');
    for (const auto& [at, value] : bytes) {
        m[at] = static_cast<char>(value);
    }
    return m;
}

QByteArray fileBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class TestChangeLog : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void linesAreAppendedAndReadNewestFirst() {
        QTemporaryDir dir;
        const ChangeLog log(dir.path(), QStringLiteral("jan"));
        const Result<QStringList> none = log.newestFirst();
        VERIFY_OK(none);
        QVERIFY(none.value.isEmpty());
        QVERIFY(!QFile::exists(log.path()));

        VERIFY_OK(log.append(QStringLiteral("Lezer 1 \"Hal\" toegevoegd"), kWhen));
        VERIFY_OK(log.append(QStringLiteral("Naam met\nregeleinde"), kWhen.addSecs(60)));
        QCOMPARE(fileBytes(log.path()), QByteArray("2026-11-24T09:05:07+01:00 jan Lezer 1 \"Hal\" toegevoegd\n"
                                                   "2026-11-24T09:06:07+01:00 jan Naam met regeleinde\n"));
        const Result<QStringList> lines = log.newestFirst();
        VERIFY_OK(lines);
        QCOMPARE(lines.value, (QStringList{"2026-11-24T09:06:07+01:00 jan Naam met regeleinde",
                                           "2026-11-24T09:05:07+01:00 jan Lezer 1 \"Hal\" toegevoegd"}));
        QVERIFY(!ChangeLog::loginName().isEmpty());
        QVERIFY(!ChangeLog::loginName().contains(QLatin1Char(' ')));
    }

    void unwritableLogIsRefused_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("folder in its place") << "folder";
        QTest::newRow("read-only file") << "file";
        QTest::newRow("read-only folder, no log yet") << "readonly folder";
    }
    void unwritableLogIsRefused() {
        QFETCH(QString, how);
        QTemporaryDir dir;
        const ChangeLog log(dir.path(), QStringLiteral("jan"));
        QByteArray before;
        if (how == "folder") {
            QVERIFY(QDir().mkdir(log.path()));
        } else if (how == "file") {
            VERIFY_OK(log.append(QStringLiteral("eerste"), kWhen));
            before = fileBytes(log.path());
            QVERIFY(QFile::setPermissions(log.path(), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        } else {
            QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
        }
        const Status appended = log.append(QStringLiteral("tweede"), kWhen);
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QFile::setPermissions(log.path(), QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(!appended);
        QVERIFY2(appended.error.contains("logboek.txt"), qPrintable(appended.error));
        if (how == "file") {
            QCOMPARE(fileBytes(log.path()), before);
        } else if (how != "folder") {
            QVERIFY(!QFile::exists(log.path()));
        }
    }

    void changesAreToldInDutch_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("expected");
        const KeyHolder jansen = holder("Jansen", {}, {});
        KeyHolder moved = jansen;
        moved.setAdres("Dorpsstraat 1");
        moved.setSleutelcode("FFFFFFFFFF");
        moved.setVrijetekst(QString(40, QLatin1Char('x')));
        moved.setGeldig("0");
        QTest::newRow("reader added") << ChangeLog::readerAdded(4, reader("Kelder")) << "Lezer 4 \"Kelder\" toegevoegd";
        QTest::newRow("reader edited")
            << ChangeLog::readerEdited(2, "Hal  ", {{"LezerNaam", "Hal", "Entree"}, {"LED", "Intern", "Extern"}})
            << "Lezer 2 \"Hal\" gewijzigd: LezerNaam \"Hal\" → \"Entree\", LED \"Intern\" → \"Extern\"";
        QTest::newRow("reader only marked")
            << ChangeLog::readerEdited(2, "", {}) << "Lezer 2 gemarkeerd voor een nieuwe programmeersleutel";
        QTest::newRow("reader deleted, several behind")
            << ChangeLog::readerDeleted(3, reader("Magazijn"), 7, false)
            << "Lezer 3 \"Magazijn\" verwijderd; de lezers 4 tot en met 7 zijn nu 3 tot en met 6 en hebben de "
               "toegang van hun voorganger gekregen: nakijken";
        QTest::newRow("reader deleted, one behind, shifted")
            << ChangeLog::readerDeleted(3, reader("Magazijn"), 4, true)
            << "Lezer 3 \"Magazijn\" verwijderd; lezer 4 is nu lezer 3, de toegang van de sleutelhouders is "
               "meegeschoven";
        QTest::newRow("last reader deleted")
            << ChangeLog::readerDeleted(4, reader("Kelder"), 4, false)
            << "Lezer 4 \"Kelder\" verwijderd; er volgden geen lezers, er is niets verschoven";
        QTest::newRow("holder added") << ChangeLog::keyHolderAdded(12, jansen)
                                      << "Sleutelhouder 12 \"Jansen\" toegevoegd";
        QTest::newRow("holder edited, no key codes")
            << ChangeLog::keyHolderEdited(12, jansen, moved)
            << "Sleutelhouder 12 \"Jansen\" gewijzigd: Adres \"\" → \"Dorpsstraat 1\", vrije tekst gewijzigd, "
               "sleutelcode gewijzigd, Geldig \"ja\" → \"nee\"";
        QTest::newRow("holder saved unchanged") << ChangeLog::keyHolderEdited(12, jansen, jansen) << "";
        QTest::newRow("holder deleted") << ChangeLog::keyHolderDeleted(12, jansen, 40)
                                        << "Sleutelhouder 12 \"Jansen\" verwijderd; de sleutelhouders 13 tot en met "
                                           "40 zijn nu 12 tot en met 39";
        QTest::newRow("access granted") << ChangeLog::accessChanged(12, jansen, 3, "Hal", ChangeLog::Access::Granted)
                                        << "Sleutelhouder 12 \"Jansen\" × lezer 3 \"Hal\": toegang verleend (groen)";
        QTest::newRow("access withdrawn") << ChangeLog::accessChanged(12, jansen, 3, "", ChangeLog::Access::Withdrawn)
                                          << "Sleutelhouder 12 \"Jansen\" × lezer 3: toegang ingetrokken (blauw)";
        QTest::newRow("key written") << ChangeLog::keyWritten(3, "Hal", 1, "Controle OK")
                                     << "Programmeersleutel geschreven voor lezer 3 \"Hal\" met 1 sleutel: Controle OK";
        QTest::newRow("location") << ChangeLog::locationChosen("Kantoor Noord", "Noord")
                                  << "Locatie \"Kantoor Noord\" gekozen (map Noord)";
    }
    void changesAreToldInDutch() {
        QFETCH(QString, line);
        QFETCH(QString, expected);
        QCOMPARE(line, expected);
        QVERIFY(!line.contains("0A1B2C3D4E"));
        QVERIFY(!line.contains("FFFFFFFFFF"));
    }

    void mapLosesOneReader_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<int>("removed");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("first reader") << map({{0, 0x0F}}) << 0 << map({{0, 0x07}});
        QTest::newRow("bits before it stay") << map({{0, 0x0F}}) << 1 << map({{0, 0x07}});
        QTest::newRow("its own bit goes") << map({{0, 0x02}}) << 1 << map({});
        QTest::newRow("across a byte") << map({{1, 0x01}}) << 3 << map({{0, 0x80}});
        QTest::newRow("last reader moves, its bit clears") << map({{15, 0x80}}) << 5 << map({{15, 0x40}});
        QTest::newRow("reader 128 removed") << map({{15, 0xC0}}) << 127 << map({{15, 0x40}});
        QTest::newRow("out of range left alone") << map({{0, 0xFF}}) << 128 << map({{0, 0xFF}});
    }
    void mapLosesOneReader() {
        QFETCH(QByteArray, before);
        QFETCH(int, removed);
        QFETCH(QByteArray, after);
        QCOMPARE(withoutReader(before, removed).toHex(' '), after.toHex(' '));
    }

    void deletingAReaderShiftsMapsOnlyWhenAsked_data() {
        QTest::addColumn<bool>("shift");
        QTest::newRow("verschuif off") << false;
        QTest::newRow("verschuif on") << true;
    }
    void deletingAReaderShiftsMapsOnlyWhenAsked() {
        QFETCH(bool, shift);
        QTemporaryDir dir;
        const ReaderFile readers(dir.path());
        for (int i = 1; i <= 4; ++i) {
            VERIFY_OK(readers.write(i, reader(QStringLiteral("L%1").arg(i))));
        }
        // Readers 1, 3 and 4 granted, 2 withdrawn; reader 9 and 128 granted. Reserved bytes set, so a
        // rewrite that touched more than the maps would show.
        KeyHolder a = holder("A", map({{0, 0x0D}, {1, 0x01}, {15, 0x80}}), map({{0, 0x02}}));
        QByteArray reserved = a.bytes();
        a.setBytes(reserved.replace(323, 4, "rsv!"));
        const KeyHolder b = holder("B", map({{0, 0x02}}), map({}));
        KeyHolderFile holders(dir.path());
        holders.current() = a;
        VERIFY_OK(holders.write(1));
        holders.current() = b;
        VERIFY_OK(holders.write(2));
        const QByteArray before = fileBytes(holders.path());

        const Result<ReaderRemoval> removed = removeReader(dir.path(), 2, shift);
        VERIFY_OK(removed);
        QCOMPARE(removed.value.accessShifted, shift);
        QVERIFY(removed.value.shiftError.isEmpty());
        QCOMPARE(readers.count().value, 3);
        QCOMPARE(readers.read(2).value.lezerNaam().trimmed(), QString("L3"));

        QByteArray expected = before;
        if (shift) {
            // A: 1, 3, 4, 9, 128 become 1, 2, 3, 8, 127; its withdrawal of 2 is gone. B: nothing left.
            expected.replace(291, 16, map({{0, 0x87}, {15, 0x40}}));
            expected.replace(307, 16, map({}));
            expected.replace(512 + 291, 16, map({}));
        }
        QCOMPARE(fileBytes(holders.path()).toHex(), expected.toHex());
    }

    void unwritableHoldersRefuseTheShiftedDelete() {
        QTemporaryDir dir;
        const ReaderFile readers(dir.path());
        VERIFY_OK(readers.write(1, reader("L1")));
        VERIFY_OK(readers.write(2, reader("L2")));
        KeyHolderFile holders(dir.path());
        holders.current() = holder("A", map({{0, 0x03}}), map({}));
        VERIFY_OK(holders.write(1));
        const QByteArray readersBefore = fileBytes(readers.path());
        QVERIFY(QFile::setPermissions(holders.path(), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        const Result<ReaderRemoval> removed = removeReader(dir.path(), 1, true);
        QFile::setPermissions(holders.path(), QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(!removed);
        QVERIFY2(removed.error.contains("asleutel.bst"), qPrintable(removed.error));
        QCOMPARE(fileBytes(readers.path()), readersBefore);
    }
};

QTEST_GUILESS_MAIN(TestChangeLog)
#include "tst_changelog.moc"
