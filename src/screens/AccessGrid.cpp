#include "screens/AccessGrid.h"

#include <QDir>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>

#include "records/ChangeLog.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "screens/CellEditor.h"
#include "screens/MessageBox.h"
#include "screens/Session.h"

namespace {
using Col = AccessGridModel::Column;
using Colour = AccessGridModel::Colour;

constexpr int kSet = 1;
constexpr int kClear = 2;
constexpr int kToegang = 0;
constexpr int kWijziging = 1;

struct MapChange {
    int mode;
    int selector;
};

// The cycle as the cell shows it. Withdrawing leaves a trace in wijziging, granting does not.
QList<MapChange> stepFrom(Colour shown) {
    switch (shown) {
        case Colour::White:
            return {{kSet, kToegang}};
        case Colour::Green:
            return {{kSet, kWijziging}, {kClear, kToegang}};
        case Colour::Blue:
            return {{kClear, kToegang}, {kClear, kWijziging}};
    }
    return {};
}

ChangeLog::Access accessOf(Colour colour) {
    switch (colour) {
        case Colour::Green:
            return ChangeLog::Access::Granted;
        case Colour::Blue:
            return ChangeLog::Access::Withdrawn;
        case Colour::White:
            break;
    }
    return ChangeLog::Access::None;
}

int fieldWidth(int column) {
    switch (column) {
        case Col::ColNaam:
        case Col::ColAdres:
            return 30;
        case Col::ColPlaats:
            return 21;
        case Col::ColVrijetekst:
            return 58;
        default:
            return 0;
    }
}
}  // namespace

AccessGrid::AccessGrid(Session& session, QWidget* parent)
    : RecordGrid(QStringLiteral("fg3"), parent),
      m_session(session),
      m_model(new AccessGridModel(this)),
      m_locatietxt(new QLineEdit(this)),
      m_today([] { return QDate::currentDate(); }) {
    setModel(m_model);
    // A selected cell would be drawn in the highlight colour, hiding the colour a click just gave it.
    setSelectionMode(QAbstractItemView::NoSelection);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    // Reader columns beyond the stored ones open just wide enough to show their colour.
    horizontalHeader()->setDefaultSectionSize(fontMetrics().horizontalAdvance(QStringLiteral("000")));

    m_locatietxt->setObjectName(QStringLiteral("Locatietxt"));
    m_locatietxt->setReadOnly(true);
    m_locatietxt->setFocusPolicy(Qt::NoFocus);
    m_locatietxt->hide();

    connect(this, &QTableView::clicked, this, &AccessGrid::Fg3_Click);
    connect(this, &RecordGrid::editRequested, this, &AccessGrid::Fg3_DblClick);
    connect(editor(), &CellEditor::textCommitted, this, &AccessGrid::record_save);
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &AccessGrid::headingClicked);
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, &AccessGrid::placeLocatietxt);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        if (m_locatietxt->isVisible() && columnAt(0) != m_locatieLeftColumn) {
            m_locatietxt->hide();
        }
    });
}

bool AccessGrid::fg3_laden() {
    // Another program's change of a holder or of the readers shows without waiting for a click.
    followFiles({KeyHolderFile(m_session.dataFolder()).path(), ReaderFile(m_session.dataFolder()).path()},
                m_session.ticks);
    return reload([this] { return m_model->fg3_laden(m_session.dataFolder()); });
}

int AccessGrid::topRow() const {
    return qMax(rowAt(0), 0) + 1;
}

void AccessGrid::setTopRow(int n) {
    if (n < 1 || n >= m_model->rowCount()) {
        return;
    }
    // In the column already at the left, so only the rows move.
    scrollTo(m_model->index(n - 1, qMax(columnAt(0), 0)), QAbstractItemView::PositionAtTop);
}

void AccessGrid::showReader(int readerNumber) {
    const int column = Col::kFirstReaderColumn + readerNumber - 1;
    if (readerNumber < 1 || column >= m_model->columnCount()) {
        return;
    }
    updateGeometries();
    QScrollBar* bar = horizontalScrollBar();
    const int left = horizontalHeader()->sectionPosition(column);
    const int right = left + horizontalHeader()->sectionSize(column);
    if (left < bar->value()) {
        bar->setValue(left);
    } else if (right > bar->value() + viewport()->width()) {
        bar->setValue(right - viewport()->width());
    }
    showLocatietxt(column);
}

void AccessGrid::mousePressEvent(QMouseEvent* event) {
    // The base moves the current cell, which commits an open editor; should that end in the grid being
    // read again, the cell pressed is gone and nothing is stepped.
    const QPersistentModelIndex cell = indexAt(event->position().toPoint());
    RecordGrid::mousePressEvent(event);
    if (event->button() == Qt::LeftButton && cell.isValid() && AccessGridModel::readerOfColumn(cell.column()) >= 0) {
        stepCell(cell);
    }
}

bool AccessGrid::keyOnCell(const QModelIndex& cell, const QKeyEvent* event) {
    if (event->key() != Qt::Key_Space || (event->modifiers() & ~Qt::KeypadModifier)) {
        return RecordGrid::keyOnCell(cell, event);
    }
    if (AccessGridModel::readerOfColumn(cell.column()) >= 0) {
        stepCell(cell);
        return true;
    }
    if (cell.column() == Col::ColNumber) {
        Fg3_Click(cell);
        return true;
    }
    return false;
}

