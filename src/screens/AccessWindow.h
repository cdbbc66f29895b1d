#pragma once

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include "screens/DetailsWindow.h"

class AccessGrid;
class OverviewWindow;
class QListWidget;
class QPushButton;
class Session;

// sleutelfrm, "sleutelhouders": the access grid with its buttons and help. It reads the files again
// each time it becomes active, so whatever another window changed shows up; closing it keeps its
// geometry, the first five columns' widths and the top row in the settings.
class AccessWindow : public QWidget {
    Q_OBJECT

public:
    // What the details window is opened for.
    using DetailsMode = DetailsWindow::Mode;

    explicit AccessWindow(Session& session, QWidget* parent = nullptr);
    ~AccessWindow() override;

    static QStringList helpLines();

    AccessGrid* grid() const { return m_grid; }
    // The details window while it is open.
    DetailsWindow* details() const { return m_details; }

    // "Overzicht" of this location, opened (or brought up and read again) by its button.
    OverviewWindow* openOverview();

    // Reader number n (from 1) in view with its full name over its heading; call once shown.
    void showReader(int readerNumber);

    void Form_Activate();
    void CmdHelp_Click();

Q_SIGNALS:
    // The window has unloaded.
    void closed();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void Form_Load();
    void Form_Unload();
    void storeTopRow();
    void openDetails(DetailsMode mode, int record);
    void detailsClosed();
    void detailsDeleted(int record);
    int currentRecord() const;
    void placeHelpList();

    Session& m_session;
    AccessGrid* m_grid;
    QListWidget* m_hepllst;
    QPushButton* m_zoekcmd;
    QPushButton* m_cmdHelp;
    QPointer<DetailsWindow> m_details;
    QPointer<OverviewWindow> m_overview;
    // The grid was filled by the load; the first activation need not read the files again.
    bool m_freshFromLoad = false;
    // toprow as this window last read or wrote it. Only a value some other window stored moves the
    // rows; otherwise an activation leaves them where the user had them.
    int m_topRowSeen = 0;
    bool m_unloaded = false;
};
