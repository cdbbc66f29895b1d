#pragma once

#include <QDialog>
#include <QHash>

class QComboBox;
class QLabel;
class QPushButton;
class QTabWidget;
class Session;

// properties, "Poort instelling": the serial port of the probe, and which device Com1 and Com2 are. While
// it is open the probe is off-line.
class PortDialog : public QDialog {
    Q_OBJECT

public:
    // Closes the line and releases both port ranges at once.
    explicit PortDialog(Session& session, QWidget* parent = nullptr);

    // The setting of section startfrm that keeps the device tied to Com1 or Com2: "com1pad", "com2pad".
    static QString devicePathKey(int portNumber);

    // Ties the devices chosen here to their ports and keeps them in the settings, then reopens the line on
    // the chosen port; a port that cannot be opened is reported and the program carries on with the probe
    // off-line.
    void cmdOK_Click();

Q_SIGNALS:
    // The port number changed or the line was reopened: whoever shows the port's state looks again.
    // error is empty, or says why the port could not be opened.
    void portApplied(const QString& error);

protected:
    void reject() override;

private:
    void LoadPropertySettings();
    void showDeviceOf(int portNumber);

    Session& m_session;
    QTabWidget* m_tabs;
    QComboBox* m_ports;
    QComboBox* m_devices;
    QLabel* m_deviceNote;
    QPushButton* m_ok;
    // The device chosen for each port number, until OK.
    QHash<int, QString> m_chosen;
};
