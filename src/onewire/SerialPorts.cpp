#include "onewire/SerialPorts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

// How far up from a tty's device the USB device with its descriptor strings may be: interface, port,
// device.
constexpr int kUsbLevels = 4;

// "ttyS2" sorts before "ttyS10".
std::pair<QString, int> sortKey(const QString& device) {
    qsizetype digits = device.size();
    while (digits > 0 && device.at(digits - 1).isDigit()) {
        --digits;
    }
    return {device.left(digits), device.mid(digits).toInt()};
}

QString attribute(const QString& folder, const char* name) {
    QFile file(QDir(folder).filePath(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

}  // namespace

QString SerialPortEntry::label() const {
    const QString about = QStringList{maker, product}.join(QLatin1Char(' ')).trimmed();
    return about.isEmpty() ? device : QStringLiteral("%1  (%2)").arg(device, about);
}

namespace SerialPorts {

QList<SerialPortEntry> scan(const QString& sysClassTty, const QString& devFolder) {
    QList<SerialPortEntry> ports;
    const QDir classFolder(sysClassTty);
    for (const QString& name : classFolder.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System)) {
        const QString tty = classFolder.filePath(name);
        const QFileInfo device(QDir(tty).filePath(QStringLiteral("device")));
        if (!device.exists()) {
            continue;
        }
        // PORT_UNKNOWN: the 8250 driver keeps a slot for a UART that is not there.
        if (attribute(tty, "type") == QLatin1String("0")) {
            continue;
        }
        SerialPortEntry entry;
        entry.device = QDir(devFolder).filePath(name);
        QDir up(device.canonicalFilePath());
        for (int level = 0; level < kUsbLevels; ++level) {
            if (QFileInfo::exists(up.filePath(QStringLiteral("idVendor")))) {
                entry.maker = attribute(up.path(), "manufacturer");
                entry.product = attribute(up.path(), "product");
                break;
            }
            if (!up.cdUp()) {
                break;
            }
        }
        ports.append(entry);
    }
    std::sort(ports.begin(), ports.end(),
              [](const SerialPortEntry& a, const SerialPortEntry& b) { return sortKey(a.device) < sortKey(b.device); });
    return ports;
}

}  // namespace SerialPorts
