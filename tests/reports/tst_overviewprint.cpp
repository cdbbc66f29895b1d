// The printed overview: lines put on pages without cutting a row or leaving a title alone at the foot,
// tables that run on repeat their headings, and the PDF has the pages the layout says.

#include <QBuffer>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QtTest>

#include "reports/Overview.h"
#include "reports/OverviewExport.h"
#include "reports/OverviewPrint.h"
#include "support/AccessRecords.h"

using Kind = OverviewPrint::Line::Kind;

namespace {

// One section with `rows` key holders on reader 1.
QList<OverviewSection> oneReader(int rows) {
    OverviewSection section{QStringLiteral("Lezer 1"), {{"Nr", "Naam", "Sleutelcode", "Geldig"}, {}}, {}};
    for (int i = 1; i <= rows; ++i) {
        section.granted.rows.append({QString::number(i), QStringLiteral("Houder %1").arg(i), "AABB", "ja"});
    }
    return {section};
}

int pdfPages(const QByteArray& pdf) {
    // Page objects; "/Type /Pages" is the tree above them.
    return int(pdf.count("/Type /Page\n") + pdf.count("/Type /Page ") + pdf.count("/Type /Page/") +
               pdf.count("/Type /Page>"));
}

}  // namespace

class TestOverviewPrint : public QObject {
    Q_OBJECT

    int m_perPage = 0;

private Q_SLOTS:
    void initTestCase() {
        m_perPage = OverviewPrint::linesPerPage(OverviewPrint::a4());
        // A4 less 30 mm of margins is about 58 lines of 13 pt; a few go to the header and the foot.
        QVERIFY2(m_perPage > 40 && m_perPage < 60, qPrintable(QString::number(m_perPage)));
    }

    // Title, label and headings take 3 lines; the rows fill the rest.
    void pageCount_data() {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("pages");
        QTest::newRow("none") << 0 << 1;
        QTest::newRow("one") << 1 << 1;
        QTest::newRow("exactly one page") << -3 << 1;
        QTest::newRow("one row over") << -2 << 2;
    }
    void pageCount() {
        QFETCH(int, rows);
        // Negative: counted back from a full page.
        const int fill = rows < 0 ? m_perPage + rows : rows;
        const QList<OverviewPrint::Line> lines = OverviewPrint::lines(oneReader(fill), OverviewView::PerReader);
        const QList<QList<OverviewPrint::Line>> pages = OverviewPrint::paginate(lines, m_perPage);
        QTEST(int(pages.size()), "pages");
    }

    // Every page holds at most a page of lines, none ends on a title, label or headings, no spacer opens
    // a page, and each row is on exactly one page; a table that runs on starts its page with its title
    // and headings again.
    void nothingCutOrStranded() {
        QList<OverviewSection> sections;
        for (int s = 0; s < 40; ++s) {
            sections += oneReader(s % 7);
            sections.last().title = QStringLiteral("Lezer %1").arg(s + 1);
        }
        sections += oneReader(3 * m_perPage);
        const QList<OverviewPrint::Line> lines = OverviewPrint::lines(sections, OverviewView::PerReader);
        int rowsIn = 0;
        for (const OverviewPrint::Line& line : lines) {
            rowsIn += line.kind == Kind::Row;
        }
        int rowsOut = 0;
        const QList<QList<OverviewPrint::Line>> pages = OverviewPrint::paginate(lines, m_perPage);
        QVERIFY(pages.size() > 4);
        for (int p = 0; p < pages.size(); ++p) {
            const QList<OverviewPrint::Line>& page = pages.at(p);
            QVERIFY(!page.isEmpty() && page.size() <= m_perPage);
            const Kind last = page.constLast().kind;
            QVERIFY2(last == Kind::Row || last == Kind::Note || last == Kind::Spacer, qPrintable(QString::number(p)));
            QVERIFY(page.constFirst().kind != Kind::Spacer);
            if (page.constFirst().kind == Kind::Title && page.constFirst().cells.value(0).endsWith("(vervolg)")) {
                QCOMPARE(page.at(1).kind, Kind::Headings);
                QCOMPARE(page.at(2).kind, Kind::Row);
            } else {
                QVERIFY(page.constFirst().kind != Kind::Row);
            }
            for (const OverviewPrint::Line& line : page) {
                rowsOut += line.kind == Kind::Row;
            }
        }
        QCOMPARE(rowsOut, rowsIn);
    }

    // The PDF on A4 from hand-built files: the number of pages the layout gives, in the file too.
    void pdfHasThePages_data() {
        QTest::addColumn<int>("holders");
        QTest::newRow("empty location") << 0;
        QTest::newRow("one page") << 5;
        QTest::newRow("several pages") << 200;
    }
    void pdfHasThePages() {
        QFETCH(int, holders);
        QTemporaryDir dir;
        QList<accessrecords::HolderSpec> specs;
        for (int i = 0; i < holders; ++i) {
            specs.append({"1", QByteArray("Houder ") + QByteArray::number(i), "AABBCCDDEE", {1, 2}, {3}});
        }
        QVERIFY(accessrecords::writeFolder(
            dir.path(), holders ? accessrecords::sampleReaders() : QList<accessrecords::ReaderSpec>(), specs));
        const Result<Overview> o = Overview::load(dir.path(), QStringLiteral("Noord"));
        QVERIFY(o.ok());
        const QList<OverviewPrint::Line> lines = OverviewPrint::lines(
            OverviewTables::sections(o.value, OverviewView::PerReader, {}), OverviewView::PerReader);
        const int expected = int(OverviewPrint::paginate(lines, m_perPage).size());

        QByteArray pdf;
        QBuffer buffer(&pdf);
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        const Result<int> pages = OverviewPrint::writePdf(
            buffer, lines, {QStringLiteral("Noord"), QStringLiteral("Overzicht per lezer"), QDate(2025, 6, 1)});
        QVERIFY2(pages.ok(), qPrintable(pages.error));
        QCOMPARE(pages.value, expected);
        QVERIFY(pdf.startsWith("%PDF-"));
        QCOMPARE(pdfPages(pdf), expected);
        if (holders == 200) {
            // 200 granted on readers 1 and 2 each, 200 withdrawn on reader 3.
            QVERIFY(expected > 600 / m_perPage);
        }

        const QString path = dir.filePath(QStringLiteral("overzicht.pdf"));
        const Result<int> saved = OverviewPrint::writePdf(path, lines, {QStringLiteral("Noord"), {}, {}});
        QVERIFY(saved.ok());
        QCOMPARE(pdfPages(fixtures::readFile(path)), expected);
    }

    void unwritableFile() {
        const Result<int> saved = OverviewPrint::writePdf(QStringLiteral("/nonexistent/folder/x.pdf"), {}, {});
        QVERIFY(!saved.ok());
        QVERIFY(saved.error.contains(QStringLiteral("/nonexistent/folder/x.pdf")));
    }
};

QTEST_MAIN(TestOverviewPrint)
#include "tst_overviewprint.moc"
