#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include "screens/MessageBox.h"
#include "screens/ProbeWindow.h"
#include "screens/Ticker.h"
#include "support/ManualTicks.h"
#include "support/SimulatedProbeStack.h"

namespace {

const QByteArray kBlankKey(512, '\x55');

// Every byte different from its neighbours, and the end mark where the CRC byte goes.
QByteArray imageText() {
    QByteArray text;
    for (int i = 0; i < 511; ++i) {
        text += QByteArray::number((i * 7 + 3) & 0xFF, 16).rightJustified(2, '0').toUpper();
    }
    return text + "AA";
}

// The image's bytes with the CRC of the 511 before it in the last place, by the simulator's own CRC.
QByteArray expectedMemory() {
    QByteArray memory = QByteArray::fromHex(imageText());
    memory[511] = static_cast<char>(VirtualIButton::crc8(reinterpret_cast<const uint8_t*>(memory.constData()), 511));
    return memory;
}

}  // namespace

class TestProbeWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void writesKey_data();
    void writesKey();
    void waitsForProbeKeyAndImage();
    void checkedKeyCountsHoweverTheWindowCloses_data();
    void checkedKeyCountsHoweverTheWindowCloses();

private:
    // One probe, its image file and at most one window, new for every test.
    // Window timers and the probe's pacing run on one manual clock.
    struct Rig {
        QTemporaryDir dir;
        ManualClock clock;
        ManualTicks ticks{clock};
        SimulatedProbeStack sim{clock};
        SimulatedProbe& probe = sim.probe;
        DowIo& dow = sim.dowIo();
        std::unique_ptr<ProbeWindow> window;
    };
    std::unique_ptr<Rig> m;

    QString imagePath() const { return m->dir.filePath(QStringLiteral("autonoom.hex")); }
    VirtualIButton* insertKey(const QString& text) { return m->sim.insertKey(text, kBlankKey); }
    void open(bool check1 = false) {
        m->window = std::make_unique<ProbeWindow>(m->dow, imagePath(), check1, &m->ticks);
        m->window->show();
    }
    template <typename T = QLabel>
    T* child(const char* name) {
        return m->window->findChild<T*>(QLatin1String(name));
    }
    QColor status() { return child("Label4")->palette().color(QPalette::Window); }
    QImage picture() { return child("imgNotConnected")->pixmap().toImage(); }
    // The status text is shown whole: as tall as its wrapped lines need, and inside the window.
    bool statusReadWhole() {
        QLabel* label = child("Label4");
        return label->height() >= label->heightForWidth(label->width()) &&
               m->window->rect().contains(label->geometry());
    }
    bool advanceUntil(const std::function<bool()>& done, int limitMs) {
        return m->ticks.advanceUntil(done, std::chrono::milliseconds(limitMs));
    }
};

void TestProbeWindow::init() {
    MessageBox::setTestMode(true);
    MessageBox::takeShown();
    m = std::make_unique<Rig>();
    QFile file(imagePath());
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(imageText()) == 1024);
    QVERIFY(m->probe.open(nullptr));
}

void TestProbeWindow::cleanup() {
    m.reset();
}

void TestProbeWindow::writesKey_data() {
    QTest::addColumn<bool>("check1");
    QTest::addColumn<bool>("retry");
    QTest::newRow("failed check stays open in red") << false << false;
    QTest::newRow("Opnieuw writes the key again") << false << true;
    QTest::newRow("check1 writes the lost page again") << true << false;
}

