#pragma once

#include "emulator/win32/model/jobs.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSocketNotifier>
#include <QTcpSocket>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>

namespace Tools {

/// Sends the jobs of one port over RAW TCP, one at a time. A job whose connection is refused or breaks is marked in
/// error and tried again. Lives in the main thread.
class PortSender : public QObject
{
public:
    explicit PortSender(std::string port);
    ~PortSender() override;

    /// Call it often: gives up a job that was purged, or any while `serving` is false; starts the oldest one if idle.
    void look(bool serving);

private:
    void start();
    void sendBlock();
    void awaitClose();
    void readAnswer();
    void succeed();
    void fail(const QString &reason);
    void release();

    const std::string m_port;
    std::optional<Win32Emulator::Job> m_job; ///< the one that is being sent
    QFile m_file;
    QTcpSocket m_socket;
    int m_closing = -1; ///< the connection's descriptor while the printer's close is awaited
    std::unique_ptr<QSocketNotifier> m_answer;
    QTimer m_closingTime;
    QElapsedTimer m_sinceFailure;
    unsigned m_reportedJob = 0;
};

} // namespace Tools
