#include "tests/support/logrecorder.h"

LogRecorder *LogRecorder::s_current = nullptr;

LogRecorder::LogRecorder()
{
    s_current = this;
    m_previous = qInstallMessageHandler(record);
}

LogRecorder::~LogRecorder()
{
    qInstallMessageHandler(m_previous);
    s_current = nullptr;
}

QStringList LogRecorder::lines() const
{
    QMutexLocker locker(&m_mutex);
    return m_lines;
}

int LogRecorder::count(const QString &text) const
{
    return lines().filter(text).size();
}

void LogRecorder::clear()
{
    QMutexLocker locker(&m_mutex);
    m_lines.clear();
}

void LogRecorder::record(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg)
        s_current->m_previous(type, context, message);
    QMutexLocker locker(&s_current->m_mutex);
    s_current->m_lines.append(message);
}
