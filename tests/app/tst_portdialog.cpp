#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSerialPort>

#include "app/PortDialog.h"
#include "onewire/SerialLine.h"
#include "screens/MessageBox.h"
#include "screens/SettingsStore.h"
#include "support/AppFixture.h"

namespace {

// The master side of a pseudo-terminal; its slave stands in for a serial port.
struct PseudoTerminal {
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    QString slave;
    PseudoTerminal() {
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0) {
            slave = QString::fromLocal8Bit(ptsname(master));
        }
    }
    ~PseudoTerminal() {
        if (master >= 0) {
            ::close(master);
        }
    }
};

QString systemOpenError(const QString& path) {
    QSerialPort port(path);
    return port.open(QIODevice::ReadWrite) ? QString() : port.errorString();
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
        QVERIFY(!com1Pty.slave.isEmpty() && !com2Pty.slave.isEmpty());
        AppFixture fx;
        fx.com1 = com1Pty.slave;
        if (com2Exists) {
            fx.com2 = com2Pty.slave;
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
            const QString systemText = systemOpenError(fx.com2);
            QVERIFY(!systemText.isEmpty());
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
