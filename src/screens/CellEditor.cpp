#include "screens/CellEditor.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <QStyle>
#include <QTableView>
#include <QValidator>
#include <functional>

#include "records/Cp1252.h"

namespace {
constexpr int kChoiceRowsShown = 8;
const QString kHexDigits = QStringLiteral("0123456789ABCDEF");

bool isEnter(const QKeyEvent* key) {
    return key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
}

bool isTab(const QKeyEvent* key) {
    return key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab;
}

// Checks the whole text after every change, so a paste or a drop is held to what a typed key is.
class CellTextValidator : public QValidator {
public:
    CellTextValidator(std::function<CellEditor::Filter()> filter, std::function<void(const QString&)> refused,
                      QObject* parent)
        : QValidator(parent), m_filter(std::move(filter)), m_refused(std::move(refused)) {}

    State validate(QString& input, int&) const override {
        const CellEditor::Filter filter = m_filter();
        if (filter == CellEditor::Filter::HexUpperCase) {
            input = input.toUpper();
        }
        const QString why = CellEditor::refusal(input, filter);
        if (why.isEmpty()) {
            return Acceptable;
        }
        m_refused(why);
        return Invalid;
    }

private:
    std::function<CellEditor::Filter()> m_filter;
    std::function<void(const QString&)> m_refused;
};
}  // namespace

QString CellEditor::refusal(const QString& text, Filter filter) {
    if (const QString c = Cp1252::firstUnencodable(text); !c.isEmpty()) {
        return QStringLiteral("Het teken \"%1\" kan niet in de bestanden staan en is niet overgenomen.").arg(c);
    }
    if (filter == Filter::HexUpperCase) {
        for (const QChar c : text) {
            if (!kHexDigits.contains(c.toUpper())) {
                return QStringLiteral("Alleen de hexcijfers 0-9 en A-F; \"%1\" is niet overgenomen.").arg(c);
            }
        }
    }
    return {};
}

CellEditor::CellEditor(QTableView* view)
    : QObject(view),
      m_view(view),
      m_txtedit(new QLineEdit(view->viewport())),
      m_list1(new QListWidget(view->viewport())),
      m_combo1(new QComboBox(view->viewport())),
      m_refusalLine(new QLabel(view->viewport())) {
    m_txtedit->setObjectName(QStringLiteral("txtedit"));
    m_txtedit->hide();
    m_txtedit->installEventFilter(this);
    m_txtedit->setValidator(
        new CellTextValidator([this] { return m_filter; }, [this](const QString& why) { refuse(why); }, m_txtedit));
    connect(m_txtedit, &QLineEdit::textEdited, m_refusalLine, &QWidget::hide);
    m_refusalLine->setObjectName(QStringLiteral("weigering"));
    m_refusalLine->setAutoFillBackground(true);
    m_refusalLine->setBackgroundRole(QPalette::ToolTipBase);
    m_refusalLine->setForegroundRole(QPalette::ToolTipText);
    m_refusalLine->setFrameShape(QFrame::Box);
    m_refusalLine->setMargin(2);
    m_refusalLine->hide();
    m_list1->setObjectName(QStringLiteral("List1"));
    m_list1->hide();
    m_list1->installEventFilter(this);
    // No grid opens it today; should one, it is committed like txtedit.
    m_combo1->setObjectName(QStringLiteral("Combo1"));
    m_combo1->hide();
    connect(m_list1, &QListWidget::itemClicked, this, &CellEditor::pick);
}

void CellEditor::editText(const QModelIndex& cell, const TextOptions& options) {
    openText(cell, cell.data(Qt::EditRole).toString(), options);
    if (options.caret == Caret::SelectAll) {
        m_txtedit->selectAll();
    } else {
        m_txtedit->setCursorPosition(0);
    }
}

void CellEditor::editTyped(const QModelIndex& cell, const QString& typed, const TextOptions& options) {
    openText(cell, QString(), options);
    // Through the filter, as if typed into the editor itself.
    QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, typed);
    if (!filterKey(&key)) {
        m_txtedit->insert(typed);
    }
}

void CellEditor::openText(const QModelIndex& cell, const QString& text, const TextOptions& options) {
    commit();
    m_editCell = cell;
    m_filter = options.filter;
    m_txtedit->setMaxLength(options.maxLength);
    m_txtedit->setText(text);
    // A narrow column still gets an editor in which the whole field can be read while typing.
    QRect rect = m_view->visualRect(cell);
    if (options.fieldWidth > 0) {
        const QMargins margins = m_txtedit->textMargins() + m_txtedit->contentsMargins();
        const int needed = m_txtedit->fontMetrics().averageCharWidth() * options.fieldWidth + margins.left() +
                           margins.right() + 4 * m_txtedit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth);
        const int area = m_view->viewport()->width();
        const int width = qMax(rect.width(), qMin(needed, area));
        rect.setLeft(qMax(0, qMin(rect.left(), area - width)));
        rect.setWidth(width);
    }
    m_txtedit->setGeometry(rect);
    m_txtedit->show();
    m_txtedit->raise();
    m_txtedit->setFocus();
}

