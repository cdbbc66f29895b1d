#include "onewire/QtSerialLine.h"

#include "onewire/SerialDriver.h"

#include <QElapsedTimer>
#include <QFile>

#include <pwd.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <cerrno>

namespace {

QString userName() {
    const passwd* user = ::getpwuid(::geteuid());
    return user ? QString::fromLocal8Bit(user->pw_name) : QStringLiteral("$USER");
}

// Why path would not open, in the user's words. The reason is looked for afresh: QSerialPort reports a
// busy port and a lock held by another program as a permission error too.
QString openFailureText(const QString& path, QSerialPort::SerialPortError error, const QString& systemText) {
    const QByteArray native = QFile::encodeName(path);
    if (::access(native.constData(), F_OK) != 0 && errno == ENOENT) {
        return QStringLiteral("het apparaat %1 bestaat niet. Is de probe (of de USB-adapter) aangesloten?").arg(path);
    }
    if (::access(native.constData(), R_OK | W_OK) != 0 && errno == EACCES) {
        return QStringLiteral(
                   "u hebt geen toegang tot %1. Wie met de probe werkt, moet lid zijn van de groep dialout: voer "
                   "\"sudo adduser %2 dialout\" uit, meld u af en weer aan, en probeer het opnieuw.")
            .arg(path, userName());
    }
    if (error == QSerialPort::PermissionError) {
        return QStringLiteral("%1 is in gebruik door een ander programma. Sluit dat programma en probeer het opnieuw.")
            .arg(path);
    }
    return systemText;
}

}  // namespace

QtSerialLine::QtSerialLine() {
    m_paths.insert(1, QStringLiteral("/dev/ttyS0"));
    m_paths.insert(2, QStringLiteral("/dev/ttyS1"));
}

QtSerialLine::~QtSerialLine() {
    close();
}

void QtSerialLine::setDevicePath(int number, const QString& path) {
    m_paths.insert(number, path);
}

QString QtSerialLine::devicePath(int number) const {
    return m_paths.value(number);
}

bool QtSerialLine::open(QString* error) {
    close();
    const QString path = devicePath(m_number);
    if (path.isEmpty()) {
        if (error) {
            *error = QStringLiteral("Geen apparaat ingesteld voor Com%1").arg(m_number);
        }
        return false;
    }
    m_port.setPortName(path);
    if (!m_port.open(QIODevice::ReadWrite)) {
        if (error) {
            *error = openFailureText(path, m_port.error(), m_port.errorString());
        }
        return false;
    }
    // The rate goes last: a custom rate lives in termios2 and would be overwritten by a later tcsetattr.
    bool ok = m_port.setDataBits(QSerialPort::Data8) && m_port.setParity(QSerialPort::NoParity) &&
              m_port.setStopBits(QSerialPort::OneStop) && m_port.setFlowControl(QSerialPort::NoFlowControl) &&
              m_port.setBaudRate(m_baud);
    if (!ok) {
        if (error) {
            *error = m_port.errorString();
        }
        m_port.close();
        return false;
    }
    // The probe is powered from DTR and RTS. A pseudo-terminal has no modem lines; that is no reason to
    // refuse the line.
    m_port.setDataTerminalReady(true);
    m_port.setRequestToSend(true);
    m_lowLatency = SerialDriver::requestLowLatency(m_port.handle());
    m_port.clearError();
    m_written = 0;
    m_consumed = 0;
    return true;
}

void QtSerialLine::close() {
    if (m_port.isOpen()) {
        m_port.close();
    }
    m_port.clearError();
    m_written = 0;
    m_consumed = 0;
}

// Moves pending output to the device and pending input into the port's buffer, without waiting.
void QtSerialLine::poll() {
    if (!m_port.isOpen()) {
        return;
    }
    m_port.waitForReadyRead(0);
    closeIfGone();
}

// An unplugged USB adapter (or a hung-up pseudo-terminal) shows up as a resource, read or write error;
// from then on the line reads as closed, so nothing keeps waiting on it.
void QtSerialLine::closeIfGone() {
    switch (m_port.error()) {
        case QSerialPort::ResourceError:
        case QSerialPort::ReadError:
        case QSerialPort::WriteError:
            m_port.close();
            m_port.clearError();
            break;
        case QSerialPort::TimeoutError:
            m_port.clearError();
            break;
        default:
            break;
    }
}

int QtSerialLine::inBufferCount() {
    poll();
    return m_port.isOpen() ? static_cast<int>(m_port.bytesAvailable()) : 0;
}

void QtSerialLine::discardInput() {
    poll();
    if (!m_port.isOpen()) {
        return;
    }
    // Not QSerialPort::clear(): that flushes the driver's queue too, and those characters would never be
    // counted as echoes.
    m_consumed += m_port.readAll().size();
}

int QtSerialLine::outBufferCount() {
    poll();
    if (!m_port.isOpen()) {
        return 0;
    }
    int queued = 0;
    if (::ioctl(m_port.handle(), TIOCOUTQ, &queued) != 0) {
        queued = 0;
    }
    return static_cast<int>(m_port.bytesToWrite()) + queued;
}

int QtSerialLine::readChar() {
    if (!m_port.isOpen()) {
        return -1;
    }
    if (m_port.bytesAvailable() == 0) {
        poll();
    }
    char c = 0;
    if (!m_port.isOpen() || !m_port.getChar(&c)) {
        return -1;
    }
    ++m_consumed;
    return static_cast<uint8_t>(c);
}

bool QtSerialLine::write(const QByteArray& run) {
    if (!m_port.isOpen()) {
        return false;
    }
    if (m_port.write(run) != run.size()) {
        closeIfGone();
        return false;
    }
    m_written += run.size();
    m_port.waitForBytesWritten(0);
    closeIfGone();
    return m_port.isOpen();
}

bool QtSerialLine::waitForInput(int count, int timeoutMs) {
    QElapsedTimer clock;
    clock.start();
    poll();
    while (m_port.isOpen() && m_port.bytesAvailable() < count) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0) {
            break;
        }
        m_port.waitForReadyRead(static_cast<int>(left));
        closeIfGone();
    }
    return m_port.isOpen() && m_port.bytesAvailable() >= count;
}

bool QtSerialLine::waitForEchoes(int timeoutMs) {
    QElapsedTimer clock;
    clock.start();
    poll();
    while (m_port.isOpen() && received() < m_written) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0) {
            break;
        }
        m_port.waitForReadyRead(static_cast<int>(left));
        closeIfGone();
    }
    if (!m_port.isOpen()) {
        return false;
    }
    if (received() >= m_written) {
        return true;
    }
    // Echoes that did not come in time are written off: one lost character must not make every later
    // wait (one per rate change) run into its time-out.
    m_written = received();
    return false;
}

bool QtSerialLine::setBaudRate(int bitsPerSecond) {
    if (bitsPerSecond <= 0) {
        return false;
    }
    m_baud = bitsPerSecond;
    if (!m_port.isOpen()) {
        return true;
    }
    // Linux takes any rate through termios2 (BOTHER), 115200/11 included, on real UARTs, USB adapters
    // and pseudo-terminals alike.
    if (!m_port.setBaudRate(bitsPerSecond)) {
        closeIfGone();
        return false;
    }
    return true;
}
