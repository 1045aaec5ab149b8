#pragma once

#include <QtGlobal>

#include <chrono>

class QThread;

/// The worker threads that must not outlive the application object. They delete themselves when they finish; the list
/// is only for stopping the rest when the program ends. Callable from any thread.
namespace RunningThreads {

/// Lists a thread until it is destroyed, makes it delete itself when it has finished, and starts it with the inherited
/// priority. It must have no other owner.
void start(QThread *thread);

/// Work that must not be cut short by the end of the process, such as a restart of the machine's spooler: endAll()
/// keeps waiting while an object of this class exists. Any thread.
class CriticalWork
{
public:
    CriticalWork();
    ~CriticalWork();
    Q_DISABLE_COPY(CriticalWork)
};

/// Asks every listed thread to end (QThread::requestInterruption), waits at most `timeout` for all of them together, or
/// up to two minutes for critical work, and deletes those that have ended. Main thread, after the event loop. False if
/// a thread still runs: it is left alone.
bool endAll(std::chrono::milliseconds timeout);

} // namespace RunningThreads
