#pragma once

#include <QByteArray>
#include <QDialog>

#include <functional>

class DowIo;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class Session;

// probfrm: waits for a DS1993 or DS1994 on the probe, writes the reader's programming image into it
// page by page, reads it back and closes itself two seconds later. Object names are the control names.
class ProbeWindow : public QDialog {
    Q_OBJECT

public:
    static constexpr int kPollIntervalMs = 100;
    static constexpr int kCloseDelayMs = 2000;

    // imagePath: the reader's autonoom.hex. check1: a failed check keeps the window open and leaves the
    // key-written flag alone. keyWrittenFlag, if given, is set when the window closes after a run.
    ProbeWindow(DowIo& dow, const QString& imagePath, bool check1, bool* keyWrittenFlag = nullptr,
                QWidget* parent = nullptr);
    ~ProbeWindow() override;

    // The column-0 click of the reader list: builds reader readerNumber's image in the session's data
    // folder and, when that worked, shows the window modally. A refusal is shown as a message box.
    // portDialog, if given, runs when Command1 is pressed. False when no window was opened.
    static bool programKey(Session& session, int readerNumber, QWidget* parent,
                           const std::function<void()>& portDialog = {});

    bool writing() const { return m_writing; }

    void done(int result) override;

Q_SIGNALS:
    // Command1 "I/O poort instellen".
    void portSettingsRequested();
    // The window closes after a run; the reader's changed flag may be cleared.
    void keyWritten();
    // After each page, ok false when its scratchpad could not be written.
    void pageWritten(int page, bool ok);

private:
    void Timer2_Timer();
    void Timer3_Timer();
    void ladercmd_Click();
    void runWrite();
    void setStatusColor(const QColor& color);
    void refuse(const QString& why);

    DowIo& m_dow;
    QString m_imagePath;
    bool m_check1;
    bool* m_keyWrittenFlag;
    bool m_writing = false;
    bool m_closeRequested = false;

    QLabel* m_label1;
    QLabel* m_label2;
    QLabel* m_label3;
    QLabel* m_label4;
    QLabel* m_imgNotConnected;
    QProgressBar* m_progressBar1;
    QPushButton* m_ladercmd;
    QPushButton* m_command1;
    QTimer* m_timer2;
    QTimer* m_timer3;
};
