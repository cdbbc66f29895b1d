#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "app/PortDialog.h"
#include "onewire/QtSerialLine.h"
#include "onewire/SerialLine.h"
#include "onewire/SerialPorts.h"
#include "screens/MessageBox.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "support/AppFixture.h"
#include "support/PseudoTerminal.h"

namespace {

QStringList itemTexts(const QComboBox* box) {
    QStringList texts;
    for (int i = 0; i < box->count(); ++i) {
        texts << box->itemText(i);
    }
    return texts;
}

// Picks the entry for device as a user does, with the arrow keys of the closed list.
bool chooseDevice(QComboBox* devices, const QString& device) {
    const int wanted = devices->findData(device);
    if (wanted < 0) {
        return false;
    }
    while (devices->currentIndex() != wanted) {
        const int before = devices->currentIndex();
        QTest::keyClick(devices, before < wanted ? Qt::Key_Down : Qt::Key_Up);
        if (devices->currentIndex() == before) {
            return false;
        }
    }
    return true;
}

}  // namespace

class TestPortDialog : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void choosingAPort_data() {
        QTest::addColumn<bool>("com2Exists");
        QTest::newRow("Com2 cannot be opened") << false;
        QTest::newRow("Com2 is a pseudo-terminal") << true;
    }
    void choosingAPort() {
        QFETCH(bool, com2Exists);
        PseudoTerminal com1Pty;
        PseudoTerminal com2Pty;
        QVERIFY(!com1Pty.path.isEmpty() && !com2Pty.path.isEmpty());
        AppFixture fx;
        fx.com1 = com1Pty.path;
        if (com2Exists) {
            fx.com2 = com2Pty.path;
        }
        StartWindow& window = fx.start();
        window.show();
        SerialLine& line = fx.app->line();
        QVERIFY(line.isOpen());
        QCOMPARE(line.portNumber(), 1);

        QTest::mouseClick(window.findChild<QPushButton*>("poortbtn"), Qt::LeftButton);
        auto* dialog = window.findChild<PortDialog*>("properties");
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("Poort instelling"));
        // Off-line while the dialog is open.
        QVERIFY(!line.isOpen());
        auto* ports = dialog->findChild<QComboBox*>("Cboport");
        QCOMPARE(ports->count(), 2);
        QCOMPARE(ports->itemText(0), QString("Com1"));
        QCOMPARE(ports->itemText(1), QString("Com2"));
        QCOMPARE(ports->currentIndex(), 0);

        ports->setCurrentIndex(1);
        fx.app->dowIo().setInitialised(true);  // OK must make the next cycle program the UART again
        QTest::mouseClick(dialog->findChild<QPushButton*>("cmdOK"), Qt::LeftButton);
        QTRY_VERIFY(!window.findChild<PortDialog*>("properties"));

        const QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(line.portNumber(), 2);
        QCOMPARE(line.isOpen(), com2Exists);
        QCOMPARE(fx.app->dowIo().initialised(), false);
        const QString status = window.findChild<QLabel*>("statuslbl")->text();
        if (com2Exists) {
            QCOMPARE(shown.size(), 0);
            QVERIFY2(status.contains("poort open"), qPrintable(status));
        } else {
            QCOMPARE(shown.size(), 1);
            QCOMPARE(shown.at(0).icon, QMessageBox::Warning);
            const QString systemText = QStringLiteral("het apparaat %1 bestaat niet").arg(fx.com2);
            QVERIFY2(shown.at(0).text.contains(systemText), qPrintable(shown.at(0).text));
            QVERIFY2(status.contains("niet verbonden"), qPrintable(status));
            // The reason stays with the status line, also after the dialog is closed without OK.
            auto* statusLabel = window.findChild<QLabel*>("statuslbl");
            QVERIFY(statusLabel->toolTip().contains(systemText));
            QTest::mouseClick(window.findChild<QPushButton*>("poortbtn"), Qt::LeftButton);
            window.findChild<PortDialog*>("properties")->close();  // as Esc or the close button
            QVERIFY2(statusLabel->toolTip().contains(systemText), qPrintable(statusLabel->toolTip()));
        }
        QVERIFY(window.isVisible());
        window.close();
        QCOMPARE(SettingsStore(fx.ini()).get("startfrm", "poort", "?"), QString("2"));
    }

    // Com2 is tied to a USB adapter found on the system; it opens at once, and at the next start without
    // --com2 it is Com2 again, unless --com2 says otherwise. Com1 keeps what it had.
    void tyingADeviceToAPort_data() {
        QTest::addColumn<bool>("flagAtRestart");
        QTest::newRow("kept for the next start") << false;
        QTest::newRow("--com2 wins over what is kept") << true;
    }
    void tyingADeviceToAPort() {
        QFETCH(bool, flagAtRestart);
        PseudoTerminal adapter(PseudoTerminal::echo);
        PseudoTerminal other(PseudoTerminal::echo);
        AppFixture fx;
        StartWindow& window = fx.start();
        fx.app->session().listPorts = [&adapter] {
            return QList<SerialPortEntry>{{QStringLiteral("/dev/ttyAMA0"), {}, {}},
                                          {adapter.path, QStringLiteral("FTDI"), QStringLiteral("FT232R USB UART")}};
        };
        PortDialog* dialog = window.openPortDialog();
        auto* ports = dialog->findChild<QComboBox*>("Cboport");
        auto* devices = dialog->findChild<QComboBox*>("Cboapparaat");
        QCOMPARE(ports->currentIndex(), 0);
        // What Com1 leads to is offered even where the system does not list it.
        QCOMPARE(itemTexts(devices), (QStringList{"/dev/ttyAMA0", adapter.path + "  (FTDI FT232R USB UART)",
                                                  fx.com1 + "  (niet gevonden)"}));
        QCOMPARE(devices->currentData().toString(), fx.com1);

        QTest::keyClick(ports, Qt::Key_Down);
        QCOMPARE(ports->currentIndex(), 1);
        QCOMPARE(devices->currentData().toString(), fx.com2);
        QVERIFY(chooseDevice(devices, adapter.path));
        QTest::mouseClick(dialog->findChild<QPushButton*>("cmdOK"), Qt::LeftButton);

        QCOMPARE(MessageBox::takeShown().size(), 0);
        SerialLine& line = fx.app->line();
        QVERIFY(line.isOpen());
        QCOMPARE(fx.app->session().serialPort->devicePath(2), adapter.path);
        const QString status = window.findChild<QLabel*>("statuslbl")->text();
        QVERIFY2(status.contains(QStringLiteral("Com2 (%1): poort open").arg(adapter.path)), qPrintable(status));
        // The adapter stands in for a real one; a pseudo-terminal has no low-latency mode to give.
        QVERIFY2(status.contains(QStringLiteral("geen lage-latentiestand")), qPrintable(status));
        window.close();
        fx.stop();
        const SettingsStore kept(fx.ini());
        QCOMPARE(kept.get("startfrm", "com2pad", "?"), adapter.path);
        QCOMPARE(kept.get("startfrm", "com1pad", "?"), QString("?"));

        fx.com2 = flagAtRestart ? other.path : QString();
        fx.start();
        QCOMPARE(fx.app->session().serialPort->devicePath(2), flagAtRestart ? other.path : adapter.path);
        QVERIFY(fx.app->line().isOpen());
        QCOMPARE(fx.app->line().portNumber(), 2);
    }

    void aStoredPortAboveTwoSelectsNothing() {
        AppFixture fx;
        SettingsStore(fx.ini()).save("startfrm", "poort", "3");
        StartWindow& window = fx.start();
        PortDialog* dialog = window.openPortDialog();
        QCOMPARE(dialog->findChild<QComboBox*>("Cboport")->currentIndex(), -1);
        dialog->close();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }
};

QTEST_MAIN(TestPortDialog)
#include "tst_portdialog.moc"
