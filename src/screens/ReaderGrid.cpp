#include "screens/ReaderGrid.h"

#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

#include "records/ReaderFile.h"
#include "screens/MessageBox.h"
#include "screens/ReaderListModel.h"
#include "screens/Session.h"

namespace {
constexpr int kNameWidth = 20;
constexpr int kCodeWidth = 6;
constexpr int kLongestRelayTime = 60;
constexpr int kChoiceRowsShown = 8;
const QString kHexDigits = QStringLiteral("0123456789ABCDEF");
}  // namespace

ReaderGrid::ReaderGrid(Session& session, QWidget* parent)
    : QWidget(parent),
      m_session(session),
      m_model(new ReaderListModel(this)),
      m_view(new QTableView(this)),
      m_today([] { return QDate::currentDate(); }) {
    m_view->setObjectName(QStringLiteral("fg2"));
    m_view->setModel(m_model);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setSelectionBehavior(QAbstractItemView::SelectItems);
    m_view->verticalHeader()->hide();
    m_view->horizontalHeader()->setHighlightSections(false);
    m_view->setWordWrap(false);
    QFont flagFont = font();
    flagFont.setPointSize(ReaderListModel::kFlagPointSize);
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(QFontMetrics(flagFont).height() + 2);

    // Columns 0 to 5 take their stored widths; 6 to 8 just fit what they show.
    const QFontMetrics metrics = m_view->fontMetrics();
    const int padding = 2 * metrics.horizontalAdvance(QLatin1Char('0'));
    m_view->horizontalHeader()->resizeSection(ReaderListModel::ColRelay,
                                              metrics.horizontalAdvance(QStringLiteral("Relais")) + padding);
    m_view->horizontalHeader()->resizeSection(ReaderListModel::ColTime,
                                              metrics.horizontalAdvance(QStringLiteral("Tijd 00")) + padding);
    m_view->horizontalHeader()->resizeSection(ReaderListModel::ColDate,
                                              metrics.horizontalAdvance(QStringLiteral("00-00-00")) + padding);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    m_txtedit = new QLineEdit(m_view->viewport());
    m_txtedit->setObjectName(QStringLiteral("txtedit"));
    m_txtedit->hide();
    m_txtedit->installEventFilter(this);

    // Never opened by the reader list itself; committed like txtedit should anything open it.
    m_combo1 = new QComboBox(m_view->viewport());
    m_combo1->setObjectName(QStringLiteral("Combo1"));
    m_combo1->hide();

    m_list1 = new QListWidget(m_view->viewport());
    m_list1->setObjectName(QStringLiteral("List1"));
    m_list1->hide();
    m_list1->installEventFilter(this);
    connect(m_list1, &QListWidget::itemClicked, this, &ReaderGrid::List1_Click);

    connect(m_view, &QTableView::clicked, this, &ReaderGrid::Fg2_Click);
    connect(m_view, &QTableView::doubleClicked, this, &ReaderGrid::Fg2_DblClick);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& current) {
        if (current != QModelIndex(m_editCell) && current != QModelIndex(m_choiceCell)) {
            Fg2_LeaveCell();
        }
    });
    // The editors sit on the viewport; they would stay behind while the cells scroll away.
    for (QScrollBar* bar : {m_view->horizontalScrollBar(), m_view->verticalScrollBar()}) {
        connect(bar, &QScrollBar::valueChanged, this, [this] { Fg2_LeaveCell(); });
    }
}

QString ReaderGrid::dataFolder() const {
    return m_session.dataFolder();
}

bool ReaderGrid::editorOpen() const {
    return m_txtedit->isVisible() || m_combo1->isVisible() || m_list1->isVisible();
}

bool ReaderGrid::fg2_laden() {
    m_txtedit->hide();
    m_combo1->hide();
    m_list1->hide();
    m_editCell = QPersistentModelIndex();
    m_choiceCell = QPersistentModelIndex();
    const QModelIndex current = m_view->currentIndex();
    const int topRow = m_view->rowAt(0);

    QString error;
    const bool ok = m_model->fg2_laden(dataFolder(), m_session.keyWritten, &error);

    const int lastRow = m_model->rowCount() - 1;
    // Scroll ranges follow the new rows only after a layout, which the view would otherwise delay.
    m_view->doItemsLayout();
    if (topRow >= 0) {
        m_view->scrollTo(m_model->index(qMin(topRow, lastRow), 0), QAbstractItemView::PositionAtTop);
    }
    if (current.isValid()) {
        m_view->setCurrentIndex(m_model->index(qMin(current.row(), lastRow), current.column()));
    }

    if (ok) {
        m_lastLoadError.clear();
    } else if (error != m_lastLoadError) {
        m_lastLoadError = error;
        MessageBox::error(this, error);
    }
    return ok;
}

