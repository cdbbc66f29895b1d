#include "reports/Overview.h"

#include <QDir>

#include "records/KeyHolderFile.h"
#include "records/LocationFile.h"
#include "records/ReaderFile.h"

namespace {

// Zero bytes of a field never written read as blanks already; what is left of them here is padding.
QString trimmed(const QString& field) {
    return QString(field).replace(QChar(0), QChar(u' ')).trimmed();
}

bool hasBit(const QByteArray& map, int reader) {
    return (static_cast<quint8>(map.at(reader / 8)) >> (reader % 8)) & 1;
}

QString numberText(int n) {
    return QString::number(n);
}

}  // namespace

Overview Overview::build(const QList<Reader>& readers, const QList<KeyHolder>& holders) {
    Overview overview;
    overview.readers.reserve(readers.size());
    for (int r = 0; r < readers.size(); ++r) {
        const Reader& reader = readers.at(r);
        OverviewReader entry;
        entry.number = r + 1;
        entry.code = trimmed(reader.lezerkode());
        entry.name = trimmed(reader.lezerNaam());
        entry.mode = reader.mode();
        entry.datum = trimmed(reader.datum());
        entry.changed = reader.isChanged();
        overview.readers.append(entry);
    }
    const int mapped = qMin<int>(int(readers.size()), KeyHolder::kMaxReaders);
    overview.holders.reserve(holders.size());
    for (int h = 0; h < holders.size(); ++h) {
        const KeyHolder& holder = holders.at(h);
        OverviewHolder entry;
        entry.number = h + 1;
        entry.name = trimmed(holder.naam());
        entry.keyCode = trimmed(holder.sleutelcode());
        entry.geldig = holder.geldig() == QLatin1String("1");
        const QByteArray toegang = holder.toegang();
        const QByteArray wijziging = holder.wijziging();
        for (int r = 0; r < mapped; ++r) {
            // Blue overrides green in the grid: a withdrawn reader is withdrawn whatever toegang says.
            if (hasBit(wijziging, r)) {
                entry.withdrawn.append(r);
                overview.readers[r].withdrawn.append(h);
            } else if (hasBit(toegang, r)) {
                entry.granted.append(r);
                overview.readers[r].granted.append(h);
            }
        }
        overview.holders.append(entry);
    }
    return overview;
}

Result<Overview> Overview::load(const QString& dataFolder, const QString& location) {
    const Result<QList<Reader>> readers = ReaderFile(dataFolder).readAll();
    if (!readers) {
        return Status(readers);
    }
    const Result<QList<KeyHolder>> holders = KeyHolderFile(dataFolder).readAll();
    if (!holders) {
        return Status(holders);
    }
    Overview overview = build(readers.value, holders.value);
    overview.folder = dataFolder;
    overview.location = location.trimmed().isEmpty() ? QDir(dataFolder).dirName() : location.trimmed();
    return overview;
}

QString locationNameOf(const QString& bestandenFolder, const QString& subdir) {
    const QString folder = subdir.trimmed();
    if (folder.isEmpty()) {
        return {};
    }
    LocationFile file(bestandenFolder);
    const Result<QList<Location>> locations = file.readAll();
    for (const Location& location : locations.value) {
        if (location.text(Location::Map).trimmed().compare(folder, Qt::CaseInsensitive) == 0) {
            return location.text(Location::Naam).trimmed();
        }
    }
    return {};
}

bool OverviewFilter::matches(const OverviewHolder& holder) const {
    return m_text.isEmpty() || holder.name.contains(m_text, Qt::CaseInsensitive) ||
           holder.keyCode.contains(m_text, Qt::CaseInsensitive);
}

bool OverviewFilter::matches(const OverviewReader& reader) const {
    return m_text.isEmpty() || reader.name.contains(m_text, Qt::CaseInsensitive) ||
           reader.code.contains(m_text, Qt::CaseInsensitive);
}

