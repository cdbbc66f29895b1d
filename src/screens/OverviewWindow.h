#pragma once

#include <QAbstractTableModel>
#include <QDate>
#include <QPointer>
#include <QWidget>

#include "reports/Overview.h"

class QLabel;
class QLineEdit;
class QTabWidget;
class QTableView;
class Session;

// A table of texts, the window's lists.
class OverviewTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    void setTable(OverviewTable table);
    const OverviewTable& table() const { return m_table; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    OverviewTable m_table;
};

// "Overzicht": who opens which door of the current location, per reader or per key holder, narrowed by
// a filter on name or key code, to print, save as PDF or export as CSV. It reads the record files when
// opened and on reload(); it writes nothing to them.
class OverviewWindow : public QWidget {
    Q_OBJECT

public:
    explicit OverviewWindow(Session& session, QWidget* parent = nullptr);
    // The window held in window, made when there is none yet, read again when there is, and brought up.
    static OverviewWindow* bringUp(QPointer<OverviewWindow>& window, Session& session, QWidget* parent);
    ~OverviewWindow() override;

    // Reads the files again; a file that cannot be read is shown as a message and leaves the lists empty.
    void reload();

    const Overview& overview() const { return m_overview; }
    OverviewView view() const;
    void setView(OverviewView view);
    void setFilter(const QString& text);
    // Which reader (or key holder, in that view) the lower lists show: a row of the upper list.
    void selectRow(int row);

    OverviewTableModel* listModel(OverviewView view) const;
    OverviewTableModel* grantedModel(OverviewView view) const;
    OverviewTableModel* withdrawnModel(OverviewView view) const;

    // The buttons' work, each through the dialog seam; the date is the one in the header.
    void printcmd_Click();
    void pdfcmd_Click();
    void csvcmd_Click();
    void setDate(const QDate& date) { m_date = date; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct Page {
        QTableView* list = nullptr;
        OverviewTableModel* listModel = nullptr;
        OverviewTableModel* granted = nullptr;
        OverviewTableModel* withdrawn = nullptr;
        QList<int> shown;  // indexes into the overview behind the list's rows
    };

    QWidget* makePage(Page& page, const QString& grantedCaption, const QString& withdrawnCaption);
    Page& page(OverviewView view);
    const Page& page(OverviewView view) const;
    void refresh();
    void showDetails(OverviewView view);
    QString suggestedName(const QString& suffix) const;
    void saveGeometry();

    Session& m_session;
    Overview m_overview;
    QDate m_date = QDate::currentDate();
    QLabel* m_heading;
    QLineEdit* m_filter;
    QTabWidget* m_tabs;
    Page m_readers;
    Page m_holders;
    bool m_geometrySaved = false;
};
