#pragma once

#include <QMutex>
#include <QStringList>

/// Records the diagnostic lines of the process while it exists, instead of printing them. One at a time; any thread
/// logs.
class LogRecorder
{
public:
    LogRecorder();
    ~LogRecorder();
    Q_DISABLE_COPY(LogRecorder)

    QStringList lines() const;

    /// Number of lines that contain the text.
    int count(const QString &text) const;
    bool contains(const QString &text) const { return count(text) > 0; }
    void clear();

private:
    static void record(QtMsgType type, const QMessageLogContext &context, const QString &message);

    static LogRecorder *s_current;
    QtMessageHandler m_previous;
    mutable QMutex m_mutex;
    QStringList m_lines;
};
