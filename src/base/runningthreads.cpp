#include "base/runningthreads.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QSet>
#include <QThread>

using namespace std::chrono_literals;

namespace {

QMutex listMutex;
QSet<QThread *> threads;
QReadWriteLock criticalWork; // each CriticalWork holds a read lock
constexpr std::chrono::milliseconds criticalWorkTimeout = 2min;

QSet<QThread *> listed()
{
    QMutexLocker locker(&listMutex);
    return threads;
}

} // namespace

namespace RunningThreads {

void start(QThread *thread)
{
    {
        QMutexLocker locker(&listMutex);
        threads.insert(thread);
    }
    QObject::connect(thread, &QObject::destroyed, [thread] {
        QMutexLocker locker(&listMutex);
        threads.remove(thread);
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start(QThread::InheritPriority);
}

bool endAll(std::chrono::milliseconds timeout)
{
    // The thread objects live on this thread, so none is deleted during the loop.
    const QDeadlineTimer deadline(timeout);
    const QSet<QThread *> running = listed();
    for (QThread *thread : running)
        thread->requestInterruption();
    bool allEnded = true;
    for (QThread *thread : running) {
        // Deleted here: no event loop is left to run the finished thread's deleteLater().
        if (thread->wait(deadline))
            delete thread;
        else
            allEnded = false;
    }
    if (!allEnded && criticalWork.tryLockForWrite(int(criticalWorkTimeout.count())))
        criticalWork.unlock();
    return allEnded;
}

CriticalWork::CriticalWork()
{
    criticalWork.lockForRead();
}

CriticalWork::~CriticalWork()
{
    criticalWork.unlock();
}

} // namespace RunningThreads
