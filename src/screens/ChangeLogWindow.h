#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QListView;
class QSortFilterProxyModel;
class QStringListModel;
class Session;

// logboekfrm, "Logboek": the current location's logboek.txt, newest line first, narrowed to the lines
// that hold what is typed in the filter. Read again each time it becomes active, so a change made
// meanwhile shows. A location without a log shows an empty list and says so.
class ChangeLogWindow : public QWidget {
    Q_OBJECT

public:
    explicit ChangeLogWindow(Session& session, QWidget* parent = nullptr);

    // Reads the log again; false (and the reason shown in the window) when it cannot be read.
    bool laden();

    QLineEdit* filter() const { return m_filter; }
    // The lines shown, top to bottom.
    QStringList shownLines() const;

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void updateCount();

    Session& m_session;
    QStringListModel* m_lines;
    QSortFilterProxyModel* m_filtered;
    QLineEdit* m_filter;
    QListView* m_list;
    QLabel* m_heading;
    QLabel* m_count;
    QString m_readError;
};
