// The main road of the program, through the real windows and the simulated probe: a key holder made
// from a key on the probe and granted a reader; a reader marked as changed is clicked, its image is
// built, a DS1993 on the probe is written, and the mark goes.
#include <QFile>
#include <QLineEdit>
#include <QRadioButton>
#include <QTableView>

#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButton.h"
#include "probesim/VirtualIButtonMemory.h"
#include "programming/KeyPoller.h"
#include "programming/ProgrammingImage.h"
#include "records/ChangeLog.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "screens/AccessGrid.h"
#include "screens/AccessGridModel.h"
#include "screens/AccessWindow.h"
#include "screens/DetailsWindow.h"
#include "screens/MessageBox.h"
#include "screens/ReaderGrid.h"
#include "screens/ReaderListModel.h"
#include "screens/SimulatedProbeWindow.h"
#include "support/AppFixture.h"
#include "support/ManualTicks.h"
#include "support/VerifyStatus.h"

using Col = ReaderListModel::Column;

namespace {

QWidget* topLevel(const QString& name) {
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (w->objectName() == name && w->isVisible()) {
            return w;
        }
    }
    return nullptr;
}

void click(QWidget* window, const char* name) {
    QAbstractButton* button = window->findChild<QAbstractButton*>(QLatin1String(name));
    QVERIFY2(button, name);
    QTest::mouseClick(button, Qt::LeftButton);
}

// The key as a user presents it: in the simulated probe's window, by its own button.
void touch(QWidget* simulation, const char* button) {
    QRadioButton* key = simulation->findChild<QRadioButton*>(QLatin1String(button));
    QTest::mouseClick(simulation->windowHandle(), Qt::LeftButton, {}, key->mapTo(simulation, key->rect().center()));
}

// The program on the fixture's folder with the simulated probe, its main window and the probe's own
// window shown.
bool startSimulated(AppFixture& fx, ManualClock& clock, ManualTicks& ticks) {
    CommandLine commandLine;
    commandLine.home = fx.home();
    commandLine.simulate = true;
    fx.app = std::make_unique<Application>(commandLine, fx.ini(), clock, &ticks);
    fx.app->mainWindow().show();
    fx.app->simulatedProbeWindow()->show();
    return QTest::qWaitForWindowExposed(fx.app->simulatedProbeWindow());
}

}  // namespace

