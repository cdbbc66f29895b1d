#include "screens/Ticker.h"

#include <QTimer>

Ticker::Ticker(const QString& objectName, int intervalMs, bool singleShot, TickSource* source, QObject* parent)
    : QObject(parent), m_intervalMs(intervalMs), m_singleShot(singleShot), m_source(source) {
    setObjectName(objectName);
    if (!m_source) {
        m_timer = new QTimer(this);
        m_timer->setInterval(intervalMs);
        m_timer->setSingleShot(singleShot);
        connect(m_timer, &QTimer::timeout, this, &Ticker::timeout);
    }
}

Ticker::~Ticker() {
    stop();
}

void Ticker::start() {
    if (m_timer) {
        m_timer->start();
        return;
    }
    m_armed = true;
    m_source->arm(this);
}

void Ticker::stop() {
    if (m_timer) {
        m_timer->stop();
    } else if (m_armed) {
        m_armed = false;
        m_source->disarm(this);
    }
}

bool Ticker::isActive() const {
    return m_timer ? m_timer->isActive() : m_armed;
}

void Ticker::fire() {
    if (!m_armed) {
        return;
    }
    if (m_singleShot) {
        stop();
    }
    Q_EMIT timeout();
}
