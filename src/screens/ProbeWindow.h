#pragma once

#include <QByteArray>
#include <QDialog>
#include <QStringList>

#include <functional>

#include "programming/KeyPoller.h"
#include "records/RecordFile.h"

class DowIo;
class QLabel;
class QProgressBar;
class QPushButton;
class Session;
class TickSource;
class Ticker;

// probfrm: waits for a DS1993 or DS1994 on the probe, writes the reader's programming image into it
// page by page, reads it back and closes itself two seconds after "Controle OK". A failed check keeps it
// open in red with "Opnieuw". Object names are the control names.
class ProbeWindow : public QDialog {
    Q_OBJECT

public:
    static constexpr int kCloseDelayMs = 2000;

    // What a column-0 click came to.
    struct Outcome {
        bool opened = false;  // the image was built and the window shown
        // The key's check said "Controle OK", or the window closed itself after a run: the reader counts
        // as programmed, however the window was closed.
        bool written = false;
        int readerNumber = 0;
        // The reader's record as the image left it: its mark may go only while the disk still holds it.
        LoadedRecord built;
        // What the image holds, for the log.
        QString readerName;
        int keyCount = 0;
        // The check's text of each run that wrote a key, in order ("Opnieuw" runs again).
        QStringList runs;
    };

    // imagePath: the reader's autonoom.hex. check1: pages that still differ after the check are written
    // again before the run counts as failed.
    // ticks: what drives Timer2 and Timer3; real timers when null.
    ProbeWindow(DowIo& dow, const QString& imagePath, bool check1, TickSource* ticks = nullptr,
                QWidget* parent = nullptr);
    ~ProbeWindow() override;

    // The column-0 click of the reader list: builds reader readerNumber's image in the session's data
    // folder and, when that worked, shows the window modally. A refusal is shown as a message box.
    // portDialog, if given, runs when Command1 is pressed.
    static Outcome programKey(Session& session, int readerNumber, QWidget* parent,
                              const std::function<void()>& portDialog = {});

    // Which reader the image is for, shown above everything else.
    void setReader(int number, const QString& name);

    bool writing() const { return m_writing; }
    // A run's check said OK, or the window closed itself after a run.
    bool keyWritten() const { return m_keyWritten; }
    // The check's text of each finished run.
    const QStringList& runs() const { return m_runs; }

    void done(int result) override;

Q_SIGNALS:
    // Command1 "I/O poort instellen".
    void portSettingsRequested();
    // After each page, and after each page written again with check1; ok false when its scratchpad
    // could not be written.
    void pageWritten(int page, bool ok);

private:
    void Timer2_Timer();
    void Timer3_Timer();
    void ladercmd_Click();
    void runWrite();
    void setStatusColor(const QColor& color);
    void refuse(const QString& why);
    void setStatusText(const QString& text);
    void showProbeState(bool connected);

    DowIo& m_dow;
    KeyPoller m_poller;
    QString m_imagePath;
    bool m_check1;
    bool m_writing = false;
    bool m_keyWritten = false;
    bool m_closeRequested = false;
    QStringList m_runs;

    QLabel* m_lezerlbl;
    QLabel* m_label1;
    QLabel* m_label2;
    QLabel* m_label3;
    QLabel* m_label4;
    QLabel* m_imgNotConnected;
    QProgressBar* m_progressBar1;
    QPushButton* m_ladercmd;
    QPushButton* m_command1;
    Ticker* m_timer2;
    Ticker* m_timer3;
};
