// The main road of the program, through the real windows and the simulated probe: a reader marked
// as changed is clicked, its image is built, a DS1993 on the probe is written, and the mark goes.
#include <QFile>
#include <QRadioButton>
#include <QTableView>

#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButton.h"
#include "programming/ProgrammingImage.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "screens/MessageBox.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/SimulatedProbeWindow.h"
#include "support/AppFixture.h"
#include "support/ManualTicks.h"
#include "support/VerifyStatus.h"

using Col = ReaderListModel::Column;

class TestKeyFlow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void clickingTheMarkWritesTheKeyAndClearsTheMark_data() {
        QTest::addColumn<QString>("button");  // in the simulated probe's window
        QTest::newRow("DS1993") << "sleutel4";
        QTest::newRow("DS1994") << "sleutel5";
    }
    void clickingTheMarkWritesTheKeyAndClearsTheMark() {
        QFETCH(QString, button);
        // Declared before the fixture, so they outlive the program: its simulated probe reads the clock
        // until the program is gone.
        ManualClock clock;
        ManualTicks ticks(clock);
        AppFixture fx;
        const QString folder = fx.bestanden();
        QDir().mkpath(folder);
        QString error;
        for (const char* name : {"Hoofdingang", "Magazijn"}) {
            Reader r = Reader::defaultRecord(QDate(2024, 2, 1));
            r.setLezerNaam(QString::fromLatin1(name));
            r.setLezerkode(QStringLiteral("1A2B3C"));
            r.setChangedFlag(QStringLiteral("X"));
            VERIFY_OK(ReaderFile(folder).write(ReaderFile(folder).count().value + 1, r));
        }
        // Three key holders may open reader 2 (bit 1 of the first map byte).
        KeyHolderFile holders(folder);
        for (int i = 1; i <= 3; ++i) {
            KeyHolder& k = holders.current();
            k = KeyHolder::blank();
            k.setGeldig(QStringLiteral("1"));
            k.setSleutelcode(QStringLiteral("%1A2B3C4D5").arg(i));
            k.setToegang(QByteArray(1, char(0x02)));
            VERIFY_OK(holders.write(i));
        }

        CommandLine commandLine;
        commandLine.home = fx.home();
        commandLine.simulate = true;
        fx.app = std::make_unique<Application>(commandLine, fx.ini(), clock, &ticks);
        StartWindow& window = fx.app->mainWindow();
        QWidget* simulation = fx.app->simulatedProbeWindow();
        window.show();
        simulation->show();
        QVERIFY(QTest::qWaitForWindowExposed(simulation));
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));

        // The key is presented the way a user does it: in the simulated probe's window, once the probe
        // window asks for it. The probe window closes itself 2 s after the last page.
        auto probeWindowOpen = [] {
            const QWidgetList windows = QApplication::topLevelWidgets();
            return std::any_of(windows.begin(), windows.end(),
                               [](QWidget* w) { return w->objectName() == "probfrm" && w->isVisible(); });
        };
        QTimer::singleShot(0, simulation, [&, simulation, button] {
            // Through the window system, as a real click: a window blocked by a modal one ignores it.
            QRadioButton* key = simulation->findChild<QRadioButton*>(button);
            QTest::mouseClick(simulation->windowHandle(), Qt::LeftButton, {},
                              key->mapTo(simulation, key->rect().center()));
            // Should the window not close, the test fails on what it finds instead of waiting for ever.
            if (!ticks.advanceUntil([&] { return !probeWindowOpen(); }, std::chrono::seconds(10))) {
                QApplication::activeModalWidget()->close();
            }
        });
        QTableView* view = window.grid()->view();
        const QModelIndex mark = view->model()->index(1, Col::ColFlag);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(mark).center());

        const ReaderListModel* model = window.grid()->model();
        QCOMPARE(model->cell(1, Col::ColFlag), QString());
        QCOMPARE(model->cell(0, Col::ColFlag), QString("X"));
        QCOMPARE(model->cell(1, Col::ColKeyCount), QString("3"));
        Result<Reader> onDisk = ReaderFile(folder).read(2);
        VERIFY_OK(onDisk);
        QVERIFY(!onDisk.value.isChanged());
        QCOMPARE(onDisk.value.aantalsleutels(), 3);
        onDisk = ReaderFile(folder).read(1);
        VERIFY_OK(onDisk);
        QVERIFY(onDisk.value.isChanged());

        QByteArray image;
        QVERIFY2(ProgrammingImage::readFile(QDir(folder).filePath("autonoom.hex"), &image, &error), qPrintable(error));
        QCOMPARE(fx.app->simulatedProbe()->keyCount(), 1);
        QCOMPARE(fx.app->simulatedProbe()->key(0)->memory().toHex(), image.toHex());
        // Code, format word, list B starting at slot 4, mode, relay time, then the three keys' codes.
        QCOMPARE(image.left(14).toHex().toUpper(), QByteArray("1A2B3C00010400001A2B2A2B3A2B"));
        QCOMPARE(MessageBox::takeShown().size(), 0);
        window.close();
    }
};

QTEST_MAIN(TestKeyFlow)
#include "tst_keyflow.moc"
