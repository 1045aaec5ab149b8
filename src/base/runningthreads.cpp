#include "base/runningthreads.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QSet>
#include <QThread>

namespace {

QMutex listMutex;
QSet<QThread *> threads;
QReadWriteLock criticalWork;                // locked for reading by each piece of it
constexpr int criticalWorkTimeout = 120000; // ms

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

bool endAll(int milliseconds)
{
    // The threads' objects live on this thread, so none goes away while the list is walked.
    const QDeadlineTimer deadline(milliseconds);
    const QSet<QThread *> running = listed();
    for (QThread *thread : running)
        thread->requestInterruption();
    bool allEnded = true;
    for (QThread *thread : running) {
        // Deleted here: the deleteLater() of a finished thread finds no event loop any more.
        if (thread->wait(deadline))
            delete thread;
        else
            allEnded = false;
    }
    if (!allEnded && criticalWork.tryLockForWrite(criticalWorkTimeout))
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
