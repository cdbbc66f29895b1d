#include "screens/ReaderListModel.h"

#include <QColor>
#include <QFont>
#include <QPalette>

#include "records/KeyHolder.h"

namespace {
// Fixed-width fields come back padded; the grid shows what was typed.
QString trimRight(const QString& text) {
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1).isSpace()) {
        --end;
    }
    return text.left(end);
}
}  // namespace

ReaderListModel::ReaderListModel(QObject* parent) : QAbstractTableModel(parent) {}

QStringList ReaderListModel::rowTexts(int number, const Reader& reader) {
    return {
        reader.isChanged() ? QStringLiteral("X") : QString(),
        QString::number(number),
        trimRight(reader.lezerNaam()),
        QString::number(reader.aantalsleutels()),
        trimRight(reader.lezerkode()),
        ledText(reader.mode()),
        relayText(reader.mode()),
        QString::number(reader.relayTime()),
        trimRight(reader.datum()),
    };
}

QString ReaderListModel::beyondMapsText(int number) {
    return QStringLiteral("lezer %1: geen toegang mogelijk, hoogstens %2 lezers")
        .arg(number)
        .arg(KeyHolder::kMaxReaders);
}

QStringList ReaderListModel::newReaderRow(int number) {
    QStringList row(kColumnCount);
    row[ColFlag] = QStringLiteral(" ");
    row[ColNumber] = QString::number(number);
    return row;
}

Status ReaderListModel::fg2_laden(const QString& folder) {
    beginResetModel();
    m_rows.clear();
    m_highlightedRow = -1;
    const Result<QList<Reader>> readers = ReaderFile(folder).readAll();
    m_loaded = readers.value;
    for (int i = 0; i < m_loaded.size(); ++i) {
        m_rows.append(rowTexts(i + 1, m_loaded.at(i)));
    }
    m_rows.append(newReaderRow(m_rows.size() + 1));
    endResetModel();
    return readers;
}

QString ReaderListModel::cell(int row, int column) const {
    if (row < 0 || row >= m_rows.size() || column < 0 || column >= kColumnCount) {
        return {};
    }
    return m_rows.at(row).at(column);
}

void ReaderListModel::setCell(int row, int column, const QString& text) {
    if (row < 0 || row >= m_rows.size() || column < 0 || column >= kColumnCount) {
        return;
    }
    if (m_rows.at(row).at(column) == text) {
        return;
    }
    m_rows[row][column] = text;
    const QModelIndex changed = index(row, column);
    Q_EMIT dataChanged(changed, changed);
}

ReaderRow ReaderListModel::readerRow(int row) const {
    ReaderRow r;
    r.flag = cell(row, ColFlag);
    r.number = cell(row, ColNumber);
    r.name = cell(row, ColName);
    r.keyCount = cell(row, ColKeyCount);
    r.code = cell(row, ColCode);
    r.led = cell(row, ColLed);
    r.relay = cell(row, ColRelay);
    r.relayTime = cell(row, ColTime);
    return r;
}

int ReaderListModel::readerNumber(int row) const {
    bool ok = false;
    const int n = cell(row, ColNumber).trimmed().toInt(&ok);
    return ok ? n : 0;
}

void ReaderListModel::appendNewReaderRow() {
    const int row = int(m_rows.size());
    beginInsertRows({}, row, row);
    m_rows.append(newReaderRow(row + 1));
    endInsertRows();
}

LoadedRecord ReaderListModel::loaded(int row) const {
    return row >= 0 && row < m_loaded.size() ? LoadedRecord(m_loaded.at(row)) : LoadedRecord::none();
}

void ReaderListModel::setLoaded(int row, const Reader& reader) {
    if (row >= 0 && row < m_loaded.size()) {
        m_loaded[row] = reader;
    } else if (row == m_loaded.size()) {
        m_loaded.append(reader);
    }
}

void ReaderListModel::setHighlightedRow(int row) {
    if (row == m_highlightedRow) {
        return;
    }
    const int old = m_highlightedRow;
    m_highlightedRow = row;
    for (int r : {old, row}) {
        if (r >= 0 && r < m_rows.size()) {
            Q_EMIT dataChanged(index(r, ColNumber), index(r, ColNumber));
        }
    }
}

int ReaderListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ReaderListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant ReaderListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size() || index.column() >= kColumnCount) {
        return {};
    }
    const bool flagColumn = index.column() == ColFlag;
    const bool highlighted = index.column() == ColNumber && index.row() == m_highlightedRow;
    const QString& text = m_rows.at(index.row()).at(index.column());
    const int number = readerNumber(index.row());
    // Said before a name is typed: the row would become a reader that no key can open.
    const bool beyondMaps = number > KeyHolder::kMaxReaders;
    const bool beyondHint = beyondMaps && index.column() == ColName && isNewReaderRow(index.row()) && text.isEmpty();
    switch (role) {
        case Qt::DisplayRole:
            return beyondHint ? beyondMapsText(number) : text;
        case Qt::EditRole:
            return text;
        case Qt::ToolTipRole:
            if (beyondMaps && (index.column() == ColNumber || index.column() == ColName)) {
                return QStringLiteral(
                           "Lezer %1 kan geen toegang krijgen en niet geprogrammeerd worden: een "
                           "sleutelhouder heeft plaats voor de lezers 1 tot en met %2.")
                    .arg(number)
                    .arg(KeyHolder::kMaxReaders);
            }
            return {};
        case Qt::ForegroundRole:
            if (flagColumn) {
                return QColor(Qt::red);
            }
            if (highlighted) {
                return QColor(Qt::white);
            }
            if (beyondHint) {
                return QPalette().color(QPalette::Disabled, QPalette::Text);
            }
            return {};
        case Qt::BackgroundRole:
            // The highlight colour value FF0000 is blue: the value counts blue, green, red.
            return highlighted ? QVariant(QColor(0, 0, 255)) : QVariant();
        case Qt::FontRole:
            if (flagColumn) {
                QFont font;
                font.setPointSize(kFlagPointSize);
                return font;
            }
            return {};
        case Qt::TextAlignmentRole:
            if (flagColumn) {
                return int(Qt::AlignCenter);
            }
            return {};
        default:
            return {};
    }
}

bool ReaderListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole || index.row() >= m_rows.size()) {
        return false;
    }
    setCell(index.row(), index.column(), value.toString());
    return true;
}

QVariant ReaderListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) {
        return {};
    }
    if (orientation == Qt::Vertical) {
        return section + 1;
    }
    static const char* const kHeaders[kColumnCount] = {"",    "",       "LezerNaam", "aantalsleutels", "lezerkode",
                                                       "LED", "Relais", "Tijd",      "Datum"};
    if (section < 0 || section >= kColumnCount) {
        return {};
    }
    return QString::fromLatin1(kHeaders[section]);
}

Qt::ItemFlags ReaderListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
