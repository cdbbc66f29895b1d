#pragma once

#include <QObject>

class QTimer;
class Ticker;

// Drives tickers in place of real time: tests hand a window one that a manual clock moves, so polling and
// closing delays run without waiting.
class TickSource {
public:
    virtual ~TickSource() = default;
    // From now on, ticker->fire() is due every interval (once, for a single shot) until disarm.
    virtual void arm(Ticker* ticker) = 0;
    virtual void disarm(Ticker* ticker) = 0;
};

// A window's timer (Timer1, Timer2, Timer3): a QTimer, unless the window was given a TickSource.
class Ticker : public QObject {
    Q_OBJECT

public:
    Ticker(const QString& objectName, int intervalMs, bool singleShot, TickSource* source, QObject* parent);
    ~Ticker() override;

    void start();
    void stop();
    bool isActive() const;
    int interval() const { return m_intervalMs; }
    bool isSingleShot() const { return m_singleShot; }

    // For a TickSource: the interval has passed.
    void fire();

Q_SIGNALS:
    void timeout();

private:
    int m_intervalMs;
    bool m_singleShot;
    TickSource* m_source;
    QTimer* m_timer = nullptr;
    bool m_armed = false;
};