// A DS1990A is refused; the DS1993 touched next is taken without "Opnieuw" but is off the probe at page 5.
void TestProbeWindow::writesKey() {
    QFETCH(bool, check1);
    QFETCH(bool, retry);
    VirtualIButton* ds1990a = insertKey(QStringLiteral("ds1990a:01A1B2C3D4E5F6"));
    open(check1);
    QVERIFY(advanceUntil([&] { return child<QPushButton>("ladercmd")->isVisible(); }, 3000));
    QCOMPARE(child("Label2")->text(), QStringLiteral("DS1990A"));
    QCOMPARE(status(), QColor(Qt::red));
    QVERIFY(child("Label4")->text().contains(QStringLiteral("DS1993")));
    QVERIFY(statusReadWhole());
    m->probe.removeKey(ds1990a);
    VirtualIButton* ds1993 = insertKey(QStringLiteral("ds1993:06A1B2C3D4E5F6"));
    const QString allPages = QStringLiteral("1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 ");
    const QString page5Failed = QString(allPages).replace(QStringLiteral(" 5 "), QStringLiteral(" 5! "));
    QString pages;
    connect(m->window.get(), &ProbeWindow::pageWritten, this, [&](int page, bool ok) {
        QVERIFY(!child<QPushButton>("Command1")->isEnabled());
        // The DS1990A's refusal is over once the DS1993 is taken; "Opnieuw" returns only with page 5.
        if (ok && !pages.contains(QLatin1String("!"))) {
            QVERIFY(child<QPushButton>("ladercmd")->isHidden());
        }
        pages += QString::number(page) + QLatin1String(ok ? " " : "! ");
        if (page == 4 && pages.size() == 8) {
            // Off the probe for longer than a page stage waits (about ten resets), then back.
            std::unique_ptr<VirtualIButton> key = m->probe.removeKey(ds1993);
            m->probe.insertKeyAfterCharacters(std::move(key), m->probe.charactersSent() + 14);
        }
    });

    QVERIFY(advanceUntil([&] { return child("Label4")->text().startsWith(QLatin1String("Controle")); }, 10000));
    const QByteArray expected = expectedMemory();
    if (check1) {
        QCOMPARE(pages, page5Failed + QStringLiteral("5 "));
        QCOMPARE(child("Label4")->text(), QStringLiteral("Controle OK"));
        QCOMPARE(status(), QColor(Qt::green));
        QCOMPARE(m->probe.key(0)->memory(), expected);
        QVERIFY(child<QPushButton>("ladercmd")->isHidden());
    } else {
        QCOMPARE(child("Label4")->text(), QStringLiteral("Controle mislukt"));
        QCOMPARE(pages, page5Failed);
        QCOMPARE(status(), QColor(Qt::red));
        QVERIFY(child("Label4")->toolTip().contains(QStringLiteral("Pagina 5")));
        const QByteArray memory = m->probe.key(0)->memory();
        QCOMPARE(memory.left(128) + memory.mid(160), expected.left(128) + expected.mid(160));
        QVERIFY(memory.mid(128, 32) != expected.mid(128, 32));
        // The key demonstrably does not hold the image: the window waits for "Opnieuw" however long.
        QVERIFY(!child<Ticker>("Timer3")->isActive());
        QVERIFY(child<QPushButton>("ladercmd")->isVisible());
        m->ticks.advance(std::chrono::milliseconds(ProbeWindow::kCloseDelayMs * 3));
        QVERIFY(m->window->isVisible());
        QCOMPARE(status(), QColor(Qt::red));
        QVERIFY(!m->window->keyWritten());
    }
    if (!check1 && !retry) {
        m->window->close();
        QVERIFY(!m->window->keyWritten());
        return;
    }

    if (retry) {
        // Presented again only after longer than the closing delay: nothing closes the window meanwhile.
        std::unique_ptr<VirtualIButton> key = m->probe.removeKey(m->probe.key(0));
        QTest::mouseClick(child<QPushButton>("ladercmd"), Qt::LeftButton);
        m->ticks.advance(std::chrono::milliseconds(ProbeWindow::kCloseDelayMs + 300));
        QVERIFY(m->window->isVisible());
        QVERIFY(!m->window->keyWritten());
        m->probe.insertKey(std::move(key));
        QVERIFY(advanceUntil([&] { return child<Ticker>("Timer3")->isActive(); }, 5000));
        QCOMPARE(pages, page5Failed + allPages);
        QCOMPARE(child("Label3")->text(), QStringLiteral("6"));
        QCOMPARE(child("label1")->text(), QStringLiteral("F6E5D4C3B2A1"));
        QVERIFY(child("imgNotConnected")->isHidden());
        QCOMPARE(child("Label4")->text(), QStringLiteral("Controle OK"));
        QCOMPARE(status(), QColor(Qt::green));
        QCOMPARE(m->probe.key(0)->memory(), expected);
    }
    const Clock::Time runEnded = m->clock.now();
    QVERIFY(advanceUntil([&] { return !m->window->isVisible(); }, 4000));
    QVERIFY(m->clock.now() - runEnded >= std::chrono::milliseconds(ProbeWindow::kCloseDelayMs));
    QVERIFY(m->window->keyWritten());
    QCOMPARE(m->window->result(), int(QDialog::Accepted));
    QVERIFY(!m->dow.initialised());
}

