#pragma once

#include <QMutex>
#include <QStringList>

/// Records the diagnostic lines of the process while it exists, instead of printing them. One at a time; any thread
/// logs. The lines outlive the recorder, because a thread may be logging while it is destroyed; the next recorder
/// starts without them.
class LogRecorder
{
public:
    LogRecorder()
    {
        clear();
        s_previous = qInstallMessageHandler(record);
    }
    ~LogRecorder() { qInstallMessageHandler(s_previous); }
    Q_DISABLE_COPY(LogRecorder)

    QStringList lines() const
    {
        QMutexLocker locker(&s_mutex);
        return s_lines;
    }

    /// Number of lines that contain the text.
    int count(const QString &text) const { return lines().filter(text).size(); }
    bool contains(const QString &text) const { return count(text) > 0; }

    void clear()
    {
        QMutexLocker locker(&s_mutex);
        s_lines.clear();
    }

private:
    static void record(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtFatalMsg)
            s_previous(type, context, message);
        QMutexLocker locker(&s_mutex);
        s_lines.append(message);
    }

    static inline QtMessageHandler s_previous = nullptr;
    static inline QMutex s_mutex;
    static inline QStringList s_lines;
};
