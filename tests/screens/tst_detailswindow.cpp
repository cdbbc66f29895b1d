// The key-holder details window driven as a user drives it, with keys held against the simulated probe
// on a manual clock: codes from ROM bytes to the record on disk, duplicates refused, the search, "Nieuw",
// "Wissen", and a probe or a file that is not what the window expects.
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "screens/AccessGrid.h"
#include "screens/AccessWindow.h"
#include "screens/MessageBox.h"
#include "screens/Ticker.h"
#include "screens/WindowSettings.h"
#include "support/GridFixture.h"
#include "support/ManualTicks.h"
#include "support/RecordFixtures.h"

using namespace fixtures;

namespace {

constexpr int kCodeOffset = 157;
constexpr int kTwoTicksMs = 2 * KeyPoller::kKeyCodeTickMs;

// Key holder `seed` with clean texts, so that a save writes back exactly what was read.
QByteArray holder(int seed, const QByteArray& code, const QByteArray& geldig = "1") {
    const QByteArray n = QByteArray::number(seed);
    return with(record(512, seed), {{0, 1, geldig},
                                    {14, 30, "Houder " + n},
                                    {44, 30, "Laan " + n},
                                    {81, 21, "Ede"},
                                    {102, 15, "0318-12345" + n},
                                    {132, 15, "06-1234567" + n},
                                    {kCodeOffset, 10, code}});
}

// ROM bytes as they travel on the wire (family code first, CRC added), and the code a record stores.
const QString kKeyA = QStringLiteral("ds1990a:01A1B2C3D4E5F6");
const QByteArray kCodeA = "A1B2C3D4E5";
const QString kKeyB = QStringLiteral("ds1990a:015A3C210B0000");

}  // namespace

class TestDetailsWindow : public QObject {
    Q_OBJECT

private:
    struct Rig {
        QTemporaryDir dir;
        ManualClock clock;
        ManualTicks ticks{clock};
        SimulatedProbeStack sim{clock};
        SettingsStore settings{dir.filePath(QStringLiteral("vondrel.ini"))};
        Session session{settings, sim.dowIo(), dir.path()};
        std::unique_ptr<AccessWindow> access;
        std::unique_ptr<DetailsWindow> window;
    };
    std::unique_ptr<Rig> m;

