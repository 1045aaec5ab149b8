#pragma once

#include <QCoreApplication>
#include <QTimer>
#include <QTimerEvent>

#include <chrono>

/// Lets a running QTimer of `owner` with this interval expire now, so that a test does not wait for it. False if there
/// is none.
inline bool fire(const QObject *owner, std::chrono::milliseconds interval)
{
    const auto timers = owner->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    for (QTimer *timer : timers) {
        if (!timer->isActive() || timer->intervalAsDuration() != interval)
            continue;
        QTimerEvent expiry(timer->timerId());
        QCoreApplication::sendEvent(timer, &expiry);
        return true;
    }
    return false;
}
