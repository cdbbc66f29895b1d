#pragma once

#include <QTableView>
#include <functional>

#include "records/Result.h"
#include "screens/WindowSettings.h"

class CellEditor;
class QFileSystemWatcher;
class SettingsStore;
class TickSource;
class Ticker;

// What the grids of record files share: a table over a model whose rows are records (and, in some
// grids, a last row for a new entry), the in-place editors, a reload that keeps the user's place and
// reports a failing file once, following the files that another program changes, deletes that are
// confirmed first, and column widths kept in the settings. A window configures it: which cells open
// which editor, and what a committed cell does.
class RecordGrid : public QTableView {
    Q_OBJECT

public:
    // How long the files must stay quiet after a change before the grid reads them again: one reload
    // for a burst of changes.
    static constexpr int kFollowQuietMs = 300;

    RecordGrid(const QString& objectName, QWidget* parent = nullptr);

    CellEditor* editor() const { return m_editor; }

    // A printable key typed on a cell asks for that cell's editor with the key (editRequested with the
    // typed text); otherwise typing on the grid does nothing. Tab always leaves the grid.
    void setTypingOpensEditor(bool on) { m_typingOpensEditor = on; }

    // Refills the model through load. The top row, the columns scrolled into view and the
    // current cell stay where they were, as far as the new rows reach. A failing load is shown, but the
    // same message only once in a row, so a reload at every activation cannot become a stream of boxes.
    bool reload(const std::function<Status()>& load);
    // Shows the error of an operation that changed nothing, then reloads through the last load given.
    void reportAndReload(const QString& error);

    // From now on the grid reloads through the last load whenever one of paths changes on disk, as
    // when another program saves or deletes, kFollowQuietMs after the last change; while an editor is
    // open, only once it has closed. A file replaced by a rename goes on being followed. Calling it
    // again with other paths follows those instead. ticks: what measures the quiet time; real time
    // when null (only the first call's counts).
    void followFiles(const QStringList& paths, TickSource* ticks = nullptr);

    // The delete question: Yes and No, the critical icon, No as the default. True on Yes.
    bool confirm(const QString& title, const QString& text);

    // The row of the current cell; 0 when there is none.
    int currentRow() const;

    void restoreColumnWidths(const SettingsStore& store, const QString& section, WindowSettings::MinWidthRule rule,
                             int lastColumn, const QString& defaultText);
    void saveColumnWidths(SettingsStore& store, const QString& section, int lastColumn) const;

Q_SIGNALS:
    // A double-click, F2 or Enter (typed empty), or a printable key typed on the cell (see
    // setTypingOpensEditor).
    void editRequested(const QModelIndex& cell, const QString& typed);
    // The current cell is about to move away from previous (an open editor has been committed already).
    void cellLeft(const QModelIndex& previous);

protected:
    // A key on the current cell (no editor open) that does what the mouse does there. F2 and Enter
    // ask for the editor a double-click opens (editRequested, typed empty). True when the key was used.
    virtual bool keyOnCell(const QModelIndex& cell, const QKeyEvent* event);

    void keyPressEvent(QKeyEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void followedFileChanged(const QString& path);
    void reloadFollowed();
    void watchFollowed();

    CellEditor* m_editor;
    bool m_typingOpensEditor = false;
    std::function<Status()> m_load;
    QString m_lastLoadError;
    QStringList m_followed;
    QFileSystemWatcher* m_watcher = nullptr;
    Ticker* m_followTimer = nullptr;
};