namespace OverviewTables {

QString modeText(quint8 mode) {
    return ledText(mode) + QStringLiteral(", ") + relayText(mode);
}

QString geldigText(bool geldig) {
    return geldig ? QStringLiteral("ja") : QStringLiteral("nee");
}

namespace {

bool anyHolderMatches(const Overview& overview, const QList<int>& holders, const OverviewFilter& filter) {
    for (int h : holders) {
        if (filter.matches(overview.holders.at(h))) {
            return true;
        }
    }
    return false;
}

QStringList holderRow(const OverviewHolder& holder) {
    return {numberText(holder.number), holder.name, holder.keyCode, geldigText(holder.geldig)};
}

QStringList readerRow(const OverviewReader& reader) {
    return {numberText(reader.number), reader.code, reader.name};
}

QString readerTitle(const OverviewReader& reader) {
    QString title = QStringLiteral("Lezer %1").arg(reader.number);
    if (!reader.code.isEmpty()) {
        title += QStringLiteral(" (%1)").arg(reader.code);
    }
    if (!reader.name.isEmpty()) {
        title += QStringLiteral(" %1").arg(reader.name);
    }
    title += QStringLiteral(" - %1, gewijzigd %2")
                 .arg(modeText(reader.mode), reader.datum.isEmpty() ? QStringLiteral("-") : reader.datum);
    if (reader.changed) {
        title += QStringLiteral(", X: nieuwe programmeersleutel nodig");
    }
    if (reader.number > KeyHolder::kMaxReaders) {
        title += QStringLiteral(", buiten de toegangslijsten");
    }
    return title;
}

QString holderTitle(const OverviewHolder& holder) {
    QString title = QStringLiteral("Sleutelhouder %1").arg(holder.number);
    if (!holder.name.isEmpty()) {
        title += QStringLiteral(" %1").arg(holder.name);
    }
    title += QStringLiteral(" - sleutelcode %1, geldig %2")
                 .arg(holder.keyCode.isEmpty() ? QStringLiteral("geen") : holder.keyCode, geldigText(holder.geldig));
    return title;
}

}  // namespace

QList<int> visibleReaders(const Overview& overview, const OverviewFilter& filter) {
    QList<int> visible;
    for (int r = 0; r < overview.readers.size(); ++r) {
        const OverviewReader& reader = overview.readers.at(r);
        if (filter.isEmpty() || filter.matches(reader) || anyHolderMatches(overview, reader.granted, filter) ||
            anyHolderMatches(overview, reader.withdrawn, filter)) {
            visible.append(r);
        }
    }
    return visible;
}

QList<int> visibleHolders(const Overview& overview, const OverviewFilter& filter) {
    QList<int> visible;
    for (int h = 0; h < overview.holders.size(); ++h) {
        if (filter.matches(overview.holders.at(h))) {
            visible.append(h);
        }
    }
    return visible;
}

OverviewTable readerList(const Overview& overview, const QList<int>& readers) {
    OverviewTable table{
        {QStringLiteral("Nr"), QStringLiteral("Code"), QStringLiteral("Naam"), QStringLiteral("Modus"),
         QStringLiteral("Gewijzigd"), QStringLiteral("X"), QStringLiteral("Toegang"), QStringLiteral("Ingetrokken")},
        {}};
    table.rows.reserve(readers.size());
    for (int r : readers) {
        const OverviewReader& reader = overview.readers.at(r);
        table.rows.append({numberText(reader.number), reader.code, reader.name, modeText(reader.mode), reader.datum,
                           reader.changed ? QStringLiteral("X") : QString(), numberText(int(reader.granted.size())),
                           numberText(int(reader.withdrawn.size()))});
    }
    return table;
}

OverviewTable holderList(const Overview& overview, const QList<int>& holders) {
    OverviewTable table{{QStringLiteral("Nr"), QStringLiteral("Naam"), QStringLiteral("Sleutelcode"),
                         QStringLiteral("Geldig"), QStringLiteral("Lezers"), QStringLiteral("Ingetrokken")},
                        {}};
    table.rows.reserve(holders.size());
    for (int h : holders) {
        const OverviewHolder& holder = overview.holders.at(h);
        table.rows.append(holderRow(holder)
                          << numberText(int(holder.granted.size())) << numberText(int(holder.withdrawn.size())));
    }
    return table;
}

OverviewTable holdersOf(const Overview& overview, int reader, bool withdrawn, const OverviewFilter& filter) {
    OverviewTable table{
        {QStringLiteral("Nr"), QStringLiteral("Naam"), QStringLiteral("Sleutelcode"), QStringLiteral("Geldig")}, {}};
    if (reader < 0 || reader >= overview.readers.size()) {
        return table;
    }
    const OverviewReader& entry = overview.readers.at(reader);
    const bool all = filter.matches(entry);
    for (int h : withdrawn ? entry.withdrawn : entry.granted) {
        const OverviewHolder& holder = overview.holders.at(h);
        if (all || filter.matches(holder)) {
            table.rows.append(holderRow(holder));
        }
    }
    return table;
}

OverviewTable readersOf(const Overview& overview, int holder, bool withdrawn) {
    OverviewTable table{{QStringLiteral("Nr"), QStringLiteral("Code"), QStringLiteral("Naam")}, {}};
    if (holder < 0 || holder >= overview.holders.size()) {
        return table;
    }
    const OverviewHolder& entry = overview.holders.at(holder);
    for (int r : withdrawn ? entry.withdrawn : entry.granted) {
        table.rows.append(readerRow(overview.readers.at(r)));
    }
    return table;
}

QList<OverviewSection> sections(const Overview& overview, OverviewView view, const OverviewFilter& filter, int only) {
    QList<OverviewSection> result;
    if (view == OverviewView::PerReader) {
        for (int r : visibleReaders(overview, filter)) {
            const OverviewReader& reader = overview.readers.at(r);
            if (only == 0 || reader.number == only) {
                result.append(
                    {readerTitle(reader), holdersOf(overview, r, false, filter), holdersOf(overview, r, true, filter)});
            }
        }
    } else {
        for (int h : visibleHolders(overview, filter)) {
            const OverviewHolder& holder = overview.holders.at(h);
            if (only == 0 || holder.number == only) {
                result.append({holderTitle(holder), readersOf(overview, h, false), readersOf(overview, h, true)});
            }
        }
    }
    return result;
}

}  // namespace OverviewTables
