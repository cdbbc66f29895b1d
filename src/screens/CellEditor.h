#pragma once

#include <QObject>
#include <QPersistentModelIndex>
#include <QStringList>

class QComboBox;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QTableView;

// The in-place editors every grid lays over its cells: the text box txtedit, the choice list List1 and
// the second editor Combo1. At most one is open at a time; it belongs to the cell it covers and is
// committed when the grid leaves that cell, when the grid scrolls, on Enter or on Tab.
class CellEditor : public QObject {
    Q_OBJECT

public:
    // The code column takes hexadecimal digits only, upper case; even Backspace is dropped there, on
    // purpose: corrections are made by selecting and typing over.
    enum class Filter { None, HexUpperCase };
    // Where the caret stands when txtedit opens with the cell's text.
    enum class Caret { SelectAll, AtStart };

    struct TextOptions {
        int maxLength = 32767;
        Filter filter = Filter::None;
        Caret caret = Caret::SelectAll;
        // Characters of the field the text goes into: txtedit opens at least that wide, however narrow
        // the column; 0 for the cell's own width.
        int fieldWidth = 0;
    };

    // What txtedit refuses, however the text arrives (typed, pasted, dropped): a character the record
    // files cannot hold, and in the code column anything but a hexadecimal digit. The refusal is said in
    // a short line beside the editor. Empty when text is welcome.
    static QString refusal(const QString& text, Filter filter);

    // The editors become hidden children of the view's viewport.
    explicit CellEditor(QTableView* view);

    QLineEdit* txtedit() const { return m_txtedit; }
    QListWidget* list1() const { return m_list1; }
    QComboBox* combo1() const { return m_combo1; }
    // The line that says why a change was refused; hidden while there is nothing to say.
    QLabel* refusalLine() const { return m_refusalLine; }

    // Whether Escape closes txtedit without committing (true unless a grid keeps its edit open).
    void setEscapeCancels(bool on) { m_escapeCancels = on; }

    // txtedit over cell, holding the cell's text (a double-click, or a key that edits what is there).
    void editText(const QModelIndex& cell, const TextOptions& options);
    // txtedit over cell, holding only what was typed, the caret after it (a printable key typed on a cell
    // replaces its text).
    void editTyped(const QModelIndex& cell, const QString& typed, const TextOptions& options);
    // List1 over cell with the choices, the cell's own value current.
    void showChoices(const QModelIndex& cell, const QStringList& choices);

    bool isOpen() const;
    // The cell under the open editor or list; invalid when none is open.
    QModelIndex cell() const;

    // An open txtedit or Combo1 puts its text into its cell (textCommitted); an open List1 is hidden
    // without a choice.
    void commit();
    // Hides whatever is open, committing nothing.
    void close();

Q_SIGNALS:
    void textCommitted(const QPersistentModelIndex& cell, const QString& text);
    void choicePicked(const QPersistentModelIndex& cell, const QString& choice);
    // List1 went away, picked or not.
    void choicesClosed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void openText(const QModelIndex& cell, const QString& text, const TextOptions& options);
    bool filterKey(QKeyEvent* event);
    void refuse(const QString& why);
    void pick(QListWidgetItem* item);
    void hideChoices();
    void hideEditor(QWidget* editor);

    QTableView* m_view;
    QLineEdit* m_txtedit;
    QListWidget* m_list1;
    QComboBox* m_combo1;
    QLabel* m_refusalLine;
    QPersistentModelIndex m_editCell;
    QPersistentModelIndex m_choiceCell;
    Filter m_filter = Filter::None;
    bool m_escapeCancels = true;
};
