#include "screens/LocationWindow.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPushButton>
#include <QScopedValueRollback>

#include "records/ChangeLog.h"
#include "records/DataFolder.h"
#include "records/FolderName.h"
#include "screens/CellEditor.h"
#include "screens/LocationColumns.h"
#include "screens/LocationListModel.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/RecordGrid.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/WindowSettings.h"

namespace {
const QString kSection = QStringLiteral("locatiefrm");
const QString kGridSection = QStringLiteral("FG1");
constexpr int kLastWideColumn = 5;
constexpr int kLastColumn = 9;
constexpr int kFolderNameLength = 12;

// The grid keeps the window's width less 400 twips and the height it was laid out with.
constexpr int kGridLeftTwips = 200;
constexpr int kGridMarginsTwips = 400;
constexpr int kGridTopTwips = 120;
constexpr int kGridHeightTwips = 2400;
constexpr int kButtonGapTwips = 120;
constexpr int kRowPaddingPixels = 6;

int nameColumn() {
    return LocationColumns::gridColumn(Location::Naam);
}

int mapColumn() {
    return LocationColumns::gridColumn(Location::Map);
}
}  // namespace

LocationWindow::LocationWindow(Session& session, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_session(session),
      m_file(session.bestandenFolder(), session.fileOps),
      m_model(new LocationListModel(this)),
      m_fg1(new RecordGrid(QStringLiteral("fg1"), this)),
      m_wiscmd(new QPushButton(QStringLiteral("Wissen"), this)) {
    setObjectName(QStringLiteral("Locatiefrm"));
    setWindowTitle(QStringLiteral("Locaties"));
    setWindowModality(Qt::ApplicationModal);

    m_fg1->setModel(m_model);
    m_fg1->setTypingOpensEditor(true);
    // Here an edit ends only with Enter or by leaving the cell.
    m_fg1->editor()->setEscapeCancels(false);
    // Fields are shown in their full width, trailing blanks included: a cell clips what does not fit
    // rather than ending a blank field in an ellipsis.
    m_fg1->setTextElideMode(Qt::ElideNone);
    m_fg1->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_fg1->verticalHeader()->setDefaultSectionSize(m_fg1->fontMetrics().height() + kRowPaddingPixels);
    m_fg1->installEventFilter(this);
    m_wiscmd->setObjectName(QStringLiteral("wiscmd"));
    m_wiscmd->setAutoDefault(false);
    m_wiscmd->setEnabled(false);

    connect(m_fg1, &QTableView::clicked, this, &LocationWindow::FG1_Click);
    connect(m_fg1->horizontalHeader(), &QHeaderView::sectionClicked, this, &LocationWindow::updateWiscmd);
    connect(m_fg1->selectionModel(), &QItemSelectionModel::currentChanged, this, &LocationWindow::updateWiscmd);
    connect(m_fg1, &RecordGrid::editRequested, this, &LocationWindow::MSHFlexGridEdit);
    connect(m_fg1, &RecordGrid::cellLeft, this, [this](const QModelIndex& previous) { FG1_LeaveCell(previous.row()); });
    connect(m_fg1->editor(), &CellEditor::textCommitted, this, &LocationWindow::textCommitted);
    connect(m_wiscmd, &QPushButton::clicked, this, &LocationWindow::wiscmd_Click);
    Mnemonics::assign(this);

    Form_Load();
}

void LocationWindow::Form_Load() {
    const SettingsStore& store = m_session.settings();
    QHeaderView* header = m_fg1->horizontalHeader();
    WindowSettings::restoreColumnWidths(header, store, kGridSection, WindowSettings::MinWidthRule::EveryColumn, 0,
                                        kLastWideColumn, QStringLiteral("900"));
    WindowSettings::restoreColumnWidths(header, store, kGridSection, WindowSettings::MinWidthRule::EveryColumn,
                                        kLastWideColumn + 1, kLastColumn, QStringLiteral("100"));
    WindowSettings::restoreGeometry(this, store, kSection);

    if (const Status ensured = m_file.ensureFile(); !ensured) {
        MessageBox::error(this, ensured.error);
    }
    FG1_laden();
}

bool LocationWindow::FG1_laden() {
    m_fg1->followFiles({m_file.path()}, m_session.ticks);
    return m_fg1->reload([this] {
        // Filling the grid moves its current cell; that must never write to the file.
        const QScopedValueRollback<bool> loading(m_isLoading, true);
        return m_model->FG1_laden(m_file);
    });
}

void LocationWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    // Not under an open editor: what is typed there would be lost.
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && !m_unloaded && !m_fg1->editor()->isOpen()) {
        FG1_laden();
    }
}

void LocationWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const int dpiX = logicalDpiX();
    const int dpiY = logicalDpiY();
    const int left = WindowSettings::twipsToPixels(kGridLeftTwips, dpiX);
    const int top = WindowSettings::twipsToPixels(kGridTopTwips, dpiY);
    m_fg1->setGeometry(left, top, qMax(0, width() - WindowSettings::twipsToPixels(kGridMarginsTwips, dpiX)),
                       WindowSettings::twipsToPixels(kGridHeightTwips, dpiY));
    const QSize button = m_wiscmd->sizeHint();
    m_wiscmd->setGeometry(left, m_fg1->geometry().bottom() + 1 + WindowSettings::twipsToPixels(kButtonGapTwips, dpiY),
                          button.width(), button.height());
}

void LocationWindow::closeEvent(QCloseEvent* event) {
    Form_Unload();
    event->accept();
}

void LocationWindow::Form_Unload() {
    if (m_unloaded) {
        return;
    }
    m_unloaded = true;
    // An open edit is saved as Enter would save it.
    m_fg1->editor()->commit();
    SettingsStore& store = m_session.settings();
    if (WindowSettings::saveGeometry(this, store, kSection)) {
        m_fg1->saveColumnWidths(store, kGridSection, kLastColumn);
    }
    store.save(QStringLiteral("startfrm"), QStringLiteral("subdir"), m_session.subdir);
}