int ReaderGrid::currentRow() const {
    const QModelIndex current = m_view->currentIndex();
    return current.isValid() ? current.row() : 0;
}

void ReaderGrid::Fg2_Click(const QModelIndex& index) {
    if (!index.isValid()) {
        return;
    }
    const int row = index.row();
    switch (index.column()) {
        case ReaderListModel::ColFlag:
            // The extra row is no reader yet; a key built for it would append a record.
            if (!m_model->isNewReaderRow(row)) {
                Q_EMIT programKeyRequested(m_model->readerNumber(row));
            }
            break;
        case ReaderListModel::ColNumber:
            Fg2_LeaveCell();
            Q_EMIT accessRequested(m_model->readerNumber(row), m_model->cell(row, ReaderListModel::ColName));
            break;
        case ReaderListModel::ColLed:
            showChoices(index, {QStringLiteral("Intern"), QStringLiteral("Extern"), QStringLiteral("Extern Invers")});
            break;
        case ReaderListModel::ColRelay:
            showChoices(index, {QStringLiteral("Houd"), QStringLiteral("Tijd")});
            break;
        case ReaderListModel::ColTime:
            if (m_model->cell(row, ReaderListModel::ColRelay) != QLatin1String("Houd")) {
                QStringList seconds;
                for (int s = 1; s <= kLongestRelayTime; ++s) {
                    seconds.append(QString::number(s));
                }
                showChoices(index, seconds);
            }
            break;
        default:
            break;
    }
}

void ReaderGrid::Fg2_DblClick(const QModelIndex& index) {
    if (!index.isValid()) {
        return;
    }
    const int column = index.column();
    if (column != ReaderListModel::ColName && column != ReaderListModel::ColCode) {
        return;
    }
    Fg2_LeaveCell();
    m_editCell = index;
    m_txtedit->setMaxLength(column == ReaderListModel::ColName ? kNameWidth : kCodeWidth);
    m_txtedit->setText(m_model->cell(index.row(), column));
    m_txtedit->selectAll();
    m_txtedit->setGeometry(m_view->visualRect(index));
    m_txtedit->show();
    m_txtedit->raise();
    m_txtedit->setFocus();
}

bool ReaderGrid::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (watched == m_txtedit) {
            return txtEdit_KeyPress(key);
        }
        if (watched == m_list1 && key->key() == Qt::Key_Escape) {
            hideChoices();
            m_view->setFocus();
            return true;
        }
        if (watched == m_list1 && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)) {
            if (QListWidgetItem* item = m_list1->currentItem()) {
                List1_Click(item);
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

bool ReaderGrid::txtEdit_KeyPress(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        Fg2_LeaveCell();
        return true;
    }
    if (m_editCell.column() != ReaderListModel::ColCode) {
        return false;
    }
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        return false;
    }
    // The code column takes hex digits only; Backspace is dropped with the rest, on purpose.
    if (event->key() == Qt::Key_Backspace) {
        return true;
    }
    if (event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab || event->text().isEmpty()) {
        return false;
    }
    QString allowed;
    for (const QChar c : event->text().toUpper()) {
        if (kHexDigits.contains(c)) {
            allowed.append(c);
        }
    }
    if (!allowed.isEmpty()) {
        m_txtedit->insert(allowed);
    }
    return true;
}

void ReaderGrid::Fg2_LeaveCell() {
    hideChoices();
    QWidget* editor = m_txtedit->isVisible()  ? static_cast<QWidget*>(m_txtedit)
                      : m_combo1->isVisible() ? static_cast<QWidget*>(m_combo1)
                                              : nullptr;
    if (!editor) {
        return;
    }
    const QString text = editor == m_txtedit ? m_txtedit->text() : m_combo1->currentText();
    const QPersistentModelIndex cell = m_editCell;
    m_editCell = QPersistentModelIndex();
    const bool hadFocus = editor->hasFocus();
    editor->hide();
    if (hadFocus) {
        m_view->setFocus();
    }
    if (!cell.isValid()) {
        return;
    }
    m_model->setCell(cell.row(), cell.column(), text);
    Prog_Flag(cell.row());
    record_save(cell.row());
}

