#include "screens/LocationListModel.h"

#include "records/LocationFile.h"
#include "screens/LocationColumns.h"

namespace {
// Column 0 writes a record number with a blank where a sign would stand: " 7".
QString numberText(int number) {
    return u' ' + QString::number(number);
}
}  // namespace

LocationListModel::LocationListModel(QObject* parent) : QAbstractTableModel(parent) {}

QStringList LocationListModel::newEntryRow(int number) {
    QStringList row(kColumnCount);
    row[0] = numberText(number);
    return row;
}

Status LocationListModel::FG1_laden(LocationFile& file) {
    beginResetModel();
    m_rows.clear();
    m_loaded.clear();
    const Result<QList<Location>> locations = file.readAll();
    if (locations) {
        for (const Location& location : locations.value) {
            m_rows.append(QStringList{numberText(int(m_rows.size()) + 1)} + LocationColumns::gridTexts(location));
            m_loaded.append(location);
        }
        m_rows.append(newEntryRow(int(m_rows.size()) + 1));
        m_loaded.append(LoadedRecord::none());
    }
    endResetModel();
    return locations;
}

QString LocationListModel::cell(int row, int column) const {
    if (row < 0 || row >= m_rows.size() || column < 0 || column >= kColumnCount) {
        return {};
    }
    return m_rows.at(row).at(column);
}

void LocationListModel::setCell(int row, int column, const QString& text) {
    if (row < 0 || row >= m_rows.size() || column < 0 || column >= kColumnCount || m_rows.at(row).at(column) == text) {
        return;
    }
    m_rows[row][column] = text;
    const QModelIndex changed = index(row, column);
    Q_EMIT dataChanged(changed, changed);
}

int LocationListModel::recordNumber(int row) const {
    bool ok = false;
    const int n = cell(row, 0).trimmed().toInt(&ok);
    return ok ? n : 0;
}

void LocationListModel::appendNewEntryRow() {
    const int row = int(m_rows.size());
    beginInsertRows({}, row, row);
    m_rows.append(newEntryRow(row + 1));
    m_loaded.append(LoadedRecord::none());
    endInsertRows();
}

void LocationListModel::setLoaded(int row, const Location& location) {
    if (row >= 0 && row < m_loaded.size()) {
        m_loaded[row] = location;
    }
}

Location::Texts LocationListModel::fieldTexts(int row) const {
    if (row < 0 || row >= m_rows.size()) {
        return {};
    }
    return LocationColumns::fieldTexts(m_rows.at(row).mid(1));
}

int LocationListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int LocationListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant LocationListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size() || index.column() >= kColumnCount) {
        return {};
    }
    // Every column, the number column too, is aligned left: the view's default.
    if (role == Qt::DisplayRole || role == Qt::EditRole) {
        return m_rows.at(index.row()).at(index.column());
    }
    return {};
}

QVariant LocationListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal || section < 0 || section >= kColumnCount) {
        return {};
    }
    static const char* const kHeaders[kColumnCount] = {
        "",          "Locatie",    "Adres",    "Plaats", "Telefoonnr.", "Contactpersoon",
        "Mobielnr.", "Fax nummer", "Internet", "Map"};
    return QString::fromLatin1(kHeaders[section]);
}

Qt::ItemFlags LocationListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
