// The overview read from hand-built record files: who is granted and who withdrawn on each reader, seen
// from both sides, the filter, and the text and CSV made of it.

#include <QtTest>

#include "reports/Overview.h"
#include "reports/OverviewExport.h"
#include "support/AccessRecords.h"

namespace {

QString names(const Overview& o, const QList<int>& holders) {
    QStringList out;
    for (int h : holders) {
        out.append(QString::number(o.holders.at(h).number));
    }
    return out.join(QLatin1Char(','));
}

QString numbers(const Overview& o, const QList<int>& readers) {
    QStringList out;
    for (int r : readers) {
        out.append(QString::number(o.readers.at(r).number));
    }
    return out.join(QLatin1Char(','));
}

}  // namespace

class TestOverview : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    Overview m_overview;

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(
            accessrecords::writeFolder(m_dir.path(), accessrecords::sampleReaders(), accessrecords::sampleHolders()));
        Result<Overview> loaded = Overview::load(m_dir.path(), QStringLiteral("Noord"));
        QVERIFY2(loaded.ok(), qPrintable(loaded.error));
        m_overview = loaded.value;
    }

    void readers_data() {
        QTest::addColumn<int>("reader");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("date");
        QTest::addColumn<bool>("changed");
        QTest::addColumn<QString>("granted");
        QTest::addColumn<QString>("withdrawn");
        // Holder 3 has both bits on reader 1: withdrawn, as the grid shows it blue.
        QTest::newRow("1") << 1 << "A1F3C2"
                           << "Hoofdingang"
                           << "Intern, Tijd"
                           << "12-05-25" << true << "1,2"
                           << "3";
        QTest::newRow("2 Windows-1252 name") << 2 << "0B7E44" << QString::fromUtf8("Café €-kassa") << "Extern, Houd"
                                             << "03-04-25" << false << "1"
                                             << "5";
        QTest::newRow("3") << 3 << "3C9D01"
                           << "Kantoor; 1e \"etage\""
                           << "Extern Invers, Tijd"
                           << "28-05-25" << true << "3"
                           << "2";
    }
    void readers() {
        QFETCH(int, reader);
        QCOMPARE(m_overview.readers.size(), 3);
        const OverviewReader& r = m_overview.readers.at(reader - 1);
        QCOMPARE(r.number, reader);
        QTEST(r.code, "code");
        QTEST(r.name, "name");
        QTEST(OverviewTables::modeText(r.mode), "mode");
        QTEST(r.datum, "date");
        QTEST(r.changed, "changed");
        QTEST(names(m_overview, r.granted), "granted");
        QTEST(names(m_overview, r.withdrawn), "withdrawn");
    }

    void holders_data() {
        QTest::addColumn<int>("holder");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("geldig");
        QTest::addColumn<QString>("granted");
        QTest::addColumn<QString>("withdrawn");
        QTest::newRow("granted two") << 1 << "Jansen, Anna"
                                     << "A1B2C3D4E5" << true << "1,2"
                                     << "";
        QTest::newRow("not valid still listed") << 2 << "Bakker; Bram"
                                                << "0011223344" << false << "1"
                                                << "3";
        QTest::newRow("blank code") << 3 << "Visser \"Cor\""
                                    << "" << true << "3"
                                    << "1";
        QTest::newRow("zero-byte code, no access") << 4 << QString::fromUtf8("Müller, Désiré") << "" << true << ""
                                                   << "";
        QTest::newRow("withdrawn over granted") << 5 << "Smit, Eva"
                                                << "FFEEDDCCBB" << true << ""
                                                << "2";
    }
    void holders() {
        QFETCH(int, holder);
        QCOMPARE(m_overview.holders.size(), 5);
        const OverviewHolder& h = m_overview.holders.at(holder - 1);
        QCOMPARE(h.number, holder);
        QTEST(h.name, "name");
        QTEST(h.keyCode, "code");
        QTEST(h.geldig, "geldig");
        QTEST(numbers(m_overview, h.granted), "granted");
        QTEST(numbers(m_overview, h.withdrawn), "withdrawn");
    }

    void filter_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("readers");
        QTest::addColumn<QString>("holders");
        QTest::addColumn<QString>("onReader1");
        QTest::newRow("blank keeps all") << "  "
                                         << "1,2,3"
                                         << "1,2,3,4,5"
                                         << "1,2|3";
        QTest::newRow("name, letter case aside") << "jansen"
                                                 << "1,2"
                                                 << "1"
                                                 << "1|";
        QTest::newRow("key code part") << "ddcc"
                                       << "2"
                                       << "5"
                                       << "|";
        QTest::newRow("withdrawn holder keeps its reader") << "visser"
                                                           << "1,3"
                                                           << "3"
                                                           << "|3";
        QTest::newRow("reader name keeps all its holders") << "hoofd"
                                                           << "1"
                                                           << ""
                                                           << "1,2|3";
        QTest::newRow("nothing") << "zzz"
                                 << ""
                                 << ""
                                 << "|";
    }
    void filter() {
        QFETCH(QString, text);
        const OverviewFilter f(text);
        QStringList readers;
        for (int r : OverviewTables::visibleReaders(m_overview, f)) {
            readers.append(QString::number(r + 1));
        }
        QStringList holders;
        for (int h : OverviewTables::visibleHolders(m_overview, f)) {
            holders.append(QString::number(h + 1));
        }
        QTEST(readers.join(QLatin1Char(',')), "readers");
        QTEST(holders.join(QLatin1Char(',')), "holders");
        QStringList granted;
        for (const QStringList& row : OverviewTables::holdersOf(m_overview, 0, false, f).rows) {
            granted.append(row.at(0));
        }
        QStringList withdrawn;
        for (const QStringList& row : OverviewTables::holdersOf(m_overview, 0, true, f).rows) {
            withdrawn.append(row.at(0));
        }
        QTEST(granted.join(QLatin1Char(',')) + QLatin1Char('|') + withdrawn.join(QLatin1Char(',')), "onReader1");
    }

    // Empty and odd locations: a folder without files, files without records, a reader past 128 with bits
    // set beyond the map, and a short tail that is not a whole record.
    void edges_data() {
        QTest::addColumn<QByteArray>("readers");
        QTest::addColumn<QByteArray>("holders");
        QTest::addColumn<int>("readerCount");
        QTest::addColumn<int>("holderCount");
        QTest::addColumn<QString>("lastReaderHolders");
        QTest::newRow("no files") << QByteArray("<none>") << QByteArray("<none>") << 0 << 0 << "";
        QTest::newRow("empty files") << QByteArray() << QByteArray() << 0 << 0 << "";
        QByteArray many;
        for (int i = 0; i < 129; ++i) {
            many += accessrecords::reader({"000000", "deur", 0, "01-01-25", false});
        }
        QList<int> all;
        for (int n = 1; n <= 128; ++n) {
            all.append(n);
        }
        QTest::newRow("129 readers, 128 mapped")
            << many << accessrecords::holder({"1", "Alle deuren", "1234", all, {}}) << 129 << 1 << "";
        QTest::newRow("128th reader") << many.left(128 * 128) + QByteArray(50, 'x')
                                      << accessrecords::holder({"1", "Alle deuren", "1234", all, {}}) << 128 << 1
                                      << "1";
    }
    void edges() {
        QFETCH(QByteArray, readers);
        QFETCH(QByteArray, holders);
        QTemporaryDir dir;
        if (readers != "<none>") {
            QVERIFY(fixtures::writeFile(dir.filePath(QStringLiteral("autonoom.bst")), readers));
            QVERIFY(fixtures::writeFile(dir.filePath(QStringLiteral("asleutel.bst")), holders));
        }
        const Result<Overview> o = Overview::load(dir.path(), QString());
        QVERIFY2(o.ok(), qPrintable(o.error));
        QTEST(int(o.value.readers.size()), "readerCount");
        QTEST(int(o.value.holders.size()), "holderCount");
        QCOMPARE(o.value.location, QDir(dir.path()).dirName());
        QTEST(o.value.readers.isEmpty() ? QString() : names(o.value, o.value.readers.constLast().granted),
              "lastReaderHolders");
        const QString text = OverviewExport::text(o.value, OverviewView::PerReader, QDate(2025, 6, 1));
        QVERIFY(text.startsWith(QStringLiteral("Overzicht per lezer - ")));
        if (o.value.readers.isEmpty()) {
            QVERIFY(text.endsWith(QStringLiteral("Geen lezers.\n")));
        }
    }

    void text() {
        const QString expected = QString::fromUtf8(
            "Overzicht per lezer - Noord - 01-06-2025\n"
            "\n"
            "Lezer 2 (0B7E44) Café €-kassa - Extern, Houd, gewijzigd 03-04-25\n"
            "  Toegang:\n"
            "    Nr  Naam          Sleutelcode  Geldig\n"
            "    1   Jansen, Anna  A1B2C3D4E5   ja\n"
            "  Ingetrokken:\n"
            "    Nr  Naam       Sleutelcode  Geldig\n"
            "    5   Smit, Eva  FFEEDDCCBB   ja\n");
        QCOMPARE(OverviewExport::text(m_overview, OverviewView::PerReader, QDate(2025, 6, 1), {}, 2), expected);
        const QString holder4 = OverviewExport::text(m_overview, OverviewView::PerHolder, QDate(2025, 6, 1), {}, 4);
        QCOMPARE(holder4, QString::fromUtf8("Overzicht per sleutelhouder - Noord - 01-06-2025\n\n"
                                            "Sleutelhouder 4 Müller, Désiré - sleutelcode geen, geldig ja\n"
                                            "  Geen lezers.\n"));
    }

    // The exact bytes: BOM, CRLF, ";" between fields, quotes around a field with ";" or a quote and
    // doubled inside, Windows-1252 (é 0xE9, € 0x80, ü 0xFC) as UTF-8, an empty side for a holder with
    // no reader.
    void csvBytes_data() {
        QTest::addColumn<int>("view");
        QTest::addColumn<int>("only");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("reader 3") << int(OverviewView::PerReader) << 3
                                  << QByteArray(
                                         "\xEF\xBB\xBF"
                                         "Lezer;Lezercode;Lezernaam;Modus;Gewijzigd;X;Sleutelhouder;Naam;Sleutelcode;"
                                         "Geldig;Toegang\r\n"
                                         "3;3C9D01;\"Kantoor; 1e \"\"etage\"\"\";Extern Invers, Tijd;28-05-25;X;3;"
                                         "\"Visser \"\"Cor\"\"\";;ja;ja\r\n"
                                         "3;3C9D01;\"Kantoor; 1e \"\"etage\"\"\";Extern Invers, Tijd;28-05-25;X;2;"
                                         "\"Bakker; Bram\";0011223344;nee;ingetrokken\r\n");
        QTest::newRow("reader 2") << int(OverviewView::PerReader) << 2
                                  << QByteArray(
                                         "\xEF\xBB\xBF"
                                         "Lezer;Lezercode;Lezernaam;Modus;Gewijzigd;X;Sleutelhouder;Naam;Sleutelcode;"
                                         "Geldig;Toegang\r\n"
                                         "2;0B7E44;Caf\xC3\xA9 \xE2\x82\xAC-kassa;Extern, Houd;03-04-25;;1;"
                                         "Jansen, Anna;A1B2C3D4E5;ja;ja\r\n"
                                         "2;0B7E44;Caf\xC3\xA9 \xE2\x82\xAC-kassa;Extern, Houd;03-04-25;;5;"
                                         "Smit, Eva;FFEEDDCCBB;ja;ingetrokken\r\n");
        QTest::newRow("holder 4 without readers")
            << int(OverviewView::PerHolder) << 4
            << QByteArray(
                   "\xEF\xBB\xBF"
                   "Sleutelhouder;Naam;Sleutelcode;Geldig;Lezer;Lezercode;Lezernaam;Toegang\r\n"
                   "4;M\xC3\xBCller, D\xC3\xA9sir\xC3\xA9;;ja;;;;\r\n");
        QTest::newRow("holder 2") << int(OverviewView::PerHolder) << 2
                                  << QByteArray(
                                         "\xEF\xBB\xBF"
                                         "Sleutelhouder;Naam;Sleutelcode;Geldig;Lezer;Lezercode;Lezernaam;Toegang\r\n"
                                         "2;\"Bakker; Bram\";0011223344;nee;1;A1F3C2;Hoofdingang;ja\r\n"
                                         "2;\"Bakker; Bram\";0011223344;nee;3;3C9D01;\"Kantoor; 1e \"\"etage\"\"\";"
                                         "ingetrokken\r\n");
    }
    void csvBytes() {
        QFETCH(int, view);
        QFETCH(int, only);
        QTEST(OverviewExport::csv(m_overview, OverviewView(view), {}, only), "expected");
    }

    void csvField_data() {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("field");
        QTest::newRow("plain") << "Jansen, Anna"
                               << "Jansen, Anna";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("separator") << "a;b"
                                   << "\"a;b\"";
        QTest::newRow("quote") << "5\" deur"
                               << "\"5\"\" deur\"";
        QTest::newRow("line end") << "a\nb"
                                  << "\"a\nb\"";
        QTest::newRow("carriage return") << "a\rb"
                                         << "\"a\rb\"";
    }
    void csvField() {
        QFETCH(QString, value);
        QTEST(OverviewExport::csvField(value), "field");
    }
};

QTEST_GUILESS_MAIN(TestOverview)
#include "tst_overview.moc"
