#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QStringList>
#include <functional>

class AboutDialog;
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

    // Column 0 of a reader's row was clicked: build and write that reader's programming key.
    void setProgramKeyHook(const std::function<void(int readerNumber)>& hook) { m_programKeyHook = hook; }
    // The "Gesimuleerde probe" window, reachable from here while the probe is simulated.
    void setSimulatedProbeWindow(QWidget* window);

    // Each time the window becomes active: a programming key written meanwhile clears its reader's
    // red cross; with a location chosen the list is read again.
    void Form_Activate();
    void CmdHelp_Click();
    PortDialog* openPortDialog();
    void updateStatusLine();

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
    void showAccessWindow(int readerNumber, const QString& readerName);
    void showPlaceholder(QPointer<PlaceholderWindow>& window, const QString& objectName, const QString& caption);
    void placeHelpList();
    QPushButton* addButton(const QString& objectName, const QString& caption);

    Session& m_session;
    ReaderGrid* m_grid = nullptr;
    QListWidget* m_helplst = nullptr;
    QPushButton* m_cmdHelp = nullptr;
    QPushButton* m_simProbeButton = nullptr;
    QLabel* m_status = nullptr;
    QToolBar* m_buttonRow = nullptr;
    QString m_portError;
    bool m_unloaded = false;
    std::function<void(int)> m_programKeyHook;

    QPointer<PortDialog> m_portDialog;
    QPointer<AboutDialog> m_about;
    QPointer<PlaceholderWindow> m_locations;
    QPointer<PlaceholderWindow> m_access;
    QPointer<QWidget> m_simulatedProbeWindow;
};
