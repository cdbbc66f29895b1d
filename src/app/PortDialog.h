#pragma once

#include <QDialog>

class DowIo;
class QComboBox;
class QPushButton;
class QTabWidget;

// properties, "Poort instelling": the serial port of the probe. While it is open the probe is off-line.
class PortDialog : public QDialog {
    Q_OBJECT

public:
    // Closes the line and releases both port ranges at once.
    explicit PortDialog(DowIo& dowIo, QWidget* parent = nullptr);

    // Reopens the line on the chosen port; a port that cannot be opened is reported with the system's
    // text and the program carries on with the probe off-line.
    void cmdOK_Click();

Q_SIGNALS:
    // The port number changed or the line was reopened: whoever shows the port's state looks again.
    // error is empty, or says why the port could not be opened.
    void portApplied(const QString& error);

protected:
    void reject() override;

private:
    void LoadPropertySettings();

    DowIo& m_dowIo;
    QTabWidget* m_tabs;
    QComboBox* m_ports;
    QPushButton* m_ok;
};
