#include "screens/ReaderGrid.h"

#include <QHeaderView>
#include <QKeyEvent>

#include "records/ChangeLog.h"
#include "records/ReaderFile.h"
#include "records/ReaderRemoval.h"
#include "screens/CellEditor.h"
#include "screens/MessageBox.h"
#include "screens/ReaderListModel.h"
#include "screens/ReaderRow.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"

namespace {
using Col = ReaderListModel::Column;

constexpr int kNameWidth = 20;
constexpr int kCodeWidth = 6;
constexpr int kLongestRelayTime = 60;

// The cells whose change the log tells, by their headings.
constexpr Col kLoggedColumns[] = {Col::ColName, Col::ColKeyCount, Col::ColCode,
                                  Col::ColLed,  Col::ColRelay,    Col::ColTime};

QStringList relayTimes() {
    QStringList seconds;
    for (int s = 1; s <= kLongestRelayTime; ++s) {
        seconds.append(QString::number(s));
    }
    return seconds;
}
}  // namespace

ReaderGrid::ReaderGrid(Session& session, QWidget* parent)
    : RecordGrid(QStringLiteral("fg2"), parent),
      m_session(session),
      m_model(new ReaderListModel(this)),
      m_today([] { return QDate::currentDate(); }) {
    setModel(m_model);
    QFont flagFont = font();
    flagFont.setPointSize(ReaderListModel::kFlagPointSize);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(QFontMetrics(flagFont).height() + 2);

    // Columns 0 to 5 take their stored widths; 6 to 8 just fit what they show.
    const QFontMetrics metrics = fontMetrics();
    const int padding = 2 * metrics.horizontalAdvance(QLatin1Char('0'));
    const std::pair<int, const char*> fitted[] = {
        {Col::ColRelay, "Relais"}, {Col::ColTime, "Tijd 00"}, {Col::ColDate, "00-00-00"}};
    for (const auto& [column, sample] : fitted) {
        horizontalHeader()->resizeSection(column, metrics.horizontalAdvance(QLatin1String(sample)) + padding);
    }

    connect(this, &QTableView::clicked, this, &ReaderGrid::Fg2_Click);
    connect(this, &RecordGrid::editRequested, this, &ReaderGrid::Fg2_DblClick);
    connect(editor(), &CellEditor::textCommitted, this, &ReaderGrid::cellChanged);
    connect(editor(), &CellEditor::choicePicked, this, &ReaderGrid::cellChanged);
    connect(editor(), &CellEditor::choicesClosed, this, [this] { m_model->setHighlightedRow(-1); });
}

bool ReaderGrid::editorOpen() const {
    return editor()->isOpen();
}

void ReaderGrid::Fg2_LeaveCell() {
    editor()->commit();
}

bool ReaderGrid::fg2_laden() {
    followFiles({ReaderFile(m_session.dataFolder()).path()}, m_session.ticks);
    return reload([this] { return m_model->fg2_laden(m_session.dataFolder()); });
}

void ReaderGrid::Fg2_Click(const QModelIndex& index) {
    const int row = index.row();
    switch (index.column()) {
        case Col::ColFlag:
            // The extra row is no reader yet; a key built for it would append a record.
            if (!m_model->isNewReaderRow(row)) {
                Q_EMIT programKeyRequested(m_model->readerNumber(row));
            }
            break;
        case Col::ColNumber:
            Fg2_LeaveCell();
            Q_EMIT accessRequested(m_model->readerNumber(row));
            break;
        case Col::ColLed:
            m_model->setHighlightedRow(row);
            editor()->showChoices(
                index, {QStringLiteral("Intern"), QStringLiteral("Extern"), QStringLiteral("Extern Invers")});
            break;
        case Col::ColRelay:
            m_model->setHighlightedRow(row);
            editor()->showChoices(index, {QStringLiteral("Houd"), QStringLiteral("Tijd")});
            break;
        case Col::ColTime:
            if (m_model->cell(row, Col::ColRelay) != QLatin1String("Houd")) {
                m_model->setHighlightedRow(row);
                editor()->showChoices(index, relayTimes());
            }
            break;
        default:
            break;
    }
}

bool ReaderGrid::keyOnCell(const QModelIndex& cell, const QKeyEvent* event) {
    const bool plain = !(event->modifiers() & ~Qt::KeypadModifier);
    const int key = event->key();
    const bool space = plain && key == Qt::Key_Space;
    const bool open = plain && (key == Qt::Key_F2 || key == Qt::Key_Return || key == Qt::Key_Enter);
    switch (cell.column()) {
        case Col::ColFlag:
        case Col::ColNumber:
            if (space) {
                Fg2_Click(cell);
            }
            return space;
        case Col::ColLed:
        case Col::ColRelay:
        case Col::ColTime:
            if (space || open) {
                Fg2_Click(cell);
            }
            return space || open;
        default:
            return RecordGrid::keyOnCell(cell, event);
    }
}

void ReaderGrid::Fg2_DblClick(const QModelIndex& index) {
    if (index.column() == Col::ColName) {
        editor()->editText(index, {kNameWidth, CellEditor::Filter::None, CellEditor::Caret::SelectAll, kNameWidth});
    } else if (index.column() == Col::ColCode) {
        editor()->editText(index,
                           {kCodeWidth, CellEditor::Filter::HexUpperCase, CellEditor::Caret::SelectAll, kCodeWidth});
    }
}

// A typed or picked value goes into its cell, marks the reader as changed (Prog_Flag) and is saved. A
// value the cell already holds changes nothing: no cross, no new date.
void ReaderGrid::cellChanged(const QModelIndex& cell, const QString& text) {
    if (m_model->cell(cell.row(), cell.column()) == text) {
        return;
    }
    m_model->setCell(cell.row(), cell.column(), text);
    m_model->setCell(cell.row(), Col::ColFlag, QStringLiteral("X"));
    record_save(cell.row());
}

