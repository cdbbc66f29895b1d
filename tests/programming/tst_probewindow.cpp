#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include "onewire/DowIo.h"
#include "onewire/SimulatedProbe.h"
#include "onewire/UartBridgePortIo.h"
#include "onewire/VirtualIButton.h"
#include "programming/ProgrammingImage.h"
#include "screens/MessageBox.h"
#include "screens/ProbeWindow.h"

namespace {

std::unique_ptr<VirtualIButton> makeKey(const QString& text) {
    QString error;
    auto key = VirtualIButton::fromText(text, &error);
    if (!key) {
        qFatal("%s", qPrintable(error));
    }
    return key;
}

// Every byte different from its neighbours, and the end mark where the CRC byte goes.
QByteArray imageText() {
    QByteArray text;
    for (int i = 0; i < 511; ++i) {
        text += QByteArray::number((i * 7 + 3) & 0xFF, 16).rightJustified(2, '0').toUpper();
    }
    return text + "AA";
}

const QColor kGreen(0x00, 0xFF, 0x00);
const QColor kRed(0xFF, 0x00, 0x00);

}  // namespace

class TestProbeWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void writesProgrammingKeys_data();
    void writesProgrammingKeys();
    void refusesOtherFamiliesAndKeepsPolling();
    void closesAfterTimer3WithFlag();
    void keyRemovedAtPage5_data();
    void keyRemovedAtPage5();
    void refusesUnusableImage_data();
    void refusesUnusableImage();
    void showsProbeAndKeyState();

private:
    ProbeWindow* makeWindow(bool check1 = false);
    template <typename T>
    T* child(const char* name) {
        return m_window->findChild<T*>(QLatin1String(name));
    }
    QColor status() { return child<QLabel>("Label4")->palette().color(QPalette::Window); }
    QByteArray expectedMemory() {
        QByteArray memory;
        QString error;
        if (!ProgrammingImage::parse(imageText(), &memory, &error)) {
            qFatal("%s", qPrintable(error));
        }
        return memory;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_imagePath;
    std::unique_ptr<SimulatedProbe> m_probe;
    std::unique_ptr<UartBridgePortIo> m_ports;
    std::unique_ptr<DowIo> m_dow;
    ProbeWindow* m_window = nullptr;
    bool m_flag = false;
};

void TestProbeWindow::init() {
    MessageBox::setTestMode(true);
    MessageBox::takeShown();
    m_dir = std::make_unique<QTemporaryDir>();
    m_imagePath = m_dir->filePath(QStringLiteral("autonoom.hex"));
    QFile file(m_imagePath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(imageText());
    file.close();
    m_probe = std::make_unique<SimulatedProbe>();
    m_ports = std::make_unique<UartBridgePortIo>(*m_probe);
    m_dow = std::make_unique<DowIo>(*m_probe, *m_ports);
    QString error;
    QVERIFY2(m_probe->open(&error), qPrintable(error));
    m_flag = false;
}

void TestProbeWindow::cleanup() {
    delete m_window;
    m_window = nullptr;
    m_dow.reset();
    m_ports.reset();
    m_probe.reset();
}

ProbeWindow* TestProbeWindow::makeWindow(bool check1) {
    m_window = new ProbeWindow(*m_dow, m_imagePath, check1, &m_flag);
    m_window->show();
    return m_window;
}

void TestProbeWindow::writesProgrammingKeys_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("keyCode");
    QTest::newRow("DS1993") << "ds1993:06A1B2C3D4E5F6"
                            << "6"
                            << "DS1993(prog)"
                            << "F6E5D4C3B2A1";
    QTest::newRow("DS1994") << "ds1994:04112233445566"
                            << "4"
                            << "DS1994(klok)"
                            << "665544332211";
}

