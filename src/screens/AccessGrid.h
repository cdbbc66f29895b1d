#pragma once

#include <QDate>
#include <functional>

#include "screens/AccessGridModel.h"
#include "screens/RecordGrid.h"

class KeyHolderFile;
class QLineEdit;
class Session;

// The access grid fg3: key holders against readers. A press on a reader cell steps it white, green,
// blue, white and marks the reader for a new programming key; names, addresses, places and free text
// are typed in txtedit; a heading click sorts, and a reader's heading shows its full name.
class AccessGrid : public RecordGrid {
    Q_OBJECT

public:
    explicit AccessGrid(Session& session, QWidget* parent = nullptr);

    AccessGridModel* model() const { return m_model; }
    QLineEdit* locatietxt() const { return m_locatietxt; }

    // Refills the grid from the data folder, keeping the user's place.
    bool fg3_laden();

    // The first visible row counted from 1, as the setting toprow holds it.
    int topRow() const;
    // Scrolls row n (from 1) to the top; ignored unless n is below the row count (the last row never
    // goes to the top).
    void setTopRow(int n);

    // Reader number n (from 1): its column scrolled into view and its full name over its heading.
    void showReader(int readerNumber);

    // For tests: the date the reader marks get.
    void setToday(const std::function<QDate()>& today) { m_today = today; }

Q_SIGNALS:
    // A click in column 0: the details of the key holder with this record number.
    void detailsRequested(int record);

protected:
    // Space steps a reader cell or opens the details, as a click does.
    bool keyOnCell(const QModelIndex& cell, const QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void updateGeometries() override;

private:
    void stepCell(const QModelIndex& cell);
    void Fg3_Click(const QModelIndex& cell);
    void Fg3_DblClick(const QModelIndex& cell);
    void headingClicked(int column);
    void showLocatietxt(int column);
    void placeLocatietxt();
    void record_save(const QModelIndex& cell, const QString& text);

    Session& m_session;
    AccessGridModel* m_model;
    QLineEdit* m_locatietxt;
    // The column whose heading Locatietxt covers, and the left column when it was shown: scrolling
    // away from that hides Locatietxt.
    int m_locatieColumn = -1;
    int m_locatieLeftColumn = -1;
    std::function<QDate()> m_today;
};
