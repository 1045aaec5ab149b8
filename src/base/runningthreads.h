#pragma once

class QThread;

/// The worker threads that must not outlive the application object. They delete themselves when they finish; this list
/// only lets the end of the process stop what still runs. Callable from any thread.
namespace RunningThreads {

/// Lists a thread until it is destroyed, lets it delete itself when it has finished, and starts it with the inherited
/// priority. It must have no other owner.
void start(QThread *thread);

/// Asks every listed thread to end (QThread::requestInterruption), waits for them at most `milliseconds` in all and
/// deletes those that did. Main thread, after the event loop. False when some thread still runs: it is left alone.
bool endAll(int milliseconds);

} // namespace RunningThreads