void TestProbeWindow::writesProgrammingKeys() {
    QFETCH(QString, key);
    QFETCH(QString, family);
    QFETCH(QString, name);
    QFETCH(QString, keyCode);
    VirtualIButton* button = m_probe->insertKey(makeKey(key));
    button->setMemory(QByteArray(512, '\x55'));
    makeWindow();
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Probe Tarnwick   1.0"));
    QCOMPARE(child<QLabel>("label1")->text(), QStringLiteral("aanbieden Programmeersleutel"));
    QSignalSpy pages(m_window, &ProbeWindow::pageWritten);

    QVERIFY(QTest::qWaitFor([&] { return child<QTimer>("Timer3")->isActive(); }, 5000));
    QCOMPARE(pages.count(), 16);
    for (int i = 0; i < 16; ++i) {
        QCOMPARE(pages.at(i).at(0).toInt(), i + 1);
        QVERIFY(pages.at(i).at(1).toBool());
    }
    QCOMPARE(child<QLabel>("Label3")->text(), family);
    QCOMPARE(child<QLabel>("Label2")->text(), name);
    QCOMPARE(child<QLabel>("label1")->text(), keyCode);
    QVERIFY(child<QLabel>("imgNotConnected")->isHidden());
    QVERIFY(!child<QTimer>("Timer2")->isActive());
    QCOMPARE(child<QProgressBar>("ProgressBar1")->value(), 16);
    QVERIFY(child<QProgressBar>("ProgressBar1")->isHidden());
    QCOMPARE(child<QLabel>("Label4")->text(), QStringLiteral("Controle OK"));
    QCOMPARE(status(), kGreen);

    const QByteArray memory = button->memory();
    QCOMPARE(memory, expectedMemory());
    // The end mark "AA" never reaches the key: its place holds the CRC of the 511 bytes before it.
    QVERIFY(static_cast<quint8>(memory.at(511)) != 0xAA);
    QCOMPARE(static_cast<quint8>(memory.at(511)),
             VirtualIButton::crc8(reinterpret_cast<const uint8_t*>(memory.constData()), 511));
    QVERIFY(!m_flag);
}

void TestProbeWindow::refusesOtherFamiliesAndKeepsPolling() {
    VirtualIButton* ds1990a = m_probe->insertKey(makeKey(QStringLiteral("ds1990a:01A1B2C3D4E5F6")));
    makeWindow();
    QVERIFY(QTest::qWaitFor([&] { return child<QPushButton>("ladercmd")->isVisible(); }, 3000));
    QCOMPARE(child<QLabel>("Label3")->text(), QStringLiteral("1"));
    QCOMPARE(child<QLabel>("Label2")->text(), QStringLiteral("DS1990A"));
    QCOMPARE(child<QLabel>("label1")->text(), QStringLiteral("F6E5D4C3B2A1"));
    QCOMPARE(status(), kRed);
    QVERIFY(child<QProgressBar>("ProgressBar1")->isHidden());
    QVERIFY(child<QTimer>("Timer2")->isActive());
    QVERIFY(!child<QTimer>("Timer3")->isActive());

    // The right key touched next is taken without pressing "Opnieuw".
    m_probe->removeKey(ds1990a);
    VirtualIButton* ds1993 = m_probe->insertKey(makeKey(QStringLiteral("ds1993:06000000000001")));
    QVERIFY(QTest::qWaitFor([&] { return child<QTimer>("Timer3")->isActive(); }, 5000));
    QCOMPARE(ds1993->memory(), expectedMemory());
    QCOMPARE(status(), kGreen);
}

void TestProbeWindow::closesAfterTimer3WithFlag() {
    m_probe->insertKey(makeKey(QStringLiteral("ds1993:06A1B2C3D4E5F6")));
    makeWindow();
    QSignalSpy written(m_window, &ProbeWindow::keyWritten);
    QVERIFY(QTest::qWaitFor([&] { return child<QTimer>("Timer3")->isActive(); }, 5000));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(QTest::qWaitFor([&] { return !m_window->isVisible(); }, 4000));
    QVERIFY(clock.elapsed() >= ProbeWindow::kCloseDelayMs - 100);
    QVERIFY(m_flag);
    QCOMPARE(written.count(), 1);
    QCOMPARE(m_window->result(), int(QDialog::Accepted));
    QVERIFY(child<QLabel>("Label4")->isHidden());
    QVERIFY(!m_dow->initialised());
    QVERIFY(!child<QTimer>("Timer2")->isActive());
}

void TestProbeWindow::keyRemovedAtPage5_data() {
    QTest::addColumn<bool>("check1");
    QTest::newRow("designed flow") << false;
    QTest::newRow("check1") << true;
}

