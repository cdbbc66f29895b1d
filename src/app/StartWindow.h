#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QStringList>

#include "screens/ProbeWindow.h"

class AboutDialog;
class LocationWindow;
class OverviewWindow;
class AccessWindow;
class ChangeLogWindow;
class PlaceholderWindow;
class PortDialog;
class QLabel;
class QListWidget;
class QPushButton;
class QToolBar;
class ReaderGrid;
class Session;

// startfrm, "Vondrel Lezers": the reader list and the door to every other window. Loading it restores
// the settings, prepares the data folder and brings the probe's port on-line; closing it saves the
// settings, releases the port and ends the program.
class StartWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit StartWindow(Session& session, QWidget* parent = nullptr);
    ~StartWindow() override;

    static QStringList helpLines();

    ReaderGrid* grid() const { return m_grid; }
    Session& session() { return m_session; }

    // The "Gesimuleerde probe" window, reachable from here while the probe is simulated.
    void setSimulatedProbeWindow(QWidget* window);

    // Each time the window becomes active: with a location chosen the list is read again.
    void Form_Activate();
    // What the probe window's run means for the list: a written key clears its reader's red cross, and
    // the list is read again for the key count the image builder wrote.
    void keyProgrammed(const ProbeWindow::Outcome& outcome);
    void CmdHelp_Click();
    PortDialog* openPortDialog();
    // Locatiefrm, modal; a location chosen there becomes the one the reader list shows.
    LocationWindow* openLocations();
    void updateStatusLine();
    // logboekfrm: the current location's change log, newest first.
    ChangeLogWindow* openChangeLog();
    // "Overzicht" of the current location, opened (or brought up and read again) by its button.
    OverviewWindow* openOverview();

Q_SIGNALS:
    // The window has unloaded: the program ends.
    void unloaded();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void Form_Load();
    void Form_Unload();
    bool prepareDataFolder(QString* error);
    void programKey(int readerNumber);
    // The access window; readerNumber 0 opens it without a reader in view.
    void showAccessWindow(int readerNumber);
    void showLocation(const QString& name);
    void showPlaceholder(QPointer<PlaceholderWindow>& window, const QString& objectName, const QString& caption);
    void placeHelpList();
    QPushButton* addButton(const QString& objectName, const QString& caption);

    Session& m_session;
    ReaderGrid* m_grid = nullptr;
    QListWidget* m_helplst = nullptr;
    QPushButton* m_cmdHelp = nullptr;
    QPushButton* m_simProbeButton = nullptr;
    QLabel* m_status = nullptr;
    QLabel* m_lblLocatie = nullptr;
    QToolBar* m_buttonRow = nullptr;
    QString m_portError;
    bool m_unloaded = false;

    QPointer<PortDialog> m_portDialog;
    QPointer<AboutDialog> m_about;
    QPointer<LocationWindow> m_locations;
    QPointer<AccessWindow> m_access;
    QPointer<ChangeLogWindow> m_changeLog;
    QPointer<OverviewWindow> m_overview;
    QPointer<QWidget> m_simulatedProbeWindow;
};
