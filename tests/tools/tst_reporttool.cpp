// vondrel-report run as a script runs it: what it prints for each format, and its exit codes.

#include <QProcess>
#include <QtTest>

#include "reports/Overview.h"
#include "reports/OverviewExport.h"
#include "support/AccessRecords.h"

namespace {

struct Run {
    int code = -1;
    QByteArray out;
    QString err;
};

Run report(const QStringList& args) {
    QProcess p;
    p.start(QStringLiteral(VONDREL_BIN_DIR "/vondrel-report"), args);
    Run r;
    if (!p.waitForFinished(30000)) {
        p.kill();
        return r;
    }
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = p.readAllStandardOutput();
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

}  // namespace

class TestReportTool : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_home;
    Overview m_overview;

private Q_SLOTS:
    void initTestCase() {
        m_home = m_dir.filePath(QStringLiteral("home"));
        const QString folder = m_home + QStringLiteral("/bestanden/noord");
        QVERIFY(accessrecords::writeFolder(folder, accessrecords::sampleReaders(), accessrecords::sampleHolders()));
        QVERIFY(QDir().mkpath(m_home + QStringLiteral("/bestanden/leeg")));
        m_overview = Overview::load(folder, QString()).value;
    }

    void helpIsDutch() {
        const Run r = report({"--help"});
        QCOMPARE(r.code, 0);
        QVERIFY(r.out.startsWith("Gebruik: vondrel-report --home MAP"));
        for (const char* option : {"--map", "--reader", "--holder", "--format", "--filter", "--output"}) {
            QVERIFY2(r.out.contains(option), option);
        }
    }

    void output_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("expected");
        const QDate date(2025, 6, 1);
        QTest::newRow("text, one reader")
            << QStringList{"--map", "noord", "--reader", "2"}
            << OverviewExport::text(m_overview, OverviewView::PerReader, date, {}, 2).toUtf8();
        QTest::newRow("text per holder, filtered")
            << QStringList{"--map", "noord", "--view", "sleutelhouder", "--filter", "SMIT"}
            << OverviewExport::text(m_overview, OverviewView::PerHolder, date, OverviewFilter("smit")).toUtf8();
        QTest::newRow("csv, one holder") << QStringList{"--map", "noord", "--holder", "3", "--format", "csv"}
                                         << OverviewExport::csv(m_overview, OverviewView::PerHolder, {}, 3);
        QTest::newRow("csv, whole location") << QStringList{"--map", "noord", "--format", "csv"}
                                             << OverviewExport::csv(m_overview, OverviewView::PerReader);
        QTest::newRow("empty location") << QStringList{"--map", "leeg"}
                                        << QByteArray("Overzicht per lezer - leeg - 01-06-2025\n\nGeen lezers.\n");
    }
    void output() {
        QFETCH(QStringList, args);
        const Run r = report(QStringList{"--home", m_home, "--date", "01-06-2025"} + args);
        QVERIFY2(r.code == 0, qPrintable(r.err));
        QTEST(r.out, "expected");
    }

    void pdf() {
        const Run out = report({"--home", m_home, "--map", "noord", "--format", "pdf"});
        QCOMPARE(out.code, 0);
        QVERIFY(out.out.startsWith("%PDF-"));
        const QString path = m_dir.filePath(QStringLiteral("lezer1.pdf"));
        const Run file =
            report({"--home", m_home, "--map", "noord", "--reader", "1", "--format", "pdf", "--output", path});
        QCOMPARE(file.code, 0);
        QVERIFY(file.out.isEmpty());
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QVERIFY(written.readAll().startsWith("%PDF-"));
    }

    void refused_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        QTest::newRow("no home") << QStringList{"--format", "csv"} << 2 << "--home ontbreekt";
        QTest::newRow("reader and holder")
            << QStringList{"@", "--reader", "1", "--holder", "1"} << 2 << "gaan niet samen";
        QTest::newRow("format") << QStringList{"@", "--format", "xls"} << 2 << "text, csv of pdf";
        QTest::newRow("reader 0") << QStringList{"@", "--reader", "0"} << 2 << "nummer vanaf 1";
        QTest::newRow("unknown option") << QStringList{"@", "--lezer", "1"} << 2 << "onbekende optie --lezer";
        QTest::newRow("no such reader") << QStringList{"@", "--map", "noord", "--reader", "4"} << 2
                                        << "lezer 4 bestaat niet; er zijn er 3";
        QTest::newRow("no such holder") << QStringList{"@", "--map", "noord", "--holder", "6"} << 2
                                        << "sleutelhouder 6 bestaat niet";
        QTest::newRow("folder outside") << QStringList{"@", "--map", "../noord"} << 2 << "../noord";
        QTest::newRow("missing location") << QStringList{"@", "--map", "zuid"} << 3 << "bestaat niet";
        QTest::newRow("unwritable output")
            << QStringList{"@", "--map", "noord", "--output", "/nonexistent/x.txt"} << 3 << "/nonexistent/x.txt";
    }
    void refused() {
        QFETCH(QStringList, args);
        if (args.value(0) == QLatin1String("@")) {
            args.replace(0, QStringLiteral("--home"));
            args.insert(1, m_home);
        }
        const Run r = report(args);
        QTEST(r.code, "code");
        QFETCH(QString, message);
        QVERIFY2(r.err.contains(message), qPrintable(r.err));
    }
};

QTEST_GUILESS_MAIN(TestReportTool)
#include "tst_reporttool.moc"
