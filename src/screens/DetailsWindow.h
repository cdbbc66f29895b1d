#pragma once

#include <QWidget>

#include "programming/KeyPoller.h"
#include "records/KeyHolderFile.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class Session;
class Ticker;

// persoonfrm, "Personalia": one key holder's particulars and key. The code is never typed: while a key
// is awaited Timer1 reads the probe, and a key another holder has is refused. The same window edits the
// holder of a grid row, makes a new one ("Nieuw") and finds a holder by the key someone hands in
// (" Zoeken"). Object names are the control names.
class DetailsWindow : public QWidget {
    Q_OBJECT

public:
    enum class Mode { Edit, New, Search };

    // record: the record number of the access grid's current row (Edit and New), 0 when it has none.
    DetailsWindow(Session& session, Mode mode, int record, QWidget* parent = nullptr);
    ~DetailsWindow() override;

    // The current record number, 0 for none.
    int record() const { return m_record; }
    // A search started and " Zoeken" is not to be pressed again yet.
    bool searching() const { return m_searching; }

    void Newcmd_Click();
    void Applycmd_Click();
    void romcmd_Click();
    void wiscmd_Click();

Q_SIGNALS:
    // The search is over, found, cancelled or closed: " Zoeken" may be pressed again.
    void searchEnded();
    // Record n is gone from the file; the holders behind it moved down one number.
    void recordDeleted(int record);
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void Form_Load(Mode mode);
    void Form_Unload();
    void showRecord();
    void zoeken();
    void searchOver();
    void endSearch();
    void Timer1_Timer();
    void Verifieren(int& found);
    void showStoredCode();
    void startCapture();
    void stopCapture();
    void showProbeState(bool connected);
    void rememberLoaded();

    Session& m_session;
    KeyHolderFile m_file;
    KeyPoller m_poller;
    int m_record = 0;
    bool m_searching = false;
    bool m_unloaded = false;
    // The current record as this window last read or wrote it: a save or delete must find it unchanged.
    LoadedRecord m_loaded;
    QString m_loadedCode;

    QLineEdit* m_naamtxt;
    QLineEdit* m_adrestxt;
    QLineEdit* m_wptxt;
    QLineEdit* m_teltxt;
    QLineEdit* m_mobtxt;
    QLineEdit* m_romtxt;
    QLabel* m_noROMimg;
    QLabel* m_vlgnrlbl;
    QLabel* m_probelbl;
    QCheckBox* m_geldigchk;
    QPushButton* m_romcmd;
    QPushButton* m_applycmd;
    QPushButton* m_newcmd;
    QPushButton* m_wiscmd;
    Ticker* m_timer1;
};
