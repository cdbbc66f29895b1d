// The key-holder details window driven as a user drives it, with keys held against the simulated probe
// on a manual clock: codes from ROM bytes to the record on disk, duplicates refused, the search, "Nieuw",
// "Wissen", and what happens when the probe or the file is not what the window expects.
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include "screens/AccessGrid.h"
#include "screens/AccessGridModel.h"
#include "screens/AccessWindow.h"
#include "screens/DetailsWindow.h"
#include "screens/MessageBox.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "screens/Ticker.h"
#include "screens/WindowSettings.h"
#include "support/GridFixture.h"
#include "support/ManualTicks.h"
#include "support/RecordFixtures.h"
#include "support/SimulatedProbeStack.h"

using namespace fixtures;
using Mode = DetailsWindow::Mode;

namespace {

constexpr int kCodeOffset = 157;

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

// ROM as it travels on the wire (family code first, CRC added) -> the code the record stores.
const QString kKeyA = QStringLiteral("ds1990a:01A1B2C3D4E5F6");
const QString kCodeA = QStringLiteral("A1B2C3D4E5");
const QString kKeyB = QStringLiteral("ds1990a:015A3C210B0000");
const QString kCodeB = QStringLiteral("5A3C210B00");

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
        Rig() {
            session.ticks = &ticks;
            QDir().mkpath(session.dataFolder());
        }
    };
    std::unique_ptr<Rig> m;

    QString holdersPath() const { return QDir(m->session.dataFolder()).filePath("asleutel.bst"); }
    QByteArray onDisk() const { return readFile(holdersPath()); }
    void writeHolders(const QList<QByteArray>& holders) { QVERIFY(writeFile(holdersPath(), holders.join())); }
    DetailsWindow* details() const { return m->access ? m->access->details() : m->window.get(); }
    template <typename T = QLabel>
    T* child(const char* name) const {
        return details()->findChild<T*>(QLatin1String(name));
    }
    QString romtxt() const { return child<QLineEdit>("Romtxt")->text(); }
    bool shown(const char* name) const { return !child<QWidget>(name)->isHidden(); }
    void click(const char* name) { QTest::mouseClick(child<QPushButton>(name), Qt::LeftButton); }
    void open(Mode mode, int record) {
        m->window = std::make_unique<DetailsWindow>(m->session, mode, record);
        m->window->show();
    }
    // The access window over the files, with its details window opened by the button given.
    void openFromGrid(const char* buttonName) {
        QVERIFY(writeFile(QDir(m->session.dataFolder()).filePath("autonoom.bst"), record(128, 1)));
        m->access = std::make_unique<AccessWindow>(m->session);
        m->access->show();
        QVERIFY(QTest::qWaitForWindowExposed(m->access.get()));
        QTest::mouseClick(m->access->findChild<QPushButton*>(buttonName), Qt::LeftButton);
        QVERIFY(details());
    }
    // The window deletes itself when closed.
    bool detailsGone() const {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return !details();
    }
    QPushButton* zoekcmd() const { return m->access->findChild<QPushButton*>("zoekcmd"); }
    bool advanceUntil(const std::function<bool()>& done, int limitMs) {
        return m->ticks.advanceUntil(done, std::chrono::milliseconds(limitMs));
    }
    void present(const QString& key) { QVERIFY(m->sim.insertKey(key)); }
    void takeAway() {
        while (m->sim.probe.keyCount() > 0) {
            m->sim.probe.removeKey(m->sim.probe.key(0));
        }
    }
    static QString warning(const QList<MessageBox::Shown>& shown) {
        if (shown.size() != 1 || shown.at(0).icon != QMessageBox::Critical || shown.at(0).title != "Waarschuwing") {
            return QStringLiteral("<not one critical warning>");
        }
        return shown.at(0).text;
    }

