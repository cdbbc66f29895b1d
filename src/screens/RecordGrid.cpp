#include "screens/RecordGrid.h"

#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>

#include "screens/CellEditor.h"
#include "screens/MessageBox.h"
#include "screens/Ticker.h"

RecordGrid::RecordGrid(const QString& objectName, QWidget* parent)
    : QTableView(parent), m_editor(new CellEditor(this)) {
    setObjectName(objectName);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setWordWrap(false);
    // Tab goes on to the window's buttons; the arrow keys move between cells.
    setTabKeyNavigation(false);
    verticalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    connect(this, &QTableView::doubleClicked, this, [this](const QModelIndex& cell) {
        if (cell.isValid()) {
            Q_EMIT editRequested(cell, QString());
        }
    });
}

bool RecordGrid::reload(const std::function<Status()>& load) {
    m_load = load;
    m_editor->close();
    const QModelIndex current = currentIndex();
    const int top = rowAt(0);
    const int sideways = horizontalScrollBar()->value();

    const Status loaded = load();

    const int lastRow = model()->rowCount() - 1;
    // Scroll ranges follow the new rows only after a layout, which the view would otherwise delay.
    doItemsLayout();
    // The current cell first: setting it scrolls to it, and it may be out of sight.
    if (current.isValid() && lastRow >= 0) {
        setCurrentIndex(model()->index(qMin(current.row(), lastRow), current.column()));
    }
    if (top >= 0 && lastRow >= 0) {
        scrollTo(model()->index(qMin(top, lastRow), 0), QAbstractItemView::PositionAtTop);
    }
    // Finding the rows scrolls to column 0; a wide grid stays where the user had it.
    horizontalScrollBar()->setValue(sideways);

    if (loaded) {
        m_lastLoadError.clear();
        return true;
    }
    if (loaded.error != m_lastLoadError) {
        m_lastLoadError = loaded.error;
        MessageBox::error(this, loaded.error);
    }
    return false;
}

void RecordGrid::reportAndReload(const QString& error) {
    MessageBox::error(this, error);
    m_lastLoadError.clear();
    if (m_load) {
        reload(m_load);
    }
}

void RecordGrid::followFiles(const QStringList& paths, TickSource* ticks) {
    if (!m_watcher) {
        m_watcher = new QFileSystemWatcher(this);
        m_followTimer = new Ticker(QStringLiteral("followTimer"), kFollowQuietMs, true, ticks, this);
        connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &RecordGrid::followedFileChanged);
        connect(m_followTimer, &Ticker::timeout, this, &RecordGrid::reloadFollowed);
    }
    if (paths != m_followed) {
        if (!m_watcher->files().isEmpty()) {
            m_watcher->removePaths(m_watcher->files());
        }
        m_followed = paths;
    }
    watchFollowed();
}

void RecordGrid::watchFollowed() {
    for (const QString& path : m_followed) {
        if (!m_watcher->files().contains(path) && QFileInfo::exists(path)) {
            m_watcher->addPath(path);
        }
    }
}

void RecordGrid::followedFileChanged(const QString& path) {
    // Watched is the file that was there; a rename puts another in its place, which is watched from now.
    if (m_watcher->files().contains(path)) {
        m_watcher->removePath(path);
    }
    watchFollowed();
    m_followTimer->start();
}

void RecordGrid::reloadFollowed() {
    watchFollowed();
    if (m_editor->isOpen()) {
        // What is typed is not thrown away: the reload comes once the editor has closed.
        m_followTimer->start();
        return;
    }
    if (m_load) {
        reload(m_load);
    }
}

bool RecordGrid::confirm(const QString& title, const QString& text) {
    return MessageBox::show(this, QMessageBox::Critical, title, text, QMessageBox::Yes | QMessageBox::No,
                            QMessageBox::No) == QMessageBox::Yes;
}

int RecordGrid::currentRow() const {
    const QModelIndex current = currentIndex();
    return current.isValid() ? current.row() : 0;
}

void RecordGrid::restoreColumnWidths(const SettingsStore& store, const QString& section,
                                     WindowSettings::MinWidthRule rule, int lastColumn, const QString& defaultText) {
    WindowSettings::restoreColumnWidths(horizontalHeader(), store, section, rule, 0, lastColumn, defaultText);
}

void RecordGrid::saveColumnWidths(SettingsStore& store, const QString& section, int lastColumn) const {
    WindowSettings::saveColumnWidths(horizontalHeader(), store, section, 0, lastColumn);
}

bool RecordGrid::keyOnCell(const QModelIndex& cell, const QKeyEvent* event) {
    const bool plain = !(event->modifiers() & ~Qt::KeypadModifier);
    const int key = event->key();
    if (plain && (key == Qt::Key_F2 || key == Qt::Key_Return || key == Qt::Key_Enter)) {
        Q_EMIT editRequested(cell, QString());
        return true;
    }
    return false;
}

void RecordGrid::keyPressEvent(QKeyEvent* event) {
    if (currentIndex().isValid() && !m_editor->isOpen() && keyOnCell(currentIndex(), event)) {
        return;
    }
    const QString text = event->text();
    const bool printable = !text.isEmpty() && text.at(0).isPrint() &&
                           !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (m_typingOpensEditor && printable && currentIndex().isValid()) {
        Q_EMIT editRequested(currentIndex(), text);
        return;
    }
    QTableView::keyPressEvent(event);
}

void RecordGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    // Moving onto the cell under the open editor (its own click) leaves nothing.
    if (current != m_editor->cell()) {
        m_editor->commit();
        if (previous.isValid()) {
            Q_EMIT cellLeft(previous);
        }
    }
    QTableView::currentChanged(current, previous);
}

void RecordGrid::scrollContentsBy(int dx, int dy) {
    // The editors sit on the viewport; they would stay behind while the cells scroll away.
    m_editor->commit();
    QTableView::scrollContentsBy(dx, dy);
}
