#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>
#include <functional>

#include "records/KeyHolder.h"
#include "records/Result.h"

// The access grid fg3: one row per key holder of asleutel.bst, five text columns and one column per
// reader of autonoom.bst. It keeps the records themselves and derives every cell when it is asked,
// so 10,000 holders against 128 readers cost the records and nothing per cell. A sort only reorders
// a list of row numbers.
class AccessGridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { ColNumber, ColNaam, ColAdres, ColPlaats, ColVrijetekst, kFirstReaderColumn };

    enum class Colour { White, Green, Blue };

    explicit AccessGridModel(QObject* parent = nullptr);

    // fg3_laden: every reader and every key holder of the folder, each file in one read. The order
    // the user sorted by is kept. On a read error the grid is left empty and the message comes back.
    Status fg3_laden(const QString& folder);

    // The reader number (from 0) of a column, -1 for the text columns.
    static int readerOfColumn(int column) { return column >= kFirstReaderColumn ? column - kFirstReaderColumn : -1; }
    QString readerName(int reader) const;

    // The key holder's record number (from 1) shown in row.
    int recordNumber(int row) const;
    // The record as it was read for row.
    const KeyHolder& holder(int row) const;
    // The record read back after a change; the row repaints.
    void setHolder(int row, const KeyHolder& holder);

    // Blue (wijziging) wins over green (toegang); a reader beyond the maps is white.
    Colour colour(int row, int reader) const;

    // Column 1 as text, ascending: Dutch collation, letter case aside; equal names keep their order.
    void sortByName();
    // Column 0, ascending: file order.
    void sortByNumber();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QString text(const KeyHolder& holder, int column) const;
    void applyNameOrder();
    void reorder(const std::function<void()>& sort);

    QStringList m_readerNames;
    QList<KeyHolder> m_holders;
    // Row r shows m_holders[m_order[r]].
    QList<int> m_order;
    bool m_sortedByName = false;
};