private Q_SLOTS:
    void init() {
        MessageBox::setTestMode(true);
        m = std::make_unique<Rig>();
        QVERIFY(m->sim.probe.open(nullptr));
    }
    void cleanup() {
        m->window.reset();
        m->access.reset();
        m.reset();
        QCOMPARE(MessageBox::takeShown().size(), 0);
    }

    // The ROM bytes on the wire end up, as ROM bytes 2 to 6 least significant first, at offset 157.
    void keyCodeFromRomToDisk_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QByteArray>("stored");  // what the holder had
        QTest::newRow("DS1990A, holder without a key") << kKeyA << kCodeA << QByteArray();
        QTest::newRow("serial with zero bytes, ten zeros stored") << kKeyB << kCodeB << QByteArray("0000000000");
        QTest::newRow("byte 7 left out") << "ds1990a:01123456789ABC"
                                         << "123456789A" << QByteArray(10, '\0');
        QTest::newRow("old DS1990, read with 0x0F") << "ds1990:0113579B020000"
                                                    << "13579B0200" << QByteArray();
    }
    void keyCodeFromRomToDisk() {
        QFETCH(QString, key);
        QFETCH(QString, code);
        QFETCH(QByteArray, stored);
        QByteArray second = holder(2, {});
        second.replace(kCodeOffset, 10, stored.leftJustified(10, ' '));
        writeHolders({holder(1, "1111111111"), second});
        present(key);
        m->sim.dowIo().setInitialised(true);
        m->settings.save("persoonfrm", "width", "6000");
        open(Mode::Edit, 2);
        QCOMPARE(m->window->width(), WindowSettings::twipsToPixels(6000, m->window->logicalDpiX()));
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   2"));
        QCOMPARE(romtxt(), QString());
        QVERIFY(shown("noROMimg"));
        QCOMPARE(child("noROMimg")->toolTip(), QString("Sleutel onbekend"));
        QVERIFY(!m->sim.dowIo().initialised());
        // Two ticks: the reset, then the ROM.
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(romtxt(), code);
        QVERIFY(!shown("noROMimg"));
        QVERIFY(!child<Ticker>("Timer1")->isActive());
        QCOMPARE(m->sim.dowIo().keyCode().size(), 10);
        QCOMPARE(onDisk(), holder(1, "1111111111") + second);

        click("Applycmd");
        QVERIFY(!details()->isVisible());
        QCOMPARE(onDisk(), holder(1, "1111111111") + holder(2, code.toLatin1()));
        QCOMPARE(onDisk().mid(512 + kCodeOffset, 10), code.toLatin1());
        QCOMPARE(m->settings.get("fg3", "toprow", ""), QString("2"));
        QCOMPARE(m->settings.get("persoonfrm", "width", ""), QString("6000"));
    }

    // A key a holder already has is refused; the edited holder keeps the code on disk, nothing is written.
    void presentedKeyAlreadyHeld_data() {
        QTest::addColumn<int>("edited");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("restored");
        QTest::newRow("the holder's own key") << 2 << "Dezelfde sleutel" << kCodeA;
        QTest::newRow("another holder's key") << 1 << "In gebruik bij record:  2"
                                              << "1111111111";
        QTest::newRow("holder without a key") << 3 << "In gebruik bij record:  2"
                                              << "";
    }
    void presentedKeyAlreadyHeld() {
        QFETCH(int, edited);
        QFETCH(QString, message);
        QFETCH(QString, restored);
        const QList<QByteArray> holders = {holder(1, "1111111111"), holder(2, kCodeA.toLatin1()), holder(3, "")};
        writeHolders(holders);
        open(Mode::Edit, edited);
        if (!restored.isEmpty()) {
            QVERIFY(!child<Ticker>("Timer1")->isActive());
            click("romcmd");
            QVERIFY(shown("noROMimg"));
        }
        QVERIFY(child<Ticker>("Timer1")->isActive());
        present(kKeyA);
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(warning(MessageBox::takeShown()), message);
        QCOMPARE(romtxt(), restored);
        QCOMPARE(shown("noROMimg"), restored.isEmpty());
        QCOMPARE(child<Ticker>("Timer1")->isActive(), restored.isEmpty());
        QCOMPARE(child<QCheckBox>("geldigchk")->isChecked(), true);
        QCOMPARE(onDisk(), holders.join());
        // "O.K." stores what is shown, the refused key not.
        click("Applycmd");
        QCOMPARE(onDisk(), holders.join());
    }
    // " Zoeken": the access grid's button is disabled for exactly as long as the search runs.
    void searchByKey_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("label");
        QTest::newRow("holder found") << kKeyA << "Gevonden nr  2";
        QTest::newRow("no holder has the key") << kKeyB << "Niet in het Systeem";
    }
    void searchByKey() {
        QFETCH(QString, key);
        QFETCH(QString, label);
        const QList<QByteArray> holders = {holder(1, "1111111111"), holder(2, kCodeA.toLatin1(), "0"), holder(3, "")};
        writeHolders(holders);
        openFromGrid("zoekcmd");
        QVERIFY(!zoekcmd()->isEnabled());
        QCOMPARE(child<QPushButton>("Newcmd")->text(), QString("Cancel"));
        QVERIFY(shown("noROMimg"));
        for (const char* name : {"wiscmd", "Applycmd", "romcmd"}) {
            QVERIFY2(!shown(name), name);
        }
        m->ticks.advance(4 * KeyPoller::kKeyCodeTickMs);
        QVERIFY(!zoekcmd()->isEnabled());
        QVERIFY(details()->searching());

        present(key);
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(child("vlgnrlbl")->text(), label);
        QVERIFY(!child<Ticker>("Timer1")->isActive());
        QVERIFY(!shown("noROMimg"));
        const bool found = label.startsWith("Gevonden");
        QCOMPARE(zoekcmd()->isEnabled(), found);
        QCOMPARE(shown("Applycmd"), true);
        for (const char* name : {"wiscmd", "romcmd", "Newcmd"}) {
            QVERIFY2(shown(name) == found, name);
        }
        if (found) {
            QCOMPARE(child<QPushButton>("Newcmd")->text(), QString("Nieuw"));
            QCOMPARE(child<QLineEdit>("naamtxt")->text(), QString("Houder 2"));
            QCOMPARE(child<QLineEdit>("mobtxt")->text(), QString("06-12345672"));
            QCOMPARE(romtxt(), kCodeA);
            QVERIFY(!child<QCheckBox>("geldigchk")->isChecked());
        }
        click("Applycmd");
        QVERIFY(detailsGone());
        QVERIFY(zoekcmd()->isEnabled());
        QCOMPARE(onDisk(), holders.join());
    }

    // A holder without a key never answers a search, however the file says "no key".
    void blankCodeNeverMatches() {
        QByteArray nul = holder(2, {});
        nul.replace(kCodeOffset, 10, QByteArray(10, '\0'));
        writeHolders({holder(1, ""), nul, holder(3, "0000000000")});
        openFromGrid("zoekcmd");
        present(QStringLiteral("ds1990a:00000000000000"));
        m->ticks.advance(8 * KeyPoller::kKeyCodeTickMs);
        QVERIFY(details()->searching());
        QCOMPARE(child("vlgnrlbl")->text(), QString());
        QCOMPARE(romtxt(), QString());
        QVERIFY(shown("noROMimg"));
        takeAway();
        present(kKeyB);
        m->ticks.advance(3 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(child("vlgnrlbl")->text(), QString("Niet in het Systeem"));
        details()->close();
        QVERIFY(zoekcmd()->isEnabled());
    }

    void cancelledSearch() {
        writeHolders({holder(1, kCodeA.toLatin1())});
        openFromGrid("zoekcmd");
        m->ticks.advance(KeyPoller::kKeyCodeTickMs);
        m->sim.dowIo().setInitialised(true);
        click("Newcmd");
        QVERIFY(zoekcmd()->isEnabled());
        QVERIFY(!child<Ticker>("Timer1")->isActive());
        QVERIFY(!m->sim.dowIo().initialised());
        QCOMPARE(child<QPushButton>("Newcmd")->text(), QString("Nieuw"));
        QVERIFY(shown("Applycmd") && !shown("noROMimg"));
        // A key presented afterwards is not taken.
        present(kKeyA);
        m->ticks.advance(4 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(romtxt(), QString());
        QCOMPARE(child("vlgnrlbl")->text(), QString());
        click("Applycmd");
        QVERIFY(detailsGone());
        QCOMPARE(onDisk(), holder(1, kCodeA.toLatin1()));
    }

    // "Nieuw" writes the record at once from the grid's current holder: geldig "1", no name, no code.
    void newHolder_data() {
        QTest::addColumn<bool>("keyTaken");
        QTest::newRow("closed without O.K.") << false;
        QTest::newRow("key presented, O.K.") << true;
    }
    void newHolder() {
        QFETCH(bool, keyTaken);
        const QList<QByteArray> holders = {holder(1, "1111111111"), holder(2, kCodeA.toLatin1(), "0")};
        writeHolders(holders);
        QVERIFY(writeFile(QDir(m->session.dataFolder()).filePath("autonoom.bst"), record(128, 1)));
        m->access = std::make_unique<AccessWindow>(m->session);
        m->access->show();
        AccessGrid* grid = m->access->grid();
        grid->setCurrentIndex(grid->model()->index(1, AccessGridModel::ColNaam));
        QTest::mouseClick(m->access->findChild<QPushButton*>("Nieuwcmd"), Qt::LeftButton);
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   3"));
        const QByteArray made = with(holders.at(1), {{0, 1, "1"}, {14, 30, ""}, {kCodeOffset, 10, ""}});
        QCOMPARE(onDisk(), holders.join() + made);
        for (const char* name : {"naamtxt", "adrestxt", "wptxt", "teltxt", "mobtxt", "Romtxt"}) {
            QVERIFY2(child<QLineEdit>(name)->text().isEmpty(), name);
        }
        QVERIFY(child<QCheckBox>("geldigchk")->isChecked());
        QVERIFY(shown("noROMimg"));
        QVERIFY(child<Ticker>("Timer1")->isActive());
        if (!keyTaken) {
            details()->close();
            QCOMPARE(onDisk(), holders.join() + made);
            QCOMPARE(grid->model()->rowCount(), 3);
            return;
        }
        present(kKeyB);
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(romtxt(), kCodeB);
        QTest::keyClicks(child<QLineEdit>("naamtxt"), "Nieuwe houder");
        click("Applycmd");
        QCOMPARE(onDisk(), holders.join() + with(made, {{14, 30, "Nieuwe houder"},
                                                        {44, 30, ""},
                                                        {81, 21, ""},
                                                        {102, 15, ""},
                                                        {132, 15, ""},
                                                        {kCodeOffset, 10, kCodeB.toLatin1()}}));
        QCOMPARE(grid->model()->data(grid->model()->index(2, AccessGridModel::ColNaam)).toString(),
                 QString("Nieuwe houder"));
    }

    // "Wissen" asks first; on Yes the record goes through tmp.bst and the grid loses the row.
    void deleteHolder_data() {
        QTest::addColumn<bool>("yes");
        QTest::newRow("No") << false;
        QTest::newRow("Yes") << true;
    }
    void deleteHolder() {
        QFETCH(bool, yes);
        const QList<QByteArray> holders = {holder(1, "1111111111"), holder(2, kCodeA.toLatin1()), holder(3, "")};
        writeHolders(holders);
        QVERIFY(writeFile(QDir(m->session.dataFolder()).filePath("autonoom.bst"), record(128, 1)));
        m->access = std::make_unique<AccessWindow>(m->session);
        m->access->show();
        QVERIFY(QTest::qWaitForWindowExposed(m->access.get()));
        GridDriver::click(m->access->grid(), 1, AccessGridModel::ColNumber);
        QCOMPARE(child("vlgnrlbl")->text(), QString("Volgnummer   2"));
        MessageBox::setNextAnswer(yes ? QMessageBox::Yes : QMessageBox::No);
        click("wiscmd");
        const QList<MessageBox::Shown> asked = MessageBox::takeShown();
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.at(0).text, QString("Wissen regel  2"));
        QCOMPARE(asked.at(0).title, QString("Sleutel gegevens weggooien"));
        QCOMPARE(asked.at(0).icon, QMessageBox::Critical);
        QCOMPARE(asked.at(0).buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(asked.at(0).defaultButton, QMessageBox::No);
        QCOMPARE(detailsGone(), yes);
        if (!yes) {
            QCOMPARE(onDisk(), holders.join());
            return;
        }
        QCOMPARE(onDisk(), holders.at(0) + holders.at(2));
        QCOMPARE(readFile(QDir(m->session.dataFolder()).filePath("tmp.bst")), holders.join());
        const AccessGridModel* model = m->access->grid()->model();
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->data(model->index(1, AccessGridModel::ColNaam)).toString(), QString("Houder 3"));
    }

    // Another program changed the file behind the window: a message, and nothing lands at a wrong place.
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
        QTest::newRow("key given to another meanwhile, O.K.") << "key elsewhere"
                                                              << "Applycmd";
    }
    void fileChangedBehindTheWindow() {
        QFETCH(QString, change);
        QFETCH(QString, button);
        writeHolders({holder(1, "1111111111"), holder(2, "2222222222"), holder(3, "")});
        open(Mode::Edit, 3);
        present(kKeyA);
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(romtxt(), kCodeA);
        QList<QByteArray> behind = {holder(1, "1111111111"), holder(2, "2222222222")};
        if (change == "changed") {
            behind.append(with(holder(3, ""), {{14, 30, "Elders gewijzigd"}}));
        } else if (change == "key elsewhere") {
            behind = {holder(1, kCodeA.toLatin1()), holder(2, "2222222222"), holder(3, "")};
        }
        writeHolders(behind);
        MessageBox::setNextAnswer(QMessageBox::Yes);
        click(qPrintable(button));
        QList<MessageBox::Shown> shown = MessageBox::takeShown();
        if (button == "wiscmd") {
            QCOMPARE(shown.size(), 2);
            shown.removeFirst();
        }
        QCOMPARE(shown.size(), 1);
        if (change == "key elsewhere") {
            QCOMPARE(warning(shown), QString("In gebruik bij record:  1"));
        } else {
            QVERIFY2(shown.at(0).text.contains("asleutel.bst"), qPrintable(shown.at(0).text));
        }
        QCOMPARE(onDisk(), behind.join());
        QVERIFY(details()->isVisible());
    }

    // No probe: the window says so and goes on polling; a ROM with a bad CRC gives no code.
    void probeTrouble() {
        writeHolders({holder(1, "1111111111")});
        open(Mode::Edit, 1);
        click("romcmd");
        m->sim.probe.close();
        m->ticks.advance(KeyPoller::kKeyCodeTickMs);
        QVERIFY(shown("probelbl"));
        QVERIFY(child("probelbl")->text().startsWith("Geen Probe"));
        QVERIFY(child<Ticker>("Timer1")->isActive());
        QVERIFY(!m->sim.dowIo().initialised());

        QVERIFY(m->sim.probe.open(nullptr));
        VirtualIButton::Rom rom{};
        QVERIFY(VirtualIButton::romFromHex("01A1B2C3D4E5F6", &rom));
        rom[7] = uint8_t(VirtualIButton::crc8(rom.data(), 7) ^ 0x01);
        present(QStringLiteral("ds1990a:") + VirtualIButton::romToHex(rom));
        m->ticks.advance(8 * KeyPoller::kKeyCodeTickMs);
        QVERIFY(!shown("probelbl"));
        QCOMPARE(romtxt(), QString("1111111111"));
        QVERIFY(shown("noROMimg"));
        QVERIFY(child<Ticker>("Timer1")->isActive());

        takeAway();
        present(kKeyA);
        m->ticks.advance(2 * KeyPoller::kKeyCodeTickMs);
        QCOMPARE(romtxt(), kCodeA);
        QVERIFY(!shown("noROMimg"));
    }
};

QTEST_MAIN(TestDetailsWindow)
#include "tst_detailswindow.moc"
