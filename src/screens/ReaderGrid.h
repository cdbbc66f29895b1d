#pragma once

#include <QDate>
#include <functional>

#include "records/RecordFile.h"
#include "screens/RecordGrid.h"

class Reader;
class ReaderListModel;
class Session;

// The reader list of the main window: the grid fg2 over autonoom.bst. Name and code are typed in
// txtedit, LED, relay and relay time are picked from List1; every change is written to the file at once.
class ReaderGrid : public RecordGrid {
    Q_OBJECT

public:
    explicit ReaderGrid(Session& session, QWidget* parent = nullptr);

    QTableView* view() { return this; }
    ReaderListModel* model() const { return m_model; }

    // Refills the grid from the data folder's autonoom.bst, which it follows from then on.
    bool fg2_laden();
    // Asks for confirmation and deletes the current reader.
    void wiscmd_Click();
    // After a programming key was written for reader n: its red cross goes, in the file and on screen,
    // as long as the reader on disk is still as the key's image left it (built); else the cross stays,
    // the refusal is shown and the list read again.
    void clearFlag(int readerNumber, const LoadedRecord& built = {});
    // Commits an open editor into its cell (or hides a choice list).
    void Fg2_LeaveCell();
    bool editorOpen() const;

    // The second line of the delete question for reader number of readerCount: which reader goes, and
    // what happens to the readers behind it (shift: the setting verschuif of section opties is on).
    static QString deleteWarning(int number, const QString& name, int readerCount, bool shift);

    // For tests: the date record_save writes.
    void setToday(const std::function<QDate()>& today) { m_today = today; }

Q_SIGNALS:
    // Column 0: build the reader's programming key.
    void programKeyRequested(int readerNumber);
    // Column 1: the access grid with this reader's column at the top.
    void accessRequested(int readerNumber);

protected:
    // Space does what a click does on the flag, the number and the choice columns; F2 and Enter open
    // the choice list as well as txtedit.
    bool keyOnCell(const QModelIndex& cell, const QKeyEvent* event) override;

private:
    void Fg2_Click(const QModelIndex& index);
    void Fg2_DblClick(const QModelIndex& index);
    void cellChanged(const QModelIndex& cell, const QString& text);
    bool record_save(int row);
    // The log's line for a save of reader number; empty when the save changed nothing worth telling.
    QString changeText(int number, const Reader& before, const Reader& after) const;
    // The setting verschuif of section opties: a deleted reader's bit is taken out of every map.
    bool shiftsAccess() const;

    Session& m_session;
    ReaderListModel* m_model;
    std::function<QDate()> m_today;
};