bool ReaderGrid::record_save(int row) {
    if (m_model->cell(row, Col::ColKeyCount).isEmpty()) {
        m_model->setCell(row, Col::ColKeyCount, QStringLiteral("0"));
    }
    const Result<std::optional<Reader>> saved = saveReaderRow(ReaderFile(m_session.dataFolder(), m_session.fileOps),
                                                              m_model->readerRow(row), m_today(), m_model->loaded(row));
    if (!saved) {
        reportAndReload(saved.error);
        return false;
    }
    if (saved.value) {
        const bool appended = m_model->isNewReaderRow(row);
        const int number = m_model->readerNumber(row);
        const std::optional<Reader> before =
            appended ? std::nullopt : std::optional<Reader>(*m_model->loadedReader(row));
        m_model->setLoaded(row, *saved.value);
        if (appended) {
            m_model->appendNewReaderRow();
        }
        m_session.logChange(
            before ? changeText(number, *before, *saved.value) : ChangeLog::readerAdded(number, *saved.value), this);
    }
    return true;
}

QString ReaderGrid::changeText(int number, const Reader& before, const Reader& after) const {
    const QStringList was = ReaderListModel::rowTexts(number, before);
    const QStringList now = ReaderListModel::rowTexts(number, after);
    QList<ChangeLog::FieldChange> changes;
    for (const Col column : kLoggedColumns) {
        if (was.at(column) != now.at(column)) {
            changes.append({m_model->headerData(column, Qt::Horizontal).toString(), was.at(column), now.at(column)});
        }
    }
    // A save that changed nothing shown only tells when it put the red cross on.
    if (changes.isEmpty() && (before.isChanged() || !after.isChanged())) {
        return {};
    }
    return ChangeLog::readerEdited(number, before.lezerNaam(), changes);
}

bool ReaderGrid::shiftsAccess() const {
    return m_session.settings()
               .get(QStringLiteral("opties"), QStringLiteral("verschuif"), QStringLiteral("0"))
               .trimmed() == QLatin1String("1");
}

QString ReaderGrid::deleteWarning(int number, const QString& name, int readerCount, bool shift) {
    const QString trimmed = name.trimmed();
    QString text = trimmed.isEmpty() ? QStringLiteral("Lezer %1 verdwijnt.").arg(number)
                                     : QStringLiteral("Lezer %1 \"%2\" verdwijnt.").arg(number).arg(trimmed);
    const int first = number + 1;
    if (first > readerCount) {
        return text + QStringLiteral(" Er komen geen lezers na; er verschuift niets.");
    }
    const QString moving = first == readerCount
                               ? QStringLiteral(" Lezer %1 schuift op naar %2").arg(first).arg(number)
                               : QStringLiteral(" De lezers %1 tot en met %2 schuiven op naar %3 tot en met %4")
                                     .arg(first)
                                     .arg(readerCount)
                                     .arg(number)
                                     .arg(readerCount - 1);
    const bool one = first == readerCount;
    if (shift) {
        return text + moving +
               QStringLiteral("; de toegang van de sleutelhouders schuift mee. Controleer %1.")
                   .arg(one ? QStringLiteral("hem") : QStringLiteral("ze"));
    }
    return text + moving +
           (one ? QStringLiteral(" en krijgt de toegang van zijn voorganger: controleer hem.")
                : QStringLiteral(" en krijgen de toegang van hun voorganger: controleer ze."));
}

void ReaderGrid::wiscmd_Click() {
    Fg2_LeaveCell();
    const int row = currentRow();
    // Taken before the question: the list may be read again while it is open, and what goes must be the
    // reader the user was asked about.
    const bool newReaderRow = m_model->isNewReaderRow(row);
    const LoadedRecord seen = m_model->loaded(row);
    const Reader* loaded = m_model->loadedReader(row);
    const Reader reader = loaded ? *loaded : Reader();
    const int readerCount = m_model->rowCount() - 1;
    const bool shift = shiftsAccess();
    QString question = QStringLiteral("Wissen regel ") + m_model->cell(row, Col::ColNumber);
    if (!newReaderRow) {
        question += QLatin1Char('\n') + deleteWarning(row + 1, reader.lezerNaam(), readerCount, shift);
    }
    if (!confirm(QStringLiteral("Locatie gegevens weggooien"), question)) {
        return;
    }
    // The extra row holds no record: there is nothing to take out of the file.
    if (newReaderRow) {
        fg2_laden();
        return;
    }
    const Result<ReaderRemoval> removed = removeReader(m_session.dataFolder(), row + 1, shift, seen, m_session.fileOps);
    if (!removed) {
        reportAndReload(removed.error);
        return;
    }
    m_session.logChange(ChangeLog::readerDeleted(row + 1, reader, readerCount, removed.value.accessShifted), this);
    fg2_laden();
    if (!removed.value.shiftError.isEmpty()) {
        MessageBox::error(this, QStringLiteral("Lezer %1 is verwijderd, maar de toegang van de sleutelhouders is niet "
                                               "meegeschoven: de lezers erna hebben de toegang van hun voorganger. %2")
                                    .arg(row + 1)
                                    .arg(removed.value.shiftError));
    }
}

void ReaderGrid::clearFlag(int readerNumber, const LoadedRecord& built) {
    const Result<Reader> cleared =
        ReaderFile(m_session.dataFolder(), m_session.fileOps).clearChanged(readerNumber, built);
    if (!cleared) {
        reportAndReload(cleared.error);
        return;
    }
    m_model->setCell(readerNumber - 1, Col::ColFlag, QString());
    m_model->setLoaded(readerNumber - 1, cleared.value);
}