    QString path(const char* name) const { return QDir(m->session.dataFolder()).filePath(name); }
    QByteArray onDisk() const { return readFile(path("asleutel.bst")); }
    void writeHolders(const QList<QByteArray>& holders) { QVERIFY(writeFile(path("asleutel.bst"), holders.join())); }
    DetailsWindow* details() const { return m->access ? m->access->details() : m->window.get(); }
    template <typename T = QLabel>
    T* child(const char* name) const {
        return details()->findChild<T*>(QLatin1String(name));
    }
    QString romtxt() const { return child<QLineEdit>("Romtxt")->text(); }
    bool shown(const char* name) const { return !child<QWidget>(name)->isHidden(); }
    bool capturing() const { return child<Ticker>("Timer1")->isActive(); }
    void click(const char* name) { QTest::mouseClick(child<QPushButton>(name), Qt::LeftButton); }
    void open(int record) {
        m->window = std::make_unique<DetailsWindow>(m->session, DetailsWindow::Mode::Edit, record);
        m->window->show();
    }
    // The access window over the files; its details window opened by a button, or by column 0 of row.
    void openFromGrid(const char* button, int row = -1) {
        QVERIFY(writeFile(path("autonoom.bst"), record(128, 1)));
        m->access = std::make_unique<AccessWindow>(m->session);
        m->access->show();
        QVERIFY(QTest::qWaitForWindowExposed(m->access.get()));
        if (row >= 0) {
            GridDriver::click(m->access->grid(), row, 0);
        } else {
            QTest::mouseClick(m->access->findChild<QPushButton*>(button), Qt::LeftButton);
        }
    }
    // The window deletes itself when closed.
    bool detailsGone() const {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return !details();
    }
    bool zoekEnabled() const { return m->access->findChild<QPushButton*>("zoekcmd")->isEnabled(); }
    void present(const QString& key) {
        while (m->sim.probe.keyCount() > 0) {
            m->sim.probe.removeKey(m->sim.probe.key(0));
        }
        QVERIFY(m->sim.insertKey(key));
        m->ticks.advance(kTwoTicksMs);
    }
    static QString warning(const QList<MessageBox::Shown>& shown) {
        const bool one = shown.size() == 1 && shown.at(0).icon == QMessageBox::Critical;
        return one ? shown.at(0).title + ": " + shown.at(0).text : QStringLiteral("<not one critical box>");
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m = std::make_unique<Rig>();
        m->session.ticks = &m->ticks;
        QDir().mkpath(m->session.dataFolder());
        QVERIFY(m->sim.probe.open(nullptr));
    }
    void cleanup() {
        m.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    // Within two ticks the ROM becomes ROM bytes 2 to 6, least significant first, at offset 157.
    void keyCodeFromRomToDisk_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("code");
        QTest::addColumn<QByteArray>("stored");  // what the holder had
        QTest::newRow("DS1990A, holder without a key") << kKeyA << kCodeA << QByteArray(10, ' ');
        QTest::newRow("zero bytes in the serial, ten zeros stored")
            << kKeyB << QByteArray("5A3C210B00") << QByteArray("0000000000");
        QTest::newRow("byte 7 left out, code of zero bytes")
            << "ds1990a:01123456789ABC" << QByteArray("123456789A") << QByteArray(10, '\0');
        QTest::newRow("old DS1990 answers 0x0F only")
            << "ds1990:0113579B020000" << QByteArray("13579B0200") << QByteArray(10, ' ');
    }
    void keyCodeFromRomToDisk() {
        QFETCH(QString, key);
        QFETCH(QByteArray, code);
        QFETCH(QByteArray, stored);
        const QByteArray second = QByteArray(holder(2, {})).replace(kCodeOffset, 10, stored);
        writeHolders({holder(1, "1111111111"), second});
        m->settings.save("persoonfrm", "width", "6000");
        m->sim.dowIo().setInitialised(true);
        open(2);
        QCOMPARE(m->window->width(), WindowSettings::twipsToPixels(6000, m->window->logicalDpiX()));
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   2"));
        QCOMPARE(romtxt(), QString());
        QVERIFY(shown("noROMimg") && capturing() && !m->sim.dowIo().initialised());
        QCOMPARE(child("noROMimg")->toolTip(), QString("Sleutel onbekend"));
        present(key);
        QCOMPARE(romtxt(), QString(code));
        QVERIFY(!shown("noROMimg") && !capturing());
        QCOMPARE(m->sim.dowIo().keyCode().size(), 10);
        QCOMPARE(onDisk().mid(512), second);

        click("Applycmd");
        QCOMPARE(onDisk(), holder(1, "1111111111") + holder(2, code));
        QCOMPARE(m->settings.get("fg3", "toprow", ""), QString("2"));
        QCOMPARE(m->settings.get("persoonfrm", "width", ""), QString("6000"));
    }

    // A key some holder has is refused; the window falls back to the stored code and nothing is written.
    void presentedKeyAlreadyHeld_data() {
        QTest::addColumn<int>("edited");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("restored");
        QTest::newRow("the holder's own key") << 2 << "Waarschuwing: Dezelfde sleutel" << QString(kCodeA);
        QTest::newRow("another holder's key") << 1 << "Waarschuwing: In gebruik bij record:  2"
                                              << "1111111111";
        QTest::newRow("holder without a key") << 3 << "Waarschuwing: In gebruik bij record:  2"
                                              << "";
    }
    void presentedKeyAlreadyHeld() {
        QFETCH(int, edited);
        QFETCH(QString, message);
        QFETCH(QString, restored);
        const QByteArray holders = holder(1, "1111111111") + holder(2, kCodeA) + holder(3, "");
        writeHolders({holders});
        open(edited);
        QCOMPARE(capturing(), restored.isEmpty());
        click("romcmd");
        present(kKeyA);
        QCOMPARE(warning(MessageBox::takeShown()), message);
        QCOMPARE(romtxt(), restored);
        QCOMPARE(shown("noROMimg"), restored.isEmpty());
        QCOMPARE(capturing(), restored.isEmpty());
        click("Applycmd");
        QCOMPARE(onDisk(), holders);
    }