void TestProbeWindow::keyRemovedAtPage5() {
    QFETCH(bool, check1);
    VirtualIButton* button = m_probe->insertKey(makeKey(QStringLiteral("ds1993:06A1B2C3D4E5F6")));
    button->setMemory(QByteArray(512, '\x55'));
    makeWindow(check1);
    QList<QPair<int, bool>> reports;
    connect(m_window, &ProbeWindow::pageWritten, this, [&](int page, bool ok) {
        reports.append({page, ok});
        QVERIFY(!child<QPushButton>("Command1")->isEnabled());
        if (page == 4 && reports.size() == 4) {
            // Off the probe for longer than a page stage waits (about ten resets), then back.
            std::unique_ptr<VirtualIButton> key = m_probe->removeKey(button);
            m_probe->insertKeyAfterCharacters(std::move(key), m_probe->charactersSent() + 14);
        }
    });

    QVERIFY(
        QTest::qWaitFor([&] { return child<QLabel>("Label4")->text() == QStringLiteral("Controle mislukt"); }, 10000));
    QCOMPARE(reports.size(), 16);
    for (const auto& [page, ok] : reports) {
        QCOMPARE(ok, page != 5);
    }
    QCOMPARE(status(), kRed);
    QVERIFY(child<QPushButton>("ladercmd")->isVisible());
    QVERIFY(child<QProgressBar>("ProgressBar1")->isHidden());
    QVERIFY(child<QLabel>("Label4")->toolTip().contains(QStringLiteral("Pagina 5")));

    QCOMPARE(m_probe->keyCount(), 1);
    const QByteArray memory = m_probe->key(0)->memory();
    const QByteArray expected = expectedMemory();
    QCOMPARE(memory.left(4 * 32), expected.left(4 * 32));
    QVERIFY(memory.mid(4 * 32, 32) != expected.mid(4 * 32, 32));
    QCOMPARE(memory.mid(5 * 32), expected.mid(5 * 32));

    if (check1) {
        QVERIFY(!child<QTimer>("Timer3")->isActive());
        QTest::qWait(300);
        QVERIFY(m_window->isVisible());
        QVERIFY(!m_flag);
        // "Opnieuw" starts over on the same key, and this time the check passes.
        QTest::mouseClick(child<QPushButton>("ladercmd"), Qt::LeftButton);
        QVERIFY(QTest::qWaitFor([&] { return child<QTimer>("Timer3")->isActive(); }, 5000));
        QCOMPARE(child<QLabel>("Label4")->text(), QStringLiteral("Controle OK"));
        QCOMPARE(m_probe->key(0)->memory(), expected);
    } else {
        QVERIFY(child<QTimer>("Timer3")->isActive());
        child<QTimer>("Timer3")->setInterval(10);
        child<QTimer>("Timer3")->start();
        QVERIFY(QTest::qWaitFor([&] { return !m_window->isVisible(); }, 1000));
        QVERIFY(m_flag);
    }
}

void TestProbeWindow::refusesUnusableImage_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("present");
    QTest::newRow("short") << imageText().left(1000) << true;
    QTest::newRow("not hex") << QByteArray(imageText()).replace(40, 2, "ZZ") << true;
    QTest::newRow("missing") << QByteArray() << false;
}

void TestProbeWindow::refusesUnusableImage() {
    QFETCH(QByteArray, content);
    QFETCH(bool, present);
    QFile::remove(m_imagePath);
    if (present) {
        QFile file(m_imagePath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    VirtualIButton* button = m_probe->insertKey(makeKey(QStringLiteral("ds1993:06A1B2C3D4E5F6")));
    button->setMemory(QByteArray(512, '\x55'));
    const int64_t sentBefore = m_probe->charactersSent();
    makeWindow();
    QVERIFY(QTest::qWaitFor([&] { return child<QPushButton>("ladercmd")->isVisible(); }, 3000));
    const QList<MessageBox::Shown> shown = MessageBox::takeShown();
    QCOMPARE(shown.size(), 1);
    QVERIFY(shown.first().text.contains(QStringLiteral("sleutelbestand")));
    QCOMPARE(status(), kRed);
    QCOMPARE(button->memory(), QByteArray(512, '\x55'));
    // Identification only: no page was started.
    QVERIFY(m_probe->charactersSent() - sentBefore < 200);
    QVERIFY(!child<QTimer>("Timer3")->isActive());
}

void TestProbeWindow::showsProbeAndKeyState() {
    m_probe->close();
    makeWindow();
    QSignalSpy portRequests(m_window, &ProbeWindow::portSettingsRequested);
    QLabel* image = child<QLabel>("imgNotConnected");
    QTest::qWait(250);
    QVERIFY(image->isVisible());
    QCOMPARE(image->toolTip(), QStringLiteral("Geen Probe"));

    QString error;
    QVERIFY(m_probe->open(&error));
    QVERIFY(QTest::qWaitFor([&] { return image->toolTip() == QStringLiteral("geen sleutel"); }, 2000));
    QVERIFY(image->isVisible());

    QTest::mouseClick(child<QPushButton>("Command1"), Qt::LeftButton);
    QCOMPARE(child<QPushButton>("Command1")->text(), QStringLiteral("I/O poort instellen"));
    QCOMPARE(portRequests.count(), 1);

    m_dow->initSlowRate();
    QVERIFY(m_dow->initialised());
    m_window->close();
    QVERIFY(!m_dow->initialised());
    QVERIFY(!child<QTimer>("Timer2")->isActive());
    QVERIFY(!m_flag);
}

QTEST_MAIN(TestProbeWindow)
#include "tst_probewindow.moc"
