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
        QTest::newRow("byte 7 left out") << "ds1990a:01123456789ABC" << "123456789A" << QByteArray(10, '\0');
        QTest::newRow("old DS1990, read with 0x0F") << "ds1990:0113579B020000" << "13579B0200" << QByteArray();
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
        open(Mode::Edit, 2);
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
    }

    // A key a holder already has is refused; the edited holder keeps the code on disk, nothing is written.
    void presentedKeyAlreadyHeld_data() {
        QTest::addColumn<int>("edited");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("restored");
        QTest::newRow("the holder's own key") << 2 << "Dezelfde sleutel" << kCodeA;
        QTest::newRow("another holder's key") << 1 << "In gebruik bij record:  2" << "1111111111";
        QTest::newRow("holder without a key") << 3 << "In gebruik bij record:  2" << "";
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
};

QTEST_MAIN(TestDetailsWindow)
#include "tst_detailswindow.moc"
