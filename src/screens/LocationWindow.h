#pragma once

#include <QWidget>

#include "records/LocationFile.h"

class LocationListModel;
class QPushButton;
class RecordGrid;
class Session;

// Locatiefrm, "Locaties": the list of locations in the grid fg1 over locatie.bst. Cells are edited in
// place and a row is saved whenever the grid leaves one of its cells; typing in the last row adds a
// location. A click on a location's number makes its folder below bestanden the data folder and closes
// the window. Modal over the whole program while it is open.
class LocationWindow : public QWidget {
    Q_OBJECT

public:
    explicit LocationWindow(Session& session, QWidget* parent = nullptr);

    RecordGrid* grid() const { return m_fg1; }
    LocationListModel* model() const { return m_model; }
    QPushButton* wiscmd() const { return m_wiscmd; }

    // Refills the grid from locatie.bst.
    bool FG1_laden();
    // Asks for confirmation and deletes the current location from the list; its folder stays.
    void wiscmd_Click();

    // The trimmed name of the first location whose "Map" is the session's subdir, letter case aside;
    // empty when there is no such location or the list cannot be read.
    static QString nameOfCurrentLocation(const Session& session);

Q_SIGNALS:
    // A location was chosen: the session's subdir names its folder, which exists. The window has closed.
    void locationChosen(const QString& name);

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Form_Load();
    void Form_Unload();
    void FG1_Click(const QModelIndex& index);
    void MSHFlexGridEdit(const QModelIndex& cell, const QString& typed);
    void textCommitted(const QModelIndex& cell, const QString& text);
    bool FG1_LeaveCell(int row);
    bool record_save(int row);
    void chooseLocation(int row);
    void updateWiscmd();

    Session& m_session;
    LocationFile m_file;
    LocationListModel* m_model;
    RecordGrid* m_fg1;
    QPushButton* m_wiscmd;
    bool m_isLoading = false;
    bool m_leaving = false;
    bool m_unloaded = false;
};
