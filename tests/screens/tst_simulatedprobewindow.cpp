#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QtTest>

#include "probesim/SimulatedProbe.h"
#include "screens/MessageBox.h"
#include "screens/SimulatedProbeWindow.h"

class TestSimulatedProbeWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void oneKeyAtATime() {
        SimulatedProbe probe;
        SimulatedProbeWindow window(probe);
        QCOMPARE(window.keyCount(), 7);
        const QList<VirtualIButton::Kind> kinds = {VirtualIButton::Kind::Ds1990A, VirtualIButton::Kind::Ds1990A,
                                                   VirtualIButton::Kind::Ds1990A, VirtualIButton::Kind::Ds1990,
                                                   VirtualIButton::Kind::Ds1993,  VirtualIButton::Kind::Ds1994};
        QSet<QString> roms;
        for (int i = 0; i < kinds.size(); ++i) {
            window.findChild<QRadioButton*>(QString("sleutel%1").arg(i))->click();
            QCOMPARE(probe.keyCount(), 1);
            QCOMPARE(probe.key(0)->kind(), kinds.at(i));
            const auto& rom = probe.key(0)->rom();
            QCOMPARE(VirtualIButton::crc8(rom.data(), 7), rom[7]);
            roms.insert(VirtualIButton::romToHex(rom));
        }
        QCOMPARE(roms.size(), kinds.size());
        window.findChild<QRadioButton*>("geensleutel")->click();
        QCOMPARE(probe.keyCount(), 0);
        QCOMPARE(window.touchedKey(), int(SimulatedProbeWindow::kNoKey));
    }

    // A programming key keeps what was written into it while it is off the probe; a typed key as long as
    // its type and ROM stay as they were.
    void memoryKeyKeepsItsContent_data() {
        QTest::addColumn<QString>("ownRom");  // empty: the preset DS1993
        QTest::addColumn<QString>("retypedRom");
        QTest::addColumn<bool>("kept");
        QTest::newRow("preset DS1993") << ""
                                       << "" << true;
        QTest::newRow("own DS1993") << "06A1B2C3D4E5F6"
                                    << "06A1B2C3D4E5F6" << true;
        QTest::newRow("own DS1993 with another ROM") << "06A1B2C3D4E5F6"
                                                     << "06A1B2C3D4E5F7" << false;
    }
    void memoryKeyKeepsItsContent() {
        QFETCH(QString, ownRom);
        QFETCH(QString, retypedRom);
        QFETCH(bool, kept);
        SimulatedProbe probe;
        SimulatedProbeWindow window(probe);
        const int index = ownRom.isEmpty() ? 4 : window.keyCount() - 1;
        auto* kind = window.findChild<QComboBox*>("eigentype");
        kind->setCurrentIndex(kind->findData("ds1993"));
        window.findChild<QLineEdit*>("eigenrom")->setText(ownRom);
        QVERIFY(window.touch(index));
        QByteArray image(512, '\0');
        image[0] = 0x12;
        image[511] = 0x34;
        probe.key(0)->setMemory(image);
        QVERIFY(window.touch(0));
        window.findChild<QLineEdit*>("eigenrom")->setText(retypedRom);
        QVERIFY(window.touch(index));
        QCOMPARE(probe.key(0)->memory() == image, kept);
    }

    void ownKey_data() {
        QTest::addColumn<QString>("rom");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("without CRC") << "01A1B2C3D4E5F6" << true;
        QTest::newRow("with a wrong CRC, as a bad key") << "01A1B2C3D4E5F600" << true;
        QTest::newRow("too short") << "01A1B2" << false;
        QTest::newRow("not hex") << "01A1B2C3D4E5FZ" << false;
    }
    void ownKey() {
        QFETCH(QString, rom);
        QFETCH(bool, accepted);
        SimulatedProbe probe;
        SimulatedProbeWindow window(probe);
        QVERIFY(window.touch(0));
        window.findChild<QLineEdit*>("eigenrom")->setText(rom);
        window.findChild<QRadioButton*>("eigensleutel")->click();
        QCOMPARE(MessageBox::takeShown().size(), accepted ? 0 : 1);
        QCOMPARE(probe.keyCount(), accepted ? 1 : 0);
        if (accepted) {
            QCOMPARE(VirtualIButton::romToHex(probe.key(0)->rom()).left(14), rom.left(14));
        }
        QCOMPARE(window.findChild<QRadioButton*>("geensleutel")->isChecked(), !accepted);
    }
};

QTEST_MAIN(TestSimulatedProbeWindow)
#include "tst_simulatedprobewindow.moc"
