#include "reports/OverviewPrint.h"

#include <QFontMetricsF>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

namespace OverviewPrint {

namespace {

// Everything is laid out on a grid of lines of this pitch, in points, whatever the fonts measure: the
// page count then depends on the paper alone.
constexpr double kPitchPt = 13.0;
constexpr int kHeaderLines = 3;
constexpr int kFooterLines = 2;
constexpr double kFontPt = 9.0;
constexpr double kTitleFontPt = 10.0;
constexpr double kIndentPt = 18.0;
constexpr int kPdfResolution = 300;

bool sticky(Line::Kind kind) {
    return kind == Line::Kind::Title || kind == Line::Kind::Label || kind == Line::Kind::Headings;
}

// A share of the width for each column, by what it holds.
double weightOf(const QString& heading) {
    if (heading == QLatin1String("Nr")) {
        return 1.0;
    }
    if (heading == QLatin1String("Naam")) {
        return 6.0;
    }
    if (heading == QLatin1String("Sleutelcode")) {
        return 2.5;
    }
    return 2.0;
}

void addTable(QList<Line>& out, const QString& label, const OverviewTable& table) {
    out.append({Line::Kind::Label, {label}});
    out.append({Line::Kind::Headings, table.headings});
    for (const QStringList& row : table.rows) {
        out.append({Line::Kind::Row, row});
    }
}

}  // namespace

QPageLayout a4() {
    return QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(15, 15, 15, 15),
                       QPageLayout::Millimeter);
}

QList<Line> lines(const QList<OverviewSection>& sections, OverviewView view) {
    QList<Line> out;
    if (sections.isEmpty()) {
        out.append({Line::Kind::Note,
                    {view == OverviewView::PerReader ? QStringLiteral("Geen lezers.")
                                                     : QStringLiteral("Geen sleutelhouders.")}});
    }
    for (const OverviewSection& section : sections) {
        if (!out.isEmpty()) {
            out.append({Line::Kind::Spacer, {}});
        }
        out.append({Line::Kind::Title, {section.title}});
        if (section.granted.rows.isEmpty()) {
            out.append({Line::Kind::Note,
                        {view == OverviewView::PerReader ? QStringLiteral("Geen sleutelhouders met toegang.")
                                                         : QStringLiteral("Geen lezers.")}});
        } else {
            addTable(out, QStringLiteral("Toegang"), section.granted);
        }
        if (!section.withdrawn.rows.isEmpty()) {
            addTable(out, QStringLiteral("Ingetrokken"), section.withdrawn);
        }
    }
    return out;
}

int linesPerPage(const QPageLayout& layout) {
    const double height = layout.paintRect(QPageLayout::Point).height();
    return qMax(1, int(height / kPitchPt) - kHeaderLines - kFooterLines);
}

QList<QList<Line>> paginate(const QList<Line>& lines, int perPage) {
    // A continued table needs its title and headings again, and one row under them.
    perPage = qMax(perPage, 4);
    QList<QList<Line>> pages(1);
    QString title;
    QStringList headings;
    Line::Kind previous = Line::Kind::Spacer;
    for (int i = 0; i < lines.size(); ++i) {
        const Line& line = lines.at(i);
        if (line.kind == Line::Kind::Title) {
            title = line.cells.value(0);
        } else if (line.kind == Line::Kind::Headings) {
            headings = line.cells;
        }
        int needed = 1;
        if (sticky(line.kind)) {
            int j = i;
            while (j < lines.size() && sticky(lines.at(j).kind)) {
                ++j;
            }
            needed = j - i + (j < lines.size() ? 1 : 0);
        }
        if (!pages.last().isEmpty() && pages.last().size() + needed > perPage) {
            pages.append(QList<Line>());
            if (line.kind == Line::Kind::Row && (previous == Line::Kind::Row || previous == Line::Kind::Headings)) {
                pages.last().append({Line::Kind::Title, {title + QStringLiteral(" (vervolg)")}});
                pages.last().append({Line::Kind::Headings, headings});
            }
        }
        if (line.kind == Line::Kind::Spacer && pages.last().isEmpty()) {
            continue;
        }
        pages.last().append(line);
        previous = line.kind;
    }
    return pages;
}