class TestKeyFlow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { MessageBox::setTestMode(true); }

    void clickingTheMarkWritesTheKeyAndClearsTheMark_data() {
        QTest::addColumn<QString>("button");  // in the simulated probe's window; empty: a worn DS1993
        QTest::newRow("DS1993") << "sleutel4";
        QTest::newRow("DS1994") << "sleutel5";
        // Its first byte stays 0 whatever is written: "Controle mislukt", and the mark stays.
        QTest::newRow("worn key") << "";
    }
    void clickingTheMarkWritesTheKeyAndClearsTheMark() {
        QFETCH(QString, button);
        const bool worn = button.isEmpty();
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

        QVERIFY(startSimulated(fx, clock, ticks));
        StartWindow& window = fx.app->mainWindow();
        QWidget* simulation = fx.app->simulatedProbeWindow();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));

        // The key is presented the way a user does it: in the simulated probe's window, once the probe
        // window asks for it. The probe window closes itself 2 s after the last page.
        auto probeWindowOpen = [] {
            const QWidgetList windows = QApplication::topLevelWidgets();
            return std::any_of(windows.begin(), windows.end(),
                               [](QWidget* w) { return w->objectName() == "probfrm" && w->isVisible(); });
        };
        bool stayedOpen = false;
        QTimer::singleShot(0, simulation, [&, simulation, button] {
            if (worn) {
                std::unique_ptr<VirtualIButton> key = VirtualIButton::fromText("ds1993:06A1B2C3D4E5F6", nullptr);
                static_cast<VirtualIButtonMemory*>(key.get())->setStuckLowBits(0, 0xFF);
                fx.app->simulatedProbe()->insertKey(std::move(key));
            } else {
                // Through the window system, as a real click: a window blocked by a modal one ignores it.
                QRadioButton* key = simulation->findChild<QRadioButton*>(button);
                QTest::mouseClick(simulation->windowHandle(), Qt::LeftButton, {},
                                  key->mapTo(simulation, key->rect().center()));
            }
            // Should the window not close, the test fails on what it finds instead of waiting for ever.
            if (!ticks.advanceUntil([&] { return !probeWindowOpen(); }, std::chrono::seconds(10))) {
                stayedOpen = true;
                QApplication::activeModalWidget()->close();
            }
        });
        QTableView* view = window.grid()->view();
        const QModelIndex mark = view->model()->index(1, Col::ColFlag);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(mark).center());

        const ReaderListModel* model = window.grid()->model();
        QCOMPARE(stayedOpen, worn);
        QCOMPARE(model->cell(1, Col::ColFlag), worn ? QString("X") : QString());
        QCOMPARE(model->cell(0, Col::ColFlag), QString("X"));
        QCOMPARE(model->cell(1, Col::ColKeyCount), QString("3"));
        Result<Reader> onDisk = ReaderFile(folder).read(2);
        VERIFY_OK(onDisk);
        QCOMPARE(onDisk.value.isChanged(), worn);
        if (worn) {
            window.close();
            return;
        }
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
        const Result<QStringList> logged = ChangeLog(folder).newestFirst();
        VERIFY_OK(logged);
        QCOMPARE(logged.value.size(), 1);
        QVERIFY2(logged.value.at(0).endsWith(
                     " Programmeersleutel geschreven voor lezer 2 \"Magazijn\" met 3 sleutels: Controle OK"),
                 qPrintable(logged.value.at(0)));
        QCOMPARE(MessageBox::takeShown().size(), 0);
        window.close();
    }
    // A new holder's key taken from the probe, the holder granted reader 1, and reader 1's programming key
    // carries the code's first four characters in list A.
    void newHolderFromProbeToProgrammingKey() {
        // Before the fixture, so they outlive the program (see above).
        ManualClock clock;
        ManualTicks ticks(clock);
        AppFixture fx;
        const QString folder = fx.bestanden();
        QDir().mkpath(folder);
        Reader reader = Reader::defaultRecord(QDate(2024, 2, 1));
        reader.setLezerNaam(QStringLiteral("Hoofdingang"));
        reader.setLezerkode(QStringLiteral("1A2B3C"));
        VERIFY_OK(ReaderFile(folder).write(1, reader));

        QVERIFY(startSimulated(fx, clock, ticks));
        StartWindow& window = fx.app->mainWindow();
        QWidget* simulation = fx.app->simulatedProbeWindow();
        // The file starts with the one all-zero record a new folder gets: the new holder is number 2.
        QCOMPARE(KeyHolderFile(folder).count().value, 1);

        click(&window, "persoonbtn");
        auto* access = qobject_cast<AccessWindow*>(topLevel(QStringLiteral("sleutelfrm")));
        QVERIFY(access);
        click(access, "Nieuwcmd");
        QVERIFY(access->details());
        // "DS1990A sleutel 1": ROM 01 5A 3C 21 0B 00 00, so the code is 5A3C210B00.
        touch(simulation, "sleutel0");
        ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(access->details()->findChild<QLineEdit*>("Romtxt")->text(), QString("5A3C210B00"));
        QTest::keyClicks(access->details()->findChild<QLineEdit*>("naamtxt"), "Jan Sleutel");
        click(access->details(), "Applycmd");
        touch(simulation, "geensleutel");
        KeyHolderFile holders(folder);
        VERIFY_OK(holders.record_load(2));
        QCOMPARE(holders.current().naam().trimmed(), QString("Jan Sleutel"));
        QCOMPARE(holders.current().sleutelcode(), QString("5A3C210B00"));

        // Reader 1 for the holder in row 2, then the reader's programming key.
        AccessGrid* grid = access->grid();
        QCOMPARE(grid->model()->recordNumber(1), 2);
        const QModelIndex cell = grid->model()->index(1, AccessGridModel::kFirstReaderColumn);
        grid->scrollTo(cell);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualRect(cell).center());
        QCOMPARE(grid->model()->colour(1, 0), AccessGridModel::Colour::Green);
        access->close();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));

        QTimer::singleShot(0, simulation, [&, simulation] {
            touch(simulation, "sleutel4");
            if (!ticks.advanceUntil([] { return !topLevel(QStringLiteral("probfrm")); }, std::chrono::seconds(10))) {
                QApplication::activeModalWidget()->close();
            }
        });
        QTableView* view = window.grid()->view();
        const QModelIndex mark = view->model()->index(0, Col::ColFlag);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(mark).center());

        const QByteArray memory = fx.app->simulatedProbe()->key(0)->memory();
        // One key in list A, list B after it at slot 2, and the key's first four code characters.
        QCOMPARE(memory.mid(5, 1).toHex().toUpper(), QByteArray("02"));
        QCOMPARE(memory.mid(8, 2).toHex().toUpper(), QByteArray("5A3C"));
        QCOMPARE(MessageBox::takeShown().size(), 0);
        window.close();
    }
};

QTEST_MAIN(TestKeyFlow)
#include "tst_keyflow.moc"