    // " Zoeken" stays disabled while the search runs; a holder without a key is never found.
    void search_data() {
        QTest::addColumn<QString>("key");  // "Cancel": the search is cancelled
        QTest::addColumn<QString>("label");
        QTest::newRow("holder found") << kKeyA << "Gevonden nr  2";
        QTest::newRow("no holder has the key") << kKeyB << "Niet in het Systeem";
        QTest::newRow("all-zero ROM: the code for no key") << "ds1990a:00000000000000"
                                                           << "";
        QTest::newRow("Cancel") << "Cancel"
                                << "";
    }
    void search() {
        QFETCH(QString, key);
        QFETCH(QString, label);
        const QByteArray nul = QByteArray(holder(4, {})).replace(kCodeOffset, 10, QByteArray(10, '\0'));
        const QByteArray holders =
            holder(1, "1111111111") + holder(2, kCodeA, "0") + holder(3, "") + nul + holder(5, "0000000000");
        writeHolders({holders});
        openFromGrid("zoekcmd");
        QVERIFY(!zoekEnabled() && shown("noROMimg") && capturing());
        QCOMPARE(child<QPushButton>("Newcmd")->text(), QString("Cancel"));
        QVERIFY(!shown("wiscmd") && !shown("Applycmd") && !shown("romcmd"));
        if (key == "Cancel") {
            click("Newcmd");
            QVERIFY(zoekEnabled() && !capturing() && shown("Applycmd") && !shown("noROMimg"));
            QCOMPARE(child<QPushButton>("Newcmd")->text(), QString("Nieuw"));
            key = kKeyA;
        }
        present(key);
        QCOMPARE(child("vlgnrlbl")->text(), label);
        const bool found = label.startsWith("Gevonden");
        if (found || label.isEmpty()) {
            QCOMPARE(romtxt(), QString(found ? kCodeA : ""));
            QCOMPARE(child<QLineEdit>("naamtxt")->text(), QString(found ? "Houder 2" : ""));
            QCOMPARE(shown("romcmd"), found);
            QCOMPARE(zoekEnabled(), !details()->searching());
            QCOMPARE(capturing(), details()->searching());
        } else {
            QVERIFY(!zoekEnabled() && !capturing());
            QVERIFY(shown("Applycmd") && !shown("Newcmd") && !shown("wiscmd") && !shown("romcmd"));
        }
        details()->close();
        QVERIFY(zoekEnabled());
        QCOMPARE(onDisk(), holders);
    }

    // "Nieuw" writes the record at once, from the grid's current holder: geldig "1", no name, no code.
    void newHolderClosedWithoutOK() {
        const QByteArray holders = holder(1, "1111111111") + holder(2, kCodeA, "0");
        writeHolders({holders});
        QVERIFY(writeFile(path("autonoom.bst"), record(128, 1)));
        m->access = std::make_unique<AccessWindow>(m->session);
        m->access->show();
        AccessGrid* grid = m->access->grid();
        grid->setCurrentIndex(grid->model()->index(1, 1));
        QTest::mouseClick(m->access->findChild<QPushButton*>("Nieuwcmd"), Qt::LeftButton);
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   3"));
        QVERIFY(child<QLineEdit>("adrestxt")->text().isEmpty() && child<QCheckBox>("geldigchk")->isChecked());
        QVERIFY(shown("noROMimg") && capturing());
        details()->close();
        QCOMPARE(onDisk(), holders + with(holder(2, kCodeA), {{0, 1, "1"}, {14, 30, ""}, {kCodeOffset, 10, ""}}));
        QCOMPARE(grid->model()->rowCount(), 3);
    }