Result<int> paint(QPagedPaintDevice& device, const QList<Line>& lines, const Header& header) {
    const QPageLayout layout = device.pageLayout();
    const QList<QList<Line>> pages = paginate(lines, linesPerPage(layout));
    QPainter painter;
    if (!painter.begin(&device)) {
        return Status::failure(QStringLiteral("Het overzicht kan niet worden afgedrukt: de uitvoer gaat niet open."));
    }
    const double dpi = device.logicalDpiY();
    const auto px = [dpi](double pt) { return pt * dpi / 72.0; };
    // paintRectPixels is relative to the page; the painter's origin is already the paint rectangle's corner.
    const QRectF area(QPointF(0, 0), QSizeF(layout.paintRectPixels(int(dpi)).size()));
    const double pitch = px(kPitchPt);

    QFont body(QStringLiteral("Sans Serif"));
    body.setPointSizeF(kFontPt);
    QFont bold = body;
    bold.setBold(true);
    QFont titleFont = bold;
    titleFont.setPointSizeF(kTitleFontPt);

    const auto text = [&](const QFont& font, const QRectF& box, const QString& value, Qt::Alignment align) {
        painter.setFont(font);
        const QString shown = QFontMetricsF(font, &device).elidedText(value, Qt::ElideRight, box.width());
        painter.drawText(box, int(align | Qt::AlignVCenter) | Qt::TextSingleLine, shown);
    };

    const QString dateText = header.date.toString(QStringLiteral("dd-MM-yyyy"));
    for (int p = 0; p < pages.size(); ++p) {
        if (p > 0 && !device.newPage()) {
            painter.end();
            return Status::failure(QStringLiteral("Het overzicht kan niet worden afgedrukt: geen nieuwe pagina."));
        }
        const QRectF top(area.left(), area.top(), area.width(), pitch);
        text(titleFont, top, header.location, Qt::AlignLeft);
        text(body, top, dateText, Qt::AlignRight);
        text(body, top.translated(0, pitch), header.title, Qt::AlignLeft);
        painter.setPen(QPen(Qt::black, px(0.5)));
        painter.drawLine(QPointF(area.left(), area.top() + 2.5 * pitch),
                         QPointF(area.right(), area.top() + 2.5 * pitch));

        double y = area.top() + kHeaderLines * pitch;
        QStringList headings;
        const auto drawCells = [&](const QRectF& row, const QStringList& cells, const QFont& font) {
            double total = 0;
            for (const QString& heading : headings) {
                total += weightOf(heading);
            }
            const double width = row.width() - px(kIndentPt);
            double x = row.left() + px(kIndentPt);
            for (int c = 0; c < cells.size(); ++c) {
                const double w = total > 0 ? width * weightOf(headings.value(c)) / total : width / cells.size();
                text(font, QRectF(x, row.top(), w - px(4), row.height()), cells.at(c), Qt::AlignLeft);
                x += w;
            }
        };
        for (const Line& line : pages.at(p)) {
            const QRectF row(area.left(), y, area.width(), pitch);
            switch (line.kind) {
                case Line::Kind::Spacer:
                    break;
                case Line::Kind::Title:
                    text(bold, row, line.cells.value(0), Qt::AlignLeft);
                    break;
                case Line::Kind::Label:
                case Line::Kind::Note:
                    text(body, row.adjusted(px(kIndentPt) / 2, 0, 0, 0), line.cells.value(0), Qt::AlignLeft);
                    break;
                case Line::Kind::Headings:
                    headings = line.cells;
                    drawCells(row, line.cells, bold);
                    break;
                case Line::Kind::Row:
                    drawCells(row, line.cells, body);
                    break;
            }
            y += pitch;
        }
        const QRectF foot(area.left(), area.bottom() - pitch, area.width(), pitch);
        text(body, foot, QStringLiteral("Pagina %1 van %2").arg(p + 1).arg(pages.size()), Qt::AlignHCenter);
    }
    painter.end();
    return int(pages.size());
}

}  // namespace OverviewPrint

namespace OverviewPrint {

Result<int> writePdf(QIODevice& device, const QList<Line>& lines, const Header& header) {
    QPdfWriter writer(&device);
    writer.setPageLayout(a4());
    writer.setResolution(kPdfResolution);
    writer.setTitle(header.title + QStringLiteral(" - ") + header.location);
    writer.setCreator(QStringLiteral("Vondrel Lezers"));
    return paint(writer, lines, header);
}

Result<int> writePdf(const QString& path, const QList<Line>& lines, const Header& header) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return Status::failure(
            QStringLiteral("Het bestand %1 kan niet worden geschreven: %2").arg(path, file.errorString()));
    }
    const Result<int> pages = writePdf(file, lines, header);
    if (!pages) {
        file.cancelWriting();
        return pages;
    }
    if (!file.commit()) {
        return Status::failure(
            QStringLiteral("Het bestand %1 kan niet worden geschreven: %2").arg(path, file.errorString()));
    }
    return pages;
}

}  // namespace OverviewPrint