void AccessGrid::stepCell(const QModelIndex& cell) {
    const int row = cell.row();
    const int reader = AccessGridModel::readerOfColumn(cell.column());
    if (reader >= KeyHolder::kMaxReaders) {
        MessageBox::error(this, QStringLiteral("Lezer %1 (%2) kan geen toegang krijgen: een sleutelhouder heeft "
                                               "plaats voor de lezers 1 tot en met %3.")
                                    .arg(reader + 1)
                                    .arg(m_model->readerName(reader))
                                    .arg(KeyHolder::kMaxReaders));
        return;
    }
    KeyHolderFile file(m_session.dataFolder(), m_session.fileOps);
    const int record = m_model->recordNumber(row);
    const Colour before = m_model->colour(row, reader);
    const QString readerName = m_model->readerName(reader);
    // Told as the cell now stands, once anything landed: a second call that fails leaves the first's
    // change on disk.
    auto logStep = [&] {
        const Colour after = m_model->colour(row, reader);
        if (after != before) {
            m_session.logChange(
                ChangeLog::accessChanged(record, m_model->holder(row), reader + 1, readerName, accessOf(after)), this);
        }
    };
    // Each call must find the holder as the row shows it: one that another program changed or removed
    // since the grid was read would take a change meant for someone else.
    for (const MapChange& change : stepFrom(before)) {
        const Result<KeyHolder> stepped =
            file.record_update(reader, record, change.mode, change.selector, m_today(), m_model->holder(row));
        if (!stepped) {
            logStep();
            // Whatever landed shows after the reload, also when a second call failed after the first.
            reportAndReload(stepped.error);
            return;
        }
        m_model->setHolder(row, stepped.value);
    }
    logStep();
}

void AccessGrid::Fg3_Click(const QModelIndex& cell) {
    if (cell.column() == Col::ColNumber) {
        Q_EMIT detailsRequested(m_model->recordNumber(cell.row()));
    }
}

void AccessGrid::Fg3_DblClick(const QModelIndex& cell) {
    if (const int width = fieldWidth(cell.column()); width > 0) {
        editor()->editText(cell, {width, CellEditor::Filter::None, CellEditor::Caret::SelectAll, width});
    }
}

void AccessGrid::headingClicked(int column) {
    editor()->commit();
    if (AccessGridModel::readerOfColumn(column) >= 0) {
        showLocatietxt(column);
    }
    // A reader's heading sorts by name as well, on purpose.
    if (column == Col::ColNumber) {
        m_model->sortByNumber();
    } else {
        m_model->sortByName();
    }
}

void AccessGrid::showLocatietxt(int column) {
    m_locatietxt->setText(m_model->headerData(column, Qt::Horizontal).toString());
    m_locatieColumn = column;
    m_locatieLeftColumn = columnAt(0);
    placeLocatietxt();
    m_locatietxt->show();
    m_locatietxt->raise();
}

// Over the heading of its column, wide enough for the whole name, inside the heading row.
void AccessGrid::placeLocatietxt() {
    if (m_locatieColumn < 0 || m_locatieColumn >= m_model->columnCount()) {
        return;
    }
    const QHeaderView* header = horizontalHeader();
    const QMargins margins = m_locatietxt->textMargins() + m_locatietxt->contentsMargins();
    const int textWidth =
        m_locatietxt->fontMetrics().horizontalAdvance(m_locatietxt->text()) + margins.left() + margins.right() + 12;
    const QRect area = header->geometry();
    const int width = qMin(qMax(header->sectionSize(m_locatieColumn), textWidth), area.width());
    const int x =
        qBound(area.left(), area.left() + header->sectionViewportPosition(m_locatieColumn), area.right() - width + 1);
    m_locatietxt->setGeometry(x, area.top(), width, area.height());
}

void AccessGrid::updateGeometries() {
    RecordGrid::updateGeometries();
    placeLocatietxt();
}

void AccessGrid::record_save(const QModelIndex& cell, const QString& text) {
    const int row = cell.row();
    const int column = cell.column();
    if (!cell.isValid() || text == m_model->data(cell).toString()) {
        return;
    }
    QString texts[Col::kFirstReaderColumn];
    for (int c = Col::ColNaam; c < Col::kFirstReaderColumn; ++c) {
        texts[c] = c == column ? text : m_model->data(m_model->index(row, c)).toString();
    }
    KeyHolderFile file(m_session.dataFolder(), m_session.fileOps);
    const Result<KeyHolder> saved = file.update(
        m_model->recordNumber(row),
        [&texts](KeyHolder& holder) {
            holder.setNaam(texts[Col::ColNaam]);
            holder.setAdres(texts[Col::ColAdres]);
            holder.setWoonplaats(texts[Col::ColPlaats]);
            holder.setVrijetekst(texts[Col::ColVrijetekst]);
        },
        m_model->holder(row));
    if (!saved) {
        reportAndReload(saved.error);
        return;
    }
    const KeyHolder before = m_model->holder(row);
    m_model->setHolder(row, saved.value);
    m_session.logChange(ChangeLog::keyHolderEdited(m_model->recordNumber(row), before, saved.value), this);
}
