#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

#include "records/Result.h"
#include "screens/ReaderRow.h"

// The reader grid fg2: one row per record of autonoom.bst and one more for a new reader. The cells
// hold text; a row becomes a record only through ReaderRow. Each row keeps the record it was read
// from, so that a save or delete can tell whether another program changed it meanwhile.
class ReaderListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { ColFlag, ColNumber, ColName, ColKeyCount, ColCode, ColLed, ColRelay, ColTime, ColDate };
    static constexpr int kColumnCount = 9;
    static constexpr int kFlagPointSize = 20;

    explicit ReaderListModel(QObject* parent = nullptr);

    // fg2_laden: fills the rows from the data folder's autonoom.bst, then the new-reader row. On a read
    // error only the new-reader row stays, and false comes back with the message.
    Status fg2_laden(const QString& folder);

    QString cell(int row, int column) const;
    void setCell(int row, int column, const QString& text);
    ReaderRow readerRow(int row) const;
    // The number in column 1, 0 when it is not a number.
    int readerNumber(int row) const;
    // Whether row is the extra row after the last reader.
    bool isNewReaderRow(int row) const { return row == m_rows.size() - 1; }
    // After the new-reader row became a record: a fresh new-reader row below it.
    void appendNewReaderRow();

    // The record row was read from, as the file must still hold it; for the new-reader row, that there
    // is no record at its number yet.
    LoadedRecord loaded(int row) const;
    // The record row was read from; null for the new-reader row.
    const Reader* loadedReader(int row) const {
        return row >= 0 && row < m_loaded.size() ? &m_loaded.at(row) : nullptr;
    }
    // The record as row's save left it on disk; the new-reader row then stands for it.
    void setLoaded(int row, const Reader& reader);

    // Column 1 of one row drawn highlighted while a choice list is open over that row; -1 for none.
    void setHighlightedRow(int row);
    int highlightedRow() const { return m_highlightedRow; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    static QStringList rowTexts(int number, const Reader& reader);

    // What the new-reader row shows in its empty name cell when its number is beyond what a key holder's
    // maps can hold: such a reader can be kept in the list but never given access nor programmed.
    static QString beyondMapsText(int number);

private:
    static QStringList newReaderRow(int number);

    QList<QStringList> m_rows;
    QList<Reader> m_loaded;
    int m_highlightedRow = -1;
};
