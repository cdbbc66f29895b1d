#include "reports/OverviewExport.h"

#include <QStringList>

namespace OverviewExport {

namespace {

const QString kDateFormat = QStringLiteral("dd-MM-yyyy");

void appendTable(QString& out, const OverviewTable& table, const QString& indent) {
    QList<qsizetype> widths;
    for (const QString& heading : table.headings) {
        widths.append(heading.size());
    }
    for (const QStringList& row : table.rows) {
        for (int c = 0; c < row.size() && c < widths.size(); ++c) {
            widths[c] = qMax(widths.at(c), row.at(c).size());
        }
    }
    const auto line = [&](const QStringList& cells) {
        QString text = indent;
        for (int c = 0; c < cells.size(); ++c) {
            text +=
                c + 1 < cells.size() ? cells.at(c).leftJustified(widths.value(c)) + QStringLiteral("  ") : cells.at(c);
        }
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        out += text + QLatin1Char('\n');
    };
    line(table.headings);
    for (const QStringList& row : table.rows) {
        line(row);
    }
}

QString csvLine(const QStringList& fields) {
    QStringList quoted;
    quoted.reserve(fields.size());
    for (const QString& field : fields) {
        quoted.append(csvField(field));
    }
    return quoted.join(QLatin1Char(';')) + QStringLiteral("\r\n");
}

QStringList readerFields(const OverviewReader& reader) {
    return {QString::number(reader.number),        reader.code,  reader.name,
            OverviewTables::modeText(reader.mode), reader.datum, reader.changed ? QStringLiteral("X") : QString()};
}

QStringList holderFields(const OverviewHolder& holder) {
    return {QString::number(holder.number), holder.name, holder.keyCode, OverviewTables::geldigText(holder.geldig)};
}

}  // namespace

QString viewTitle(OverviewView view) {
    return view == OverviewView::PerReader ? QStringLiteral("Overzicht per lezer")
                                           : QStringLiteral("Overzicht per sleutelhouder");
}

QString text(const Overview& overview, OverviewView view, const QDate& date, const OverviewFilter& filter, int only) {
    QString out = QStringLiteral("%1 - %2 - %3\n").arg(viewTitle(view), overview.location, date.toString(kDateFormat));
    const QList<OverviewSection> sections = OverviewTables::sections(overview, view, filter, only);
    if (sections.isEmpty()) {
        out += view == OverviewView::PerReader ? QStringLiteral("\nGeen lezers.\n")
                                               : QStringLiteral("\nGeen sleutelhouders.\n");
    }
    const QString none = view == OverviewView::PerReader ? QStringLiteral("  Geen sleutelhouders met toegang.\n")
                                                         : QStringLiteral("  Geen lezers.\n");
    for (const OverviewSection& section : sections) {
        out += QLatin1Char('\n') + section.title + QLatin1Char('\n');
        if (section.granted.rows.isEmpty()) {
            out += none;
        } else {
            out += QStringLiteral("  Toegang:\n");
            appendTable(out, section.granted, QStringLiteral("    "));
        }
        if (!section.withdrawn.rows.isEmpty()) {
            out += QStringLiteral("  Ingetrokken:\n");
            appendTable(out, section.withdrawn, QStringLiteral("    "));
        }
    }
    return out;
}

QString csvField(const QString& value) {
    if (!value.contains(QLatin1Char(';')) && !value.contains(QLatin1Char('"')) && !value.contains(QLatin1Char('\n')) &&
        !value.contains(QLatin1Char('\r'))) {
        return value;
    }
    return QLatin1Char('"') + QString(value).replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

QByteArray csv(const Overview& overview, OverviewView view, const OverviewFilter& filter, int only) {
    // Each side's fields are quoted once: a location of 10,000 key holders on 128 readers is some
    // 400,000 rows of the same few texts.
    const auto joined = [](const QStringList& fields) {
        QStringList quoted;
        for (const QString& field : fields) {
            quoted.append(csvField(field));
        }
        return quoted.join(QLatin1Char(';'));
    };
    QStringList holderParts;
    holderParts.reserve(overview.holders.size());
    for (const OverviewHolder& holder : overview.holders) {
        holderParts.append(joined(holderFields(holder)));
    }
    QStringList readerParts;
    readerParts.reserve(overview.readers.size());
    for (const OverviewReader& reader : overview.readers) {
        readerParts.append(joined(view == OverviewView::PerReader
                                      ? readerFields(reader)
                                      : QStringList{QString::number(reader.number), reader.code, reader.name}));
    }
    const QString granted = QStringLiteral(";ja\r\n");
    const QString withdrawn = QStringLiteral(";ingetrokken\r\n");

    QString out;
    if (view == OverviewView::PerReader) {
        out += csvLine({QStringLiteral("Lezer"), QStringLiteral("Lezercode"), QStringLiteral("Lezernaam"),
                        QStringLiteral("Modus"), QStringLiteral("Gewijzigd"), QStringLiteral("X"),
                        QStringLiteral("Sleutelhouder"), QStringLiteral("Naam"), QStringLiteral("Sleutelcode"),
                        QStringLiteral("Geldig"), QStringLiteral("Toegang")});
        for (int r : OverviewTables::visibleReaders(overview, filter)) {
            const OverviewReader& reader = overview.readers.at(r);
            if (only != 0 && reader.number != only) {
                continue;
            }
            const bool all = filter.matches(reader);
            int rows = 0;
            for (const auto& [holders, access] :
                 {std::pair{&reader.granted, &granted}, {&reader.withdrawn, &withdrawn}}) {
                for (int h : *holders) {
                    if (all || filter.matches(overview.holders.at(h))) {
                        out.append(readerParts.at(r))
                            .append(QLatin1Char(';'))
                            .append(holderParts.at(h))
                            .append(*access);
                        ++rows;
                    }
                }
            }
            if (rows == 0) {
                out += readerParts.at(r) + QStringLiteral(";;;;;\r\n");
            }
        }
    } else {
        out += csvLine({QStringLiteral("Sleutelhouder"), QStringLiteral("Naam"), QStringLiteral("Sleutelcode"),
                        QStringLiteral("Geldig"), QStringLiteral("Lezer"), QStringLiteral("Lezercode"),
                        QStringLiteral("Lezernaam"), QStringLiteral("Toegang")});
        for (int h : OverviewTables::visibleHolders(overview, filter)) {
            const OverviewHolder& holder = overview.holders.at(h);
            if (only != 0 && holder.number != only) {
                continue;
            }
            for (const auto& [readers, access] :
                 {std::pair{&holder.granted, &granted}, {&holder.withdrawn, &withdrawn}}) {
                for (int r : *readers) {
                    out.append(holderParts.at(h)).append(QLatin1Char(';')).append(readerParts.at(r)).append(*access);
                }
            }
            if (holder.granted.isEmpty() && holder.withdrawn.isEmpty()) {
                out += holderParts.at(h) + QStringLiteral(";;;;\r\n");
            }
        }
    }
    return QByteArray("\xEF\xBB\xBF") + out.toUtf8();
}

}  // namespace OverviewExport
