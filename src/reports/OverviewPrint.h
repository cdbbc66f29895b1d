#pragma once

#include <QDate>
#include <QList>
#include <QPageLayout>
#include <QString>
#include <QStringList>

#include "records/Result.h"
#include "reports/Overview.h"

class QIODevice;
class QPagedPaintDevice;

// The overview on paper: pages of fixed-pitch lines under a header with the location, the view and the
// date, and "Pagina n van m" at the foot. A row is one line, so no row is ever cut by a page end; a
// section's title and its column headings never stand alone at the bottom of a page, and a table that
// runs on to the next page repeats its title and headings there.
namespace OverviewPrint {

struct Line {
    enum class Kind { Spacer, Title, Label, Headings, Row, Note };
    Kind kind = Kind::Row;
    QStringList cells;
};

struct Header {
    QString location;
    QString title;  // "Overzicht per lezer"
    QDate date;
};

// A4 upright with 15 mm margins: what a saved PDF gets.
QPageLayout a4();

// The lines of a report, before they are put on pages.
QList<Line> lines(const QList<OverviewSection>& sections, OverviewView view);

// How many lines fit between header and foot of one page of this layout.
int linesPerPage(const QPageLayout& layout);

// The lines on each page: at least one page, even for no lines at all.
QList<QList<Line>> paginate(const QList<Line>& lines, int perPage);

// Paints the pages on a device whose page layout is set (a QPdfWriter, or a QPrinter from the print
// dialog); the value is the number of pages.
Result<int> paint(QPagedPaintDevice& device, const QList<Line>& lines, const Header& header);

// The report as a PDF on A4 into device (open for writing), or into a file at path written beside it and
// renamed over it. The value is the number of pages.
Result<int> writePdf(QIODevice& device, const QList<Line>& lines, const Header& header);
Result<int> writePdf(const QString& path, const QList<Line>& lines, const Header& header);

}  // namespace OverviewPrint
