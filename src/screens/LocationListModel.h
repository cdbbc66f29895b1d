#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

#include "records/Location.h"
#include "records/RecordFile.h"
#include "records/Result.h"

class LocationFile;

// The location grid fg1: one row per record of locatie.bst, column 0 its number and columns 1..9 its
// texts in their full field width, trailing blanks included; the last row is numbered for a new
// location. The cells hold text; a row becomes a record only when it is saved.
class LocationListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    static constexpr int kColumnCount = 10;

    explicit LocationListModel(QObject* parent = nullptr);

    // FG1_laden: the file's records, then the new-entry row. A file that cannot be read leaves no row at
    // all, so nothing can be typed over records that were not shown.
    Status FG1_laden(LocationFile& file);

    QString cell(int row, int column) const;
    void setCell(int row, int column, const QString& text);
    // The number in column 0; 0 when there is none.
    int recordNumber(int row) const;
    bool isNewEntryRow(int row) const { return row == m_rows.size() - 1; }
    // After the new-entry row was saved: a fresh one below it, with the next number.
    void appendNewEntryRow();
    // What a save writes: the row's columns 1..9 in file order.
    Location::Texts fieldTexts(int row) const;
    // The record the row was read as (or last saved as): a change is refused when the file no longer
    // holds it. The new-entry row holds none.
    LoadedRecord loaded(int row) const { return m_loaded.value(row); }
    void setLoaded(int row, const Location& location);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    static QStringList newEntryRow(int number);

    QList<QStringList> m_rows;
    QList<LoadedRecord> m_loaded;
};
