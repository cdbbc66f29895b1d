// What the port dialog offers and what a driver is asked: the serial ports read from a made-up sysfs tree,
// and the low-latency request against drivers that offer, grant, refuse or ignore it.
#include "onewire/SerialDriver.h"
#include "onewire/SerialPorts.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <cerrno>

namespace {

bool writeText(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text + '\n') == text.size() + 1;
}

// /sys/class/tty/NAME with a device link to devices/DEVICE (none when empty) and a UART type when given.
bool addTty(const QDir& sys, const QString& name, const QString& device, const QByteArray& type = {}) {
    const QString tty = sys.filePath(QStringLiteral("class/tty/") + name);
    if (!sys.mkpath(tty)) {
        return false;
    }
    if (!type.isEmpty() && !writeText(tty + QStringLiteral("/type"), type)) {
        return false;
    }
    if (device.isEmpty()) {
        return true;
    }
    const QString target = sys.filePath(QStringLiteral("devices/") + device);
    return sys.mkpath(target) && QFile::link(target, tty + QStringLiteral("/device"));
}

// A USB device with its descriptor strings, as the kernel shows it.
bool addUsbDevice(const QDir& sys, const QString& device, const QByteArray& maker, const QByteArray& product) {
    const QString folder = sys.filePath(QStringLiteral("devices/") + device);
    return writeText(folder + QStringLiteral("/idVendor"), "0403") &&
           writeText(folder + QStringLiteral("/manufacturer"), maker) &&
           writeText(folder + QStringLiteral("/product"), product);
}

// A driver whose answers a row decides; it records what it is asked.
struct FakeDriver {
    bool offers = true;
    bool refusesSet = false;
    bool keepsFlag = true;
    serial_struct state{};
    QList<unsigned long> requests;
    serial_struct setWith{};

    int operator()(int, unsigned long request, serial_struct* serial) {
        requests.append(request);
        if (!offers) {
            errno = ENOTTY;
            return -1;
        }
        if (request == TIOCGSERIAL) {
            *serial = state;
            return 0;
        }
        setWith = *serial;
        if (refusesSet) {
            errno = EPERM;
            return -1;
        }
        if (keepsFlag) {
            state = *serial;
        }
        return 0;
    }
};

}  // namespace

Q_DECLARE_METATYPE(SerialLine::LowLatency)

class TestSerialPorts : public QObject {
    Q_OBJECT

    QTemporaryDir m_sys;
    QList<SerialPortEntry> m_found;

private Q_SLOTS:
    void initTestCase() {
        const QDir sys(m_sys.path());
        QVERIFY(addTty(sys, "ttyS0", "pnp0/00:01/00:01:0/00:01:0.0", "4"));
        QVERIFY(addTty(sys, "ttyS1", "platform/serial8250/serial8250:0.1", "0"));
        QVERIFY(addTty(sys, "ttyS2", "platform/serial8250/serial8250:0.2", "4"));
        QVERIFY(addTty(sys, "ttyS10", "platform/serial8250/serial8250:0.10", "4"));
        QVERIFY(addTty(sys, "tty0", {}));
        QVERIFY(addTty(sys, "console", {}));
        QVERIFY(addUsbDevice(sys, "pci0/usb1/1-1", "FTDI", "FT232R USB UART"));
        QVERIFY(addTty(sys, "ttyUSB0", "pci0/usb1/1-1/1-1:1.0/ttyUSB0"));
        QVERIFY(addUsbDevice(sys, "pci0/usb1/1-2", "", "USB-Serial Controller"));
        QVERIFY(addTty(sys, "ttyUSB1", "pci0/usb1/1-2/1-2:1.0/ttyUSB1"));
        QVERIFY(addUsbDevice(sys, "pci0/usb1/1-3", "Arduino (www.arduino.cc)", "Uno"));
        QVERIFY(addTty(sys, "ttyACM0", "pci0/usb1/1-3/1-3:1.0"));
        m_found = SerialPorts::scan(sys.filePath("class/tty"), "/sim-dev");
    }

    // Only what can carry a probe is offered, in name order, USB adapters with their maker and product;
    // an empty 8250 slot, a virtual terminal and the console are left out.
    void listsWhatExistsInNameOrder() {
        QStringList labels;
        for (const SerialPortEntry& entry : m_found) {
            labels << entry.label();
        }
        QCOMPARE(labels, (QStringList{"/sim-dev/ttyACM0  (Arduino (www.arduino.cc) Uno)", "/sim-dev/ttyS0",
                                      "/sim-dev/ttyS2", "/sim-dev/ttyS10", "/sim-dev/ttyUSB0  (FTDI FT232R USB UART)",
                                      "/sim-dev/ttyUSB1  (USB-Serial Controller)"}));
    }

    void lowLatency_data() {
        QTest::addColumn<bool>("offers");
        QTest::addColumn<bool>("alreadyOn");
        QTest::addColumn<bool>("refusesSet");
        QTest::addColumn<bool>("keepsFlag");
        QTest::addColumn<SerialLine::LowLatency>("expected");
        QTest::addColumn<int>("requests");
        using L = SerialLine::LowLatency;
        QTest::newRow("no serial driver (pseudo-terminal)") << false << false << false << true << L::NotOffered << 1;
        QTest::newRow("already on") << true << true << false << true << L::On << 1;
        QTest::newRow("granted") << true << false << false << true << L::On << 3;
        QTest::newRow("refused") << true << false << true << true << L::Refused << 2;
        QTest::newRow("taken and ignored") << true << false << false << false << L::Refused << 3;
    }
    void lowLatency() {
        QFETCH(bool, offers);
        QFETCH(bool, alreadyOn);
        QFETCH(bool, refusesSet);
        QFETCH(bool, keepsFlag);
        QFETCH(SerialLine::LowLatency, expected);
        QFETCH(int, requests);
        FakeDriver driver;
        driver.offers = offers;
        driver.refusesSet = refusesSet;
        driver.keepsFlag = keepsFlag;
        // The custom rate the line runs at lives in these fields: asking for low latency must keep them.
        driver.state.baud_base = 115200;
        driver.state.custom_divisor = 11;
        driver.state.flags = ASYNC_SPD_CUST | (alreadyOn ? ASYNC_LOW_LATENCY : 0);
        const SerialLine::LowLatency got = SerialDriver::requestLowLatency(
            7, [&driver](int fd, unsigned long request, serial_struct* serial) { return driver(fd, request, serial); });
        QCOMPARE(got, expected);
        QCOMPARE(driver.requests.size(), requests);
        if (requests > 1) {
            QCOMPARE(driver.requests.at(1), (unsigned long)TIOCSSERIAL);
            QCOMPARE(driver.setWith.baud_base, 115200);
            QCOMPARE(driver.setWith.custom_divisor, 11);
            QCOMPARE(driver.setWith.flags, ASYNC_SPD_CUST | ASYNC_LOW_LATENCY);
        }
    }
};

QTEST_GUILESS_MAIN(TestSerialPorts)
#include "tst_serialports.moc"
