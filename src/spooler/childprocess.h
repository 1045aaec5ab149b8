#pragma once

class QProcess;
class QString;

/// Starts a command line given as one text, split at blanks outside double quotes.
void startCommand(QProcess &process, const QString &commandLine);

/// Waits until a started process has finished, at most `milliseconds`; also gives up when the calling thread is asked
/// to end (QThread::requestInterruption), so that a set-up in progress does not hold up the end of the program.
bool waitForFinished(QProcess &process, int milliseconds);
