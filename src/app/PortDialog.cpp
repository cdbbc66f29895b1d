#include "app/PortDialog.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "onewire/DowIo.h"
#include "onewire/SerialLine.h"
#include "screens/MessageBox.h"

namespace {
constexpr int kPortChoices = 2;
}

PortDialog::PortDialog(DowIo& dowIo, QWidget* parent)
    : QDialog(parent),
      m_dowIo(dowIo),
      m_tabs(new QTabWidget(this)),
      m_ports(new QComboBox(this)),
      m_ok(new QPushButton(QStringLiteral("OK"), this)) {
    setObjectName(QStringLiteral("properties"));
    setWindowTitle(QStringLiteral("Poort instelling"));
    m_tabs->setObjectName(QStringLiteral("SSTab1"));
    m_ports->setObjectName(QStringLiteral("Cboport"));
    m_ok->setObjectName(QStringLiteral("cmdOK"));
    m_ok->setDefault(true);

    auto* page = new QWidget(m_tabs);
    auto* pageLayout = new QHBoxLayout(page);
    pageLayout->addWidget(new QLabel(QStringLiteral("Poort van de probe:"), page));
    pageLayout->addWidget(m_ports, 1);
    m_tabs->addTab(page, QStringLiteral("Seriële poort"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(m_ok, 0, Qt::AlignRight);
    connect(m_ok, &QPushButton::clicked, this, &PortDialog::cmdOK_Click);

    m_dowIo.beginPortDialog();
    LoadPropertySettings();
}

void PortDialog::LoadPropertySettings() {
    for (int number = 1; number <= kPortChoices; ++number) {
        m_ports->addItem(QStringLiteral("Com%1").arg(number));
    }
    // A stored number above 2 selects nothing.
    const int index = m_dowIo.line().portNumber() - 1;
    m_ports->setCurrentIndex(index >= 0 && index < kPortChoices ? index : -1);
}

void PortDialog::cmdOK_Click() {
    QString error;
    if (!m_dowIo.applyPortChoice(m_ports->currentIndex() + 1, &error)) {
        MessageBox::error(this, error);
    }
    Q_EMIT portApplied(error);
    accept();
}

void PortDialog::reject() {
    // Closed without OK: the probe goes back on-line on the port it had, rather than staying off.
    QString error;
    m_dowIo.applyPortChoice(m_dowIo.line().portNumber(), &error);
    Q_EMIT portApplied(error);
    QDialog::reject();
}
