#pragma once

#include <QtGlobal>

class QThread;

/// The worker threads that must not outlive the application object. They delete themselves when they finish; this list
/// only lets the end of the process stop what still runs. Callable from any thread.
namespace RunningThreads {

/// Lists a thread until it is destroyed, lets it delete itself when it has finished, and starts it with the inherited
/// priority. It must have no other owner.
void start(QThread *thread);

/// Work that the end of the process must not cut short, such as a restart of the machine's spooler: endAll() waits on
/// while an object of this class exists. Any thread.
class CriticalWork
{
public:
    CriticalWork();
    ~CriticalWork();
    Q_DISABLE_COPY(CriticalWork)
};

/// Asks every listed thread to end (QThread::requestInterruption), waits for them at most `milliseconds` in all, or
/// up to two minutes for critical work, and deletes those that did. Main thread, after the event loop. False when some
/// thread still runs: it is left alone.
bool endAll(int milliseconds);

} // namespace RunningThreads