void CellEditor::showChoices(const QModelIndex& cell, const QStringList& choices) {
    commit();
    m_list1->clear();
    m_list1->addItems(choices);
    const QList<QListWidgetItem*> current = m_list1->findItems(cell.data().toString(), Qt::MatchExactly);
    if (!current.isEmpty()) {
        m_list1->setCurrentItem(current.constFirst());
    }

    // Over the cell, as wide as the longest choice, kept inside the viewport.
    const QRect rect = m_view->visualRect(cell);
    const QRect area = m_view->viewport()->rect();
    const int frame = 2 * m_list1->frameWidth();
    const int rows = qMin(int(choices.size()), kChoiceRowsShown);
    int width = qMax(rect.width(), m_list1->sizeHintForColumn(0) + frame);
    if (choices.size() > kChoiceRowsShown) {
        width += m_list1->verticalScrollBar()->sizeHint().width();
    }
    const int height = qMin(rows * m_list1->sizeHintForRow(0) + frame, area.height());
    const int x = qMax(0, qMin(rect.left(), area.right() - width));
    const int y = qMax(0, qMin(rect.top(), area.bottom() - height));
    m_list1->setGeometry(x, y, width, height);
    m_choiceCell = cell;
    m_list1->show();
    m_list1->raise();
    m_list1->setFocus();
    if (m_list1->currentItem()) {
        m_list1->scrollToItem(m_list1->currentItem());
    }
}

bool CellEditor::isOpen() const {
    return m_txtedit->isVisible() || m_combo1->isVisible() || m_list1->isVisible();
}

QModelIndex CellEditor::cell() const {
    if (m_list1->isVisible()) {
        return m_choiceCell;
    }
    return isOpen() ? QModelIndex(m_editCell) : QModelIndex();
}

void CellEditor::commit() {
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
    hideEditor(editor);
    if (cell.isValid()) {
        Q_EMIT textCommitted(cell, text);
    }
}

void CellEditor::close() {
    hideChoices();
    m_editCell = QPersistentModelIndex();
    hideEditor(m_txtedit);
    hideEditor(m_combo1);
}

void CellEditor::hideEditor(QWidget* editor) {
    if (!editor->isVisible()) {
        return;
    }
    // The grid takes the focus back before the editor goes: a focus widget that hides hands the focus
    // on as Tab does, and Tab moves the grid's current cell one column on.
    if (editor->hasFocus()) {
        m_view->setFocus();
    }
    editor->hide();
    m_refusalLine->hide();
}

void CellEditor::refuse(const QString& why) {
    if (!m_txtedit->isVisible()) {
        return;
    }
    m_refusalLine->setText(why);
    m_refusalLine->adjustSize();
    // Under the editor, or above it at the bottom of the grid.
    const QRect editor = m_txtedit->geometry();
    const QRect area = m_view->viewport()->rect();
    int y = editor.bottom() + 1;
    if (y + m_refusalLine->height() > area.bottom()) {
        y = qMax(0, editor.top() - m_refusalLine->height());
    }
    m_refusalLine->move(qMax(0, qMin(editor.left(), area.right() - m_refusalLine->width())), y);
    m_refusalLine->show();
    m_refusalLine->raise();
}

void CellEditor::hideChoices() {
    const bool wasOpen = m_list1->isVisible();
    hideEditor(m_list1);
    m_choiceCell = QPersistentModelIndex();
    if (wasOpen) {
        Q_EMIT choicesClosed();
    }
}

void CellEditor::pick(QListWidgetItem* item) {
    const QPersistentModelIndex cell = m_choiceCell;
    const QString choice = item ? item->text() : QString();
    hideChoices();
    if (cell.isValid() && item) {
        Q_EMIT choicePicked(cell, choice);
    }
}

bool CellEditor::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) {
        return QObject::eventFilter(watched, event);
    }
    auto* key = static_cast<QKeyEvent*>(event);
    if ((watched == m_txtedit || watched == m_list1) && isTab(key)) {
        // Tab leaves the grid, not only the editor: what was typed goes in, then the focus moves on.
        if (watched == m_txtedit) {
            commit();
        } else {
            hideChoices();
        }
        m_view->setFocus();
        QKeyEvent tab(QEvent::KeyPress, key->key(), key->modifiers());
        QCoreApplication::sendEvent(m_view, &tab);
        return true;
    }
    if (watched == m_txtedit) {
        if (isEnter(key)) {
            commit();
            return true;
        }
        if (key->key() == Qt::Key_Escape && m_escapeCancels) {
            close();
            return true;
        }
        return filterKey(key);
    }
    if (watched == m_list1 && key->key() == Qt::Key_Escape) {
        hideChoices();
        return true;
    }
    if (watched == m_list1 && isEnter(key)) {
        pick(m_list1->currentItem());
        return true;
    }
    return QObject::eventFilter(watched, event);
}

// True when the key was taken care of here, false to let txtedit handle it.
bool CellEditor::filterKey(QKeyEvent* event) {
    if (m_filter != Filter::HexUpperCase) {
        return false;
    }
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        return false;
    }
    if (event->key() == Qt::Key_Backspace) {
        return true;
    }
    if (isTab(event) || event->text().isEmpty()) {
        return false;
    }
    if (!event->text().at(0).isPrint()) {
        return true;
    }
    // Upper case on the way in; the validator refuses whatever is no hex digit.
    m_txtedit->insert(event->text().toUpper());
    return true;
}
