#include "base/runningthreads.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QThread>

namespace {

QMutex listMutex;
QSet<QThread *> threads;

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
    return allEnded;
}

} // namespace RunningThreads
