#pragma once

#include "onewire/SerialLine.h"

#include <QHash>
#include <QSerialPort>
#include <QString>

// The probe's serial line over QSerialPort: 8N1, no flow control, DTR and RTS asserted. Port numbers map
// to device paths (Com1 /dev/ttyS0, Com2 /dev/ttyS1 unless set otherwise, e.g. a USB adapter or a
// pseudo-terminal). Every call drives the port itself, so no event loop has to run.
class QtSerialLine : public SerialLine {
public:
    static constexpr int kDefaultBaud = 9600;

    QtSerialLine();
    ~QtSerialLine() override;

    void setDevicePath(int number, const QString& path);
    QString devicePath(int number) const;

    void setPortNumber(int number) override { m_number = number; }
    int portNumber() const override { return m_number; }

    // A refusal says in Dutch what the user can do about it: plug the adapter in, join the group dialout,
    // close the other program; otherwise the system's own text.
    bool open(QString* error) override;
    void close() override;
    bool isOpen() const override { return m_port.isOpen(); }
    LowLatency lowLatency() const override { return m_port.isOpen() ? m_lowLatency : LowLatency::NotOffered; }

    int inBufferCount() override;
    void discardInput() override;
    int outBufferCount() override;
    int readChar() override;
    bool write(const QByteArray& run) override;

    bool waitForInput(int count, int timeoutMs) override;
    bool waitForEchoes(int timeoutMs) override;

    bool setBaudRate(int bitsPerSecond) override;
    int baudRate() const override { return m_baud; }

private:
    void poll();
    void closeIfGone();
    qint64 received() const { return m_consumed + m_port.bytesAvailable(); }

    QSerialPort m_port;
    QHash<int, QString> m_paths;
    int m_number = 1;
    int m_baud = kDefaultBaud;
    LowLatency m_lowLatency = LowLatency::NotOffered;
    // Characters handed to the port and characters taken out of it (read or discarded) since open().
    qint64 m_written = 0;
    qint64 m_consumed = 0;
};