void ReaderGrid::showChoices(const QModelIndex& index, const QStringList& choices) {
    m_model->setHighlightedRow(index.row());
    m_list1->clear();
    m_list1->addItems(choices);
    const QList<QListWidgetItem*> current =
        m_list1->findItems(m_model->cell(index.row(), index.column()), Qt::MatchExactly);
    if (!current.isEmpty()) {
        m_list1->setCurrentItem(current.constFirst());
    }

    const QRect cell = m_view->visualRect(index);
    const QRect area = m_view->viewport()->rect();
    const int frame = 2 * m_list1->frameWidth();
    const int rowHeight = m_list1->sizeHintForRow(0);
    const int rows = qMin(int(choices.size()), kChoiceRowsShown);
    int width = qMax(cell.width(), m_list1->sizeHintForColumn(0) + frame);
    if (choices.size() > kChoiceRowsShown) {
        width += m_list1->verticalScrollBar()->sizeHint().width();
    }
    const int height = qMin(rows * rowHeight + frame, area.height());
    const int x = qMax(0, qMin(cell.left(), area.right() - width));
    const int y = qMax(0, qMin(cell.top(), area.bottom() - height));
    m_list1->setGeometry(x, y, width, height);
    m_choiceCell = index;
    m_list1->show();
    m_list1->raise();
    m_list1->setFocus();
    if (m_list1->currentItem()) {
        m_list1->scrollToItem(m_list1->currentItem());
    }
}

void ReaderGrid::hideChoices() {
    if (m_list1->isVisible()) {
        const bool hadFocus = m_list1->hasFocus();
        m_list1->hide();
        if (hadFocus) {
            m_view->setFocus();
        }
    }
    m_choiceCell = QPersistentModelIndex();
    m_model->setHighlightedRow(-1);
}

void ReaderGrid::List1_Click(QListWidgetItem* item) {
    const QPersistentModelIndex cell = m_choiceCell;
    const QString text = item ? item->text() : QString();
    hideChoices();
    if (!cell.isValid() || !item) {
        return;
    }
    m_model->setCell(cell.row(), cell.column(), text);
    Prog_Flag(cell.row());
    record_save(cell.row());
}

void ReaderGrid::Prog_Flag(int row) {
    m_model->setCell(row, ReaderListModel::ColFlag, QStringLiteral("X"));
}

bool ReaderGrid::record_save(int row) {
    if (m_model->cell(row, ReaderListModel::ColKeyCount).isEmpty()) {
        m_model->setCell(row, ReaderListModel::ColKeyCount, QStringLiteral("0"));
    }
    QString error;
    if (!ReaderFile(dataFolder(), m_session.fileOps).record_save(m_model->readerRow(row), m_today(), &error)) {
        reportAndReload(error);
        return false;
    }
    if (m_model->isNewReaderRow(row) && m_model->readerNumber(row) > 0) {
        m_model->appendNewReaderRow();
    }
    return true;
}

void ReaderGrid::reportAndReload(const QString& error) {
    MessageBox::error(this, error);
    m_lastLoadError.clear();
    fg2_laden();
}

void ReaderGrid::wiscmd_Click() {
    Fg2_LeaveCell();
    const int row = currentRow();
    const QString number = m_model->cell(row, ReaderListModel::ColNumber);
    const auto answer =
        MessageBox::show(this, QMessageBox::Critical, QStringLiteral("Locatie gegevens weggooien"),
                         QStringLiteral("Wissen regel ") + number, QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes) {
        return;
    }
    // The extra row holds no record: there is nothing to take out of the file.
    if (!m_model->isNewReaderRow(row)) {
        QString error;
        if (!ReaderFile(dataFolder(), m_session.fileOps).remove(row + 1, &error)) {
            reportAndReload(error);
            return;
        }
    }
    fg2_laden();
}

void ReaderGrid::clearCurrentFlag() {
    const int row = currentRow();
    m_model->setCell(row, ReaderListModel::ColFlag, QString());
    const int n = m_model->readerNumber(row);
    const ReaderFile file(dataFolder(), m_session.fileOps);
    QString error;
    const int count = file.count(&error);
    if (count < 0) {
        reportAndReload(error);
        return;
    }
    if (n < 1 || n > count) {
        return;
    }
    Reader reader;
    if (!file.read(n, &reader, &error)) {
        reportAndReload(error);
        return;
    }
    reader.setChangedFlag(QString());
    if (!file.write(n, reader, &error)) {
        reportAndReload(error);
    }
}
