#pragma once

#include <QByteArray>
#include <QString>

// The serial side of the probe: what the 1-Wire layer needs from a serial port. Real ports, the
// simulated probe and test doubles all implement it. Every call returns at once unless it says it
// waits, and no call ever waits without a bound.
class SerialLine {
public:
    // Whether the driver holds received characters back before passing them on (a USB-serial adapter
    // does, up to 16 ms, unless asked for its low-latency mode); every echo wait pays for it.
    enum class LowLatency { NotOffered, On, Refused };

    virtual ~SerialLine() = default;

    // Com1 is 1, Com2 is 2. Changing the number of an open line takes effect at the next open().
    virtual void setPortNumber(int number) = 0;
    virtual int portNumber() const = 0;

    // Opens the line with DTR and RTS asserted (a passive probe draws its power from them). On
    // failure returns false and puts the platform's error text into *error.
    virtual bool open(QString* error) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    // What the driver of the open line said to the low-latency mode.
    virtual LowLatency lowLatency() const { return LowLatency::NotOffered; }

    // Characters received and not yet read.
    virtual int inBufferCount() = 0;
    // Throws away every character received so far.
    virtual void discardInput() = 0;
    // Characters handed to write() that have not yet left for the device.
    virtual int outBufferCount() = 0;
    // One received character (0..255), or -1 when none is waiting.
    virtual int readChar() = 0;
    // Sends a run of characters; returns false when the line is closed or the device is gone.
    virtual bool write(const QByteArray& run) = 0;

    // Waits at most timeoutMs until at least count characters are waiting; true when they are.
    virtual bool waitForInput(int count, int timeoutMs) = 0;
    // Waits at most timeoutMs until every character ever written has come back, as an echo, into
    // the input (read or discarded since, or still waiting). On a passive probe each character sent
    // echoes exactly once, so this is the only sure sign that nothing is still in flight in a
    // USB-serial adapter. True when all have come back.
    virtual bool waitForEchoes(int timeoutMs) = 0;

    // The bit rate for the characters written from now on.
    virtual bool setBaudRate(int bitsPerSecond) = 0;
    virtual int baudRate() const = 0;
};
