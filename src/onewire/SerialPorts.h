#pragma once

#include <QList>
#include <QString>

// One serial port the system has: its device, and for a USB adapter its maker and product.
struct SerialPortEntry {
    QString device;  // "/dev/ttyUSB0"
    QString maker;
    QString product;

    // "/dev/ttyUSB0  (FTDI FT232R USB UART)", or the device alone.
    QString label() const;
};

namespace SerialPorts {

// The serial ports the kernel lists in sysClassTty, in name order, read without opening any device:
// QSerialPortInfo opens every 8250 port to see whether a UART answers, and the first of them may be a
// console. A port counts when it has a device behind it (virtual terminals have none) and, where the
// driver says which UART it is, that is not "unknown" (an empty slot of the 8250 driver).
QList<SerialPortEntry> scan(const QString& sysClassTty = QStringLiteral("/sys/class/tty"),
                            const QString& devFolder = QStringLiteral("/dev"));

}  // namespace SerialPorts