bool LocationWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_fg1 && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString text = key->text();
        // Enter, Backspace, Escape and the Ctrl letters edit what the cell holds, as a space does. Tab
        // still moves the focus on and Ctrl+C still copies.
        const bool control = !text.isEmpty() && text.at(0).unicode() < 0x20 && key->key() != Qt::Key_Tab &&
                             key->key() != Qt::Key_Backtab && !key->matches(QKeySequence::Copy);
        if (control && !m_fg1->editor()->isOpen() && m_fg1->currentIndex().isValid()) {
            MSHFlexGridEdit(m_fg1->currentIndex(), text);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// A printable key replaces the cell's text; a double-click, space, Enter or a control key edits what is
// there, the caret at the start. Texts are cut to their field when the row is saved, not while typed.
void LocationWindow::MSHFlexGridEdit(const QModelIndex& cell, const QString& typed) {
    if (!cell.isValid()) {
        return;
    }
    // The record number is no field; Space or Enter on it chooses the location, as a click does.
    if (cell.column() == 0) {
        if (typed == QLatin1String(" ") || typed == QLatin1String("\r")) {
            FG1_Click(cell);
        }
        return;
    }
    CellEditor::TextOptions options;
    options.caret = CellEditor::Caret::AtStart;
    if (const int field = LocationColumns::fieldForGridColumn(cell.column()); field >= 0) {
        options.fieldWidth = Location::width(static_cast<Location::Field>(field));
    }
    if (typed.isEmpty() || typed.at(0).unicode() <= u' ') {
        m_fg1->editor()->editText(cell, options);
    } else {
        m_fg1->editor()->editTyped(cell, typed, options);
    }
}

void LocationWindow::textCommitted(const QModelIndex& cell, const QString& text) {
    m_model->setCell(cell.row(), cell.column(), text);
    // On Enter (or a scroll) the grid stays on the cell, so no leaving will save the row.
    if (!m_leaving && cell == m_fg1->currentIndex()) {
        FG1_LeaveCell(cell.row());
    }
}

// Saves the row whenever the grid leaves one of its cells, edited or not; leaving the new-entry row
// makes it a record and opens a further one.
bool LocationWindow::FG1_LeaveCell(int row) {
    if (m_isLoading || row < 0 || row >= m_model->rowCount()) {
        return true;
    }
    {
        const QScopedValueRollback<bool> leaving(m_leaving, true);
        m_fg1->editor()->commit();
    }
    if (!record_save(row)) {
        return false;
    }
    if (m_model->isNewEntryRow(row)) {
        m_model->appendNewEntryRow();
    }
    return true;
}

bool LocationWindow::record_save(int row) {
    const Result<Location> saved =
        m_file.saveRecord(m_model->recordNumber(row), m_model->fieldTexts(row), m_model->loaded(row));
    if (!saved) {
        m_fg1->reportAndReload(saved.error);
        return false;
    }
    m_model->setLoaded(row, saved.value);
    return true;
}

void LocationWindow::FG1_Click(const QModelIndex& index) {
    if (index.column() == 0) {
        chooseLocation(index.row());
    }
    updateWiscmd();
}

void LocationWindow::chooseLocation(int row) {
    if (!FG1_LeaveCell(row)) {
        return;
    }
    // A location chosen for the first time without a folder gets one named after it.
    if (m_model->cell(row, mapColumn()).trimmed().isEmpty()) {
        m_model->setCell(row, mapColumn(), m_model->cell(row, nameColumn()).left(kFolderNameLength));
        if (!record_save(row)) {
            return;
        }
    }
    const QString folder = m_model->cell(row, mapColumn()).left(kFolderNameLength).trimmed();
    if (folder.isEmpty()) {
        return;
    }
    // Checked again here: a list written elsewhere may hold any "Map", and none may lead outside bestanden.
    Status ready = checkFolderName(folder);
    if (ready) {
        ready = DataFolder::ensureFolder(m_session.bestandenFolder(), folder);
    }
    if (ready) {
        ready = DataFolder::checkLocation(m_session.programFolder(), folder);
    }
    if (!ready) {
        MessageBox::error(this, ready.error);
        return;
    }
    m_session.subdir = folder;
    const QString name = m_model->cell(row, nameColumn()).trimmed();
    m_session.logChange(ChangeLog::locationChosen(name, folder), this);
    close();
    Q_EMIT locationChosen(name);
}

void LocationWindow::updateWiscmd() {
    const QModelIndex current = m_fg1->currentIndex();
    m_wiscmd->setEnabled(current.isValid() && current.column() == nameColumn() &&
                         !m_model->isNewEntryRow(current.row()));
}

void LocationWindow::wiscmd_Click() {
    m_fg1->editor()->commit();
    const int row = m_fg1->currentRow();
    // Taken before the question: a reload while it is open must not turn the delete onto another record.
    const int number = m_model->recordNumber(row);
    const LoadedRecord loaded = m_model->loaded(row);
    const bool newEntry = m_model->isNewEntryRow(row);
    if (m_fg1->confirm(QStringLiteral("Locatie gegevens weggooien"),
                       QStringLiteral("Wissen regel ") + m_model->cell(row, 0))) {
        // The new-entry row holds no record; the location's folder and files are never touched.
        if (!newEntry) {
            if (const Status removed = m_file.remove(number, loaded); !removed) {
                m_fg1->reportAndReload(removed.error);
            } else {
                FG1_laden();
            }
        }
    }
    m_wiscmd->setEnabled(false);
}

QString LocationWindow::nameOfCurrentLocation(const Session& session) {
    const QString folder = session.subdir.trimmed();
    if (folder.isEmpty()) {
        return {};
    }
    LocationFile file(session.bestandenFolder());
    const Result<QList<Location>> locations = file.readAll();
    for (const Location& location : locations.value) {
        if (location.text(Location::Map).trimmed().compare(folder, Qt::CaseInsensitive) == 0) {
            return location.text(Location::Naam).trimmed();
        }
    }
    return {};
}
