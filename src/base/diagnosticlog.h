#pragma once

#include <QDate>
#include <QString>
#include <QtGlobal>

/// The day's diagnostic log: one text file per calendar day in the folder "logs" beside the executable, which the
/// installation provides. Lines are "[yyyy-MM-dd hh:mm:ss zzz] Level: message", ended by CR LF, in the system's 8-bit
/// code page. A line that cannot be written is dropped: there is nowhere left to report it to.

/// The handler for qInstallMessageHandler. Any thread; one line at a time. A fatal message aborts the process
/// unwritten.
void messageOutput(QtMsgType type, const QMessageLogContext &context, const QString &message);

/// Full path of the log file of a day.
QString logFileName(const QDate &date);

/// Deletes the log files that are more than `days` days older than today. Files not named by a date stay.
void LogFileManage(int days);
