#include "screens/AccessGridModel.h"

#include <QCollator>
#include <QColor>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <numeric>
#include <vector>

#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"

namespace {

// Fixed-width fields come back padded; the grid shows what was typed.
QString trimRight(const QString& text) {
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1).isSpace()) {
        --end;
    }
    return text.left(end);
}

const QColor kGreen(0x00, 0xFF, 0x00);
const QColor kBlue(0x00, 0x00, 0xFF);

}  // namespace

AccessGridModel::AccessGridModel(QObject* parent) : QAbstractTableModel(parent) {}

Status AccessGridModel::fg3_laden(const QString& folder) {
    Result<QList<Reader>> readers = ReaderFile(folder).readAll();
    Result<QList<KeyHolder>> holders;
    if (readers) {
        holders = KeyHolderFile(folder).readAll();
    }

    beginResetModel();
    m_readerNames.clear();
    m_holders.clear();
    m_order.clear();
    if (readers && holders) {
        m_readerNames.reserve(readers.value.size());
        for (const Reader& reader : std::as_const(readers.value)) {
            m_readerNames.append(reader.lezerNaam().trimmed());
        }
        m_holders = std::move(holders.value);
        m_order.resize(m_holders.size());
        std::iota(m_order.begin(), m_order.end(), 0);
        if (m_sortedByName) {
            applyNameOrder();
        }
    }
    endResetModel();
    return readers ? Status(holders) : Status(readers);
}

QString AccessGridModel::readerName(int reader) const {
    return reader >= 0 && reader < m_readerNames.size() ? m_readerNames.at(reader) : QString();
}

int AccessGridModel::recordNumber(int row) const {
    return row >= 0 && row < m_order.size() ? m_order.at(row) + 1 : 0;
}

const KeyHolder& AccessGridModel::holder(int row) const {
    return m_holders.at(m_order.at(row));
}

void AccessGridModel::setHolder(int row, const KeyHolder& holder) {
    if (row < 0 || row >= m_order.size()) {
        return;
    }
    m_holders[m_order.at(row)] = holder;
    Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
}

AccessGridModel::Colour AccessGridModel::colour(int row, int reader) const {
    if (reader < 0 || reader >= KeyHolder::kMaxReaders) {
        return Colour::White;
    }
    auto isSet = [reader](QByteArray map) {
        int mode = 0;
        return BitFind(map, reader, mode).ok() && mode == 3;
    };
    const KeyHolder& shown = holder(row);
    if (isSet(shown.wijziging())) {
        return Colour::Blue;
    }
    return isSet(shown.toegang()) ? Colour::Green : Colour::White;
}

void AccessGridModel::sortByName() {
    reorder([this] {
        m_sortedByName = true;
        applyNameOrder();
    });
}

void AccessGridModel::sortByNumber() {
    reorder([this] {
        m_sortedByName = false;
        std::iota(m_order.begin(), m_order.end(), 0);
    });
}

void AccessGridModel::applyNameOrder() {
    QCollator collator(QLocale(QLocale::Dutch, QLocale::Netherlands));
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // One key per holder, made once: comparing keys is a byte compare, comparing names is not.
    std::vector<QCollatorSortKey> keys;
    keys.reserve(m_holders.size());
    for (const KeyHolder& holder : std::as_const(m_holders)) {
        keys.push_back(collator.sortKey(holder.naam().trimmed()));
    }
    std::stable_sort(m_order.begin(), m_order.end(), [&keys](int a, int b) { return keys[a].compare(keys[b]) < 0; });
}

// The rows move; an open editor and the current cell stay with their holder.
void AccessGridModel::reorder(const std::function<void()>& sort) {
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QList<int> before = m_order;
    sort();
    QList<int> rowOf(m_order.size());
    for (int row = 0; row < m_order.size(); ++row) {
        rowOf[m_order.at(row)] = row;
    }
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& old : from) {
        to.append(index(rowOf.at(before.at(old.row())), old.column()));
    }
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

int AccessGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_order.size());
}

int AccessGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kFirstReaderColumn + int(m_readerNames.size());
}

QString AccessGridModel::text(const KeyHolder& holder, int column) const {
    switch (column) {
        case ColNaam:
            return trimRight(holder.naam());
        case ColAdres:
            return trimRight(holder.adres());
        case ColPlaats:
            return trimRight(holder.woonplaats());
        case ColVrijetekst:
            return trimRight(holder.vrijetekst());
        default:
            return {};
    }
}

QVariant AccessGridModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    const int row = index.row();
    const int column = index.column();
    const int reader = readerOfColumn(column);
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            if (column == ColNumber) {
                return QStringLiteral(" %1").arg(recordNumber(row));
            }
            return reader < 0 ? QVariant(text(holder(row), column)) : QVariant();
        case Qt::BackgroundRole:
            if (reader < 0) {
                return {};
            }
            switch (colour(row, reader)) {
                case Colour::Green:
                    return kGreen;
                case Colour::Blue:
                    return kBlue;
                case Colour::White:
                    // The system's window background: white in any ordinary theme.
                    return QGuiApplication::palette().color(QPalette::Base);
            }
            return {};
        case Qt::ToolTipRole:
            if (reader < 0) {
                return {};
            }
            return QStringLiteral("%1 - %2").arg(trimRight(holder(row).naam()), readerName(reader));
        default:
            return {};
    }
}

QVariant AccessGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    const int reader = readerOfColumn(section);
    if (role == Qt::TextAlignmentRole && reader >= 0) {
        // A narrow column shows the beginning of the name, not its middle.
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) {
        return {};
    }
    if (reader >= 0) {
        return role == Qt::ToolTipRole ? QStringLiteral("Lezer %1: %2").arg(reader + 1).arg(readerName(reader))
                                       : readerName(reader);
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
        case ColNaam:
            return QStringLiteral("Naam");
        case ColAdres:
            return QStringLiteral("Adres");
        case ColPlaats:
            return QStringLiteral("Plaats");
        default:
            return QString();
    }
}

Qt::ItemFlags AccessGridModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