void TestProbeWindow::waitsForProbeKeyAndImage() {
    QVERIFY(QFile::remove(imagePath()));
    m->probe.close();
    open();
    QSignalSpy portRequests(m->window.get(), &ProbeWindow::portSettingsRequested);
    QLabel* plug = child("imgNotConnected");
    m->ticks.advance(std::chrono::milliseconds(250));
    QVERIFY(plug->isVisible());
    QCOMPARE(plug->toolTip(), QStringLiteral("Geen Probe"));
    const QImage noProbe = picture();
    QVERIFY(m->probe.open(nullptr));
    QVERIFY(advanceUntil([&] { return plug->toolTip() == QStringLiteral("geen sleutel"); }, 2000));
    QVERIFY(plug->isVisible());
    // A probe without a key looks different from no probe at all, and back again when it goes.
    const QImage noKey = picture();
    QVERIFY(!noKey.isNull() && noKey != noProbe);
    m->probe.close();
    QVERIFY(advanceUntil([&] { return plug->toolTip() == QStringLiteral("Geen Probe"); }, 2000));
    QCOMPARE(picture(), noProbe);
    QVERIFY(m->probe.open(nullptr));
    QVERIFY(advanceUntil([&] { return plug->toolTip() == QStringLiteral("geen sleutel"); }, 2000));
    QTest::mouseClick(child<QPushButton>("Command1"), Qt::LeftButton);
    QCOMPARE(portRequests.count(), 1);

    // A programming key but no image file: refused before any page is started.
    const int64_t sentBefore = m->probe.charactersSent();
    VirtualIButton* key = insertKey(QStringLiteral("ds1993:06A1B2C3D4E5F6"));
    QVERIFY(advanceUntil([&] { return child<QPushButton>("ladercmd")->isVisible(); }, 3000));
    const QList<MessageBox::Shown> shown = MessageBox::takeShown();
    QCOMPARE(shown.size(), 1);
    QVERIFY(shown.first().text.contains(QStringLiteral("sleutelbestand")));
    QCOMPARE(status(), QColor(Qt::red));
    QCOMPARE(key->memory(), kBlankKey);
    QVERIFY(m->probe.charactersSent() - sentBefore < 200);

    m->dow.link().initSlowRate();
    m->window->close();
    QVERIFY(!m->dow.initialised());
    QVERIFY(!child<Ticker>("Timer2")->isActive());
    QVERIFY(!child<Ticker>("Timer3")->isActive());
    QVERIFY(!m->window->keyWritten());
}

void TestProbeWindow::checkedKeyCountsHoweverTheWindowCloses_data() {
    QTest::addColumn<int>("takenOffAfterPage");  // 0: left on the probe
    QTest::addColumn<double>("noise");
    QTest::addColumn<bool>("written");
    QTest::newRow("Controle OK, closed before the window closes itself") << 0 << 0.0 << true;
    QTest::newRow("key taken off, closed") << 8 << 0.0 << false;
    // A whole read-back of 512 bytes comes through this noise clean about one time in eight.
    QTest::newRow("Controle OK under echo noise of 1 in 1,000") << 0 << 0.001 << true;
}

void TestProbeWindow::checkedKeyCountsHoweverTheWindowCloses() {
    QFETCH(int, takenOffAfterPage);
    QFETCH(double, noise);
    QFETCH(bool, written);
    VirtualIButton* key = insertKey(QStringLiteral("ds1993:06A1B2C3D4E5F6"));
    m->probe.setEchoNoise(noise);
    open();
    m->window->setReader(3, QStringLiteral("Hoofdingang"));
    QLabel* reader = child("lezerlbl");
    QVERIFY(reader->isVisible());
    QVERIFY2(
        reader->text().contains(QStringLiteral("lezer 3")) && reader->text().contains(QStringLiteral("Hoofdingang")),
        qPrintable(reader->text()));
    connect(m->window.get(), &ProbeWindow::pageWritten, this, [&](int page, bool) {
        if (page == takenOffAfterPage) {
            m->probe.removeKey(key);
        }
    });
    QVERIFY(advanceUntil([&] { return !child("Label4")->text().isEmpty(); }, 60000));
    QCOMPARE(child("Label4")->text(), written ? QStringLiteral("Controle OK") : QStringLiteral("Controle mislukt"));
    QVERIFY(statusReadWhole());
    m->window->close();
    QVERIFY(!m->window->isVisible());
    QCOMPARE(m->window->keyWritten(), written);
    QVERIFY(!child<Ticker>("Timer3")->isActive());
}

QTEST_MAIN(TestProbeWindow)
#include "tst_probewindow.moc"
