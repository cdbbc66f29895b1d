#include "app/PortDialog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "onewire/DowIo.h"
#include "onewire/QtSerialLine.h"
#include "onewire/SerialLine.h"
#include "onewire/SerialPorts.h"
#include "screens/MessageBox.h"
#include "screens/Mnemonics.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"

namespace {
constexpr int kPortChoices = 2;
}

PortDialog::PortDialog(Session& session, QWidget* parent)
    : QDialog(parent),
      m_session(session),
      m_tabs(new QTabWidget(this)),
      m_ports(new QComboBox(this)),
      m_devices(new QComboBox(this)),
      m_deviceNote(new QLabel(this)),
      m_ok(new QPushButton(QStringLiteral("OK"), this)) {
    setObjectName(QStringLiteral("properties"));
    setWindowTitle(QStringLiteral("Poort instelling"));
    m_tabs->setObjectName(QStringLiteral("SSTab1"));
    m_ports->setObjectName(QStringLiteral("Cboport"));
    m_devices->setObjectName(QStringLiteral("Cboapparaat"));
    m_devices->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_deviceNote->setObjectName(QStringLiteral("apparaatlbl"));
    m_deviceNote->setWordWrap(true);
    m_ok->setObjectName(QStringLiteral("cmdOK"));
    m_ok->setDefault(true);

    auto* page = new QWidget(m_tabs);
    auto* form = new QFormLayout(page);
    form->addRow(QStringLiteral("Poort van de probe:"), m_ports);
    form->addRow(QStringLiteral("Apparaat:"), m_devices);
    form->addRow(m_deviceNote);
    m_tabs->addTab(page, QStringLiteral("Seriële poort"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(m_ok, 0, Qt::AlignRight);
    connect(m_ok, &QPushButton::clicked, this, &PortDialog::cmdOK_Click);
    Mnemonics::assign(this);

    m_session.dowIo().beginPortDialog();
    LoadPropertySettings();
}

QString PortDialog::devicePathKey(int portNumber) {
    return QStringLiteral("com%1pad").arg(portNumber);
}

void PortDialog::LoadPropertySettings() {
    for (int number = 1; number <= kPortChoices; ++number) {
        m_ports->addItem(QStringLiteral("Com%1").arg(number));
    }
    // A stored number above 2 selects nothing.
    const int index = m_session.line().portNumber() - 1;
    m_ports->setCurrentIndex(index >= 0 && index < kPortChoices ? index : -1);

    if (QtSerialLine* port = m_session.serialPort) {
        for (int number = 1; number <= kPortChoices; ++number) {
            m_chosen.insert(number, port->devicePath(number));
        }
        const QList<SerialPortEntry> found = m_session.listPorts ? m_session.listPorts() : SerialPorts::scan();
        for (const SerialPortEntry& entry : found) {
            m_devices->addItem(entry.label(), entry.device);
        }
        m_deviceNote->setText(found.isEmpty() ? QStringLiteral("Er is geen seriële poort gevonden. Sluit de probe "
                                                               "(of de USB-adapter) aan en open dit venster opnieuw.")
                                              : QString());
        connect(m_ports, &QComboBox::currentIndexChanged, this, [this](int i) { showDeviceOf(i + 1); });
        connect(m_devices, &QComboBox::activated, this,
                [this](int i) { m_chosen.insert(m_ports->currentIndex() + 1, m_devices->itemData(i).toString()); });
        showDeviceOf(m_ports->currentIndex() + 1);
    } else {
        m_devices->setEnabled(false);
        m_deviceNote->setText(QStringLiteral("De probe is gesimuleerd: er wordt geen apparaat gebruikt."));
    }
    m_deviceNote->setVisible(!m_deviceNote->text().isEmpty());
}

void PortDialog::showDeviceOf(int portNumber) {
    const QString device = m_chosen.value(portNumber);
    m_devices->setEnabled(m_chosen.contains(portNumber));
    int index = m_devices->findData(device);
    if (index < 0 && !device.isEmpty()) {
        // Tied earlier, or given on the command line, but not among the ports found now: it stays offered.
        m_devices->addItem(QStringLiteral("%1  (niet gevonden)").arg(device), device);
        index = m_devices->count() - 1;
    }
    m_devices->setCurrentIndex(index);
}

void PortDialog::cmdOK_Click() {
    if (QtSerialLine* port = m_session.serialPort) {
        for (auto it = m_chosen.cbegin(); it != m_chosen.cend(); ++it) {
            if (it.value() != port->devicePath(it.key())) {
                port->setDevicePath(it.key(), it.value());
                m_session.settings().save(QStringLiteral("startfrm"), devicePathKey(it.key()), it.value());
            }
        }
    }
    QString error;
    if (!m_session.dowIo().applyPortChoice(m_ports->currentIndex() + 1, &error)) {
        MessageBox::error(this, error);
    }
    Q_EMIT portApplied(error);
    accept();
}

void PortDialog::reject() {
    // Closed without OK: the probe goes back on-line on the port it had, rather than staying off.
    QString error;
    m_session.dowIo().applyPortChoice(m_session.line().portNumber(), &error);
    Q_EMIT portApplied(error);
    QDialog::reject();
}
