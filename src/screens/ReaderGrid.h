#pragma once

#include <QDate>
#include <QModelIndex>
#include <QWidget>
#include <functional>

class QComboBox;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QTableView;
class ReaderListModel;
class Session;

// The reader list of the main window: the grid fg2 over autonoom.bst with its in-place editors
// txtedit, Combo1 and List1. Every change is written to the file at once.
class ReaderGrid : public QWidget {
    Q_OBJECT

public:
    explicit ReaderGrid(Session& session, QWidget* parent = nullptr);

    QTableView* view() const { return m_view; }
    ReaderListModel* model() const { return m_model; }

    // Refills the grid from the data folder. A read error is shown, but the same error only once in a
    // row, so a reload on every activation cannot turn into a stream of boxes.
    bool fg2_laden();
    // The row of the current cell (0 when there is none).
    int currentRow() const;
    // Asks for confirmation and deletes the current reader.
    void wiscmd_Click();
    // After a programming key was written: the current row's red cross goes, on screen and in the file.
    void clearCurrentFlag();
    // Commits an open editor into its cell (or hides a choice list).
    void Fg2_LeaveCell();
    bool editorOpen() const;

    // For tests: the date record_save writes.
    void setToday(const std::function<QDate()>& today) { m_today = today; }

Q_SIGNALS:
    // Column 0: build the reader's programming key.
    void programKeyRequested(int readerNumber);
    // Column 1: the access grid with this reader's column at the top.
    void accessRequested(int readerNumber, const QString& readerName);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Fg2_Click(const QModelIndex& index);
    void Fg2_DblClick(const QModelIndex& index);
    bool txtEdit_KeyPress(QKeyEvent* event);
    void List1_Click(QListWidgetItem* item);
    void showChoices(const QModelIndex& index, const QStringList& choices);
    void hideChoices();
    void Prog_Flag(int row);
    bool record_save(int row);
    void reportAndReload(const QString& error);
    QString dataFolder() const;

    Session& m_session;
    ReaderListModel* m_model;
    QTableView* m_view;
    QLineEdit* m_txtedit;
    QComboBox* m_combo1;
    QListWidget* m_list1;
    QPersistentModelIndex m_editCell;
    QPersistentModelIndex m_choiceCell;
    QString m_lastLoadError;
    std::function<QDate()> m_today;
};