    // "Wissen" asks first; on Yes the record goes, tmp.bst keeps the old file and the grid loses the row.
    void deleteHolder_data() {
        QTest::addColumn<bool>("yes");
        QTest::newRow("No") << false;
        QTest::newRow("Yes") << true;
    }
    void deleteHolder() {
        QFETCH(bool, yes);
        const QList<QByteArray> holders = {holder(1, "1111111111"), holder(2, kCodeA), holder(3, "")};
        writeHolders(holders);
        openFromGrid(nullptr, 1);
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   2"));
        MessageBox::setNextAnswer(yes ? QMessageBox::Yes : QMessageBox::No);
        click("wiscmd");
        const QList<MessageBox::Shown> asked = MessageBox::takeShown();
        QCOMPARE(warning(asked), QString("Sleutel gegevens weggooien: Wissen regel  2"));
        QCOMPARE(asked.at(0).buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(asked.at(0).defaultButton, QMessageBox::No);
        QCOMPARE(detailsGone(), yes);
        QCOMPARE(onDisk(), yes ? holders.at(0) + holders.at(2) : holders.join());
        QCOMPARE(readFile(path("tmp.bst")), yes ? holders.join() : QByteArray("<missing>"));
        QCOMPARE(m->access->grid()->model()->rowCount(), yes ? 2 : 3);
    }

    // Another program changed the file behind the window: a message, nothing lands at a wrong place.
    void fileChangedBehindTheWindow_data() {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("button");
        QTest::newRow("record deleted, O.K.") << "shortened"
                                              << "Applycmd";
        QTest::newRow("record deleted, Wissen") << "shortened"
                                                << "wiscmd";
        QTest::newRow("record changed, O.K.") << "changed"
                                              << "Applycmd";
        QTest::newRow("record changed, Wissen") << "changed"
                                                << "wiscmd";
        QTest::newRow("key given to another meanwhile") << "key elsewhere"
                                                        << "Applycmd";
    }
    void fileChangedBehindTheWindow() {
        QFETCH(QString, change);
        QFETCH(QString, button);
        writeHolders({holder(1, "1111111111"), holder(2, "2222222222"), holder(3, "")});
        open(3);
        present(kKeyA);
        QCOMPARE(romtxt(), QString(kCodeA));
        QByteArray behind = holder(1, "1111111111") + holder(2, "2222222222");
        if (change == "changed") {
            behind += with(holder(3, ""), {{14, 30, "Elders gewijzigd"}});
        } else if (change == "key elsewhere") {
            behind = holder(1, kCodeA) + holder(2, "2222222222") + holder(3, "");
        }
        writeHolders({behind});
        MessageBox::setNextAnswer(QMessageBox::Yes);
        click(qPrintable(button));
        QList<MessageBox::Shown> shown = MessageBox::takeShown();
        QCOMPARE(shown.size(), button == "wiscmd" ? 2 : 1);
        if (change == "key elsewhere") {
            QCOMPARE(warning(shown), QString("Waarschuwing: In gebruik bij record:  1"));
        } else {
            QVERIFY2(shown.constLast().text.contains("asleutel.bst"), qPrintable(shown.constLast().text));
        }
        QCOMPARE(onDisk(), behind);
        QVERIFY(details()->isVisible());
    }

    // No probe: the window says so and goes on polling; a ROM with a bad CRC gives no code.
    void probeTrouble() {
        writeHolders({holder(1, "1111111111")});
        open(1);
        click("romcmd");
        m->sim.probe.close();
        m->ticks.advance(KeyPoller::kKeyCodeTickMs);
        QVERIFY(shown("probelbl") && child("probelbl")->text().startsWith("Geen Probe") && capturing());
        QVERIFY(m->sim.probe.open(nullptr));
        VirtualIButton::Rom rom{};
        QVERIFY(VirtualIButton::romFromHex("01A1B2C3D4E5F6", &rom));
        rom[7] = uint8_t(VirtualIButton::crc8(rom.data(), 7) ^ 0x01);
        present(QStringLiteral("ds1990a:") + VirtualIButton::romToHex(rom));
        m->ticks.advance(3 * kTwoTicksMs);
        QVERIFY(!shown("probelbl") && shown("noROMimg") && capturing());
        QCOMPARE(romtxt(), QString("1111111111"));
        present(kKeyA);
        QCOMPARE(romtxt(), QString(kCodeA));
    }
};

QTEST_MAIN(TestDetailsWindow)
#include "tst_detailswindow.moc"
