#include "spooler/cprinter.h"

#include "base/runningthreads.h"
#include "spooler/win32.h"
#include "quaylink/servicehandle.h"

#include <QDebug>
#include <QThread>

#include <algorithm>

using namespace std::chrono_literals;
using Quaylink::ServiceHandle;

namespace {

constexpr auto stopTimeout = 30s; // from the beginning of StopSvc
constexpr auto stopPause = 500ms;
constexpr std::chrono::milliseconds shortestStartPause = 1s;
constexpr std::chrono::milliseconds longestStartPause = 10s;
constexpr int serviceNameCapacity = 260; // UTF-16 units with the terminating zero

/// A service and the manager it was opened from; the service is closed first.
struct OpenedService
{
    ServiceHandle manager;
    ServiceHandle service;
};

OpenedService openService(CPrinter &printer, const QString &name, DWORD access)
{
    const SC_HANDLE manager = printer.QOpenSCManager();
    if (!manager)
        return {};
    const SC_HANDLE service = printer.QOpenService(manager, name, access);
    // QOpenService has closed the manager on failure.
    if (!service)
        return {};
    return {ServiceHandle(manager), ServiceHandle(service)};
}

/// True when the program is ending. Waits end then, except those that a restart of the service depends on.
bool interrupted()
{
    return QThread::currentThread()->isInterruptionRequested();
}

/// True when a start was refused only because the service has not stopped yet, or has just done so.
bool isStopping(SC_HANDLE service, DWORD startError)
{
    SERVICE_STATUS status = {};
    return startError == ERROR_SERVICE_ALREADY_RUNNING && QueryServiceStatus(service, &status) &&
           (status.dwCurrentState == SERVICE_STOP_PENDING || status.dwCurrentState == SERVICE_STOPPED);
}

/// Waits for a stop that outlasted StopSvc, so that a restart does not leave the machine without the service.
bool startOnceStopped(SC_HANDLE service)
{
    const DWORD start = GetTickCount();
    while (!StartServiceW(service, 0, nullptr)) {
        const DWORD error = GetLastError();
        if (!isStopping(service, error) || Quaylink::elapsedSince(start) > stopTimeout) {
            qDebug("958_CPrinter StartService failed (%lu)", ulong(error));
            return false;
        }
        Quaylink::pause(stopPause);
    }
    return true;
}

void waitWhileStartPending(SC_HANDLE service)
{
    SERVICE_STATUS status = {};
    QueryServiceStatus(service, &status);
    DWORD progressTime = GetTickCount();
    DWORD checkPoint = status.dwCheckPoint;
    while (status.dwCurrentState == SERVICE_START_PENDING && !interrupted()) {
        const std::chrono::milliseconds waitHint(status.dwWaitHint);
        Quaylink::pause(std::clamp(waitHint / 10, shortestStartPause, longestStartPause));
        if (!QueryServiceStatus(service, &status))
            return;
        if (status.dwCheckPoint > checkPoint) {
            progressTime = GetTickCount();
            checkPoint = status.dwCheckPoint;
        } else if (Quaylink::elapsedSince(progressTime) > std::chrono::milliseconds(status.dwWaitHint)) {
            return;
        }
    }
}

/// One attempt to stop a service, from its first status to the last.
class ServiceStop
{
public:
    ServiceStop(CPrinter &printer, OpenedService opened, DWORD start)
        : m_printer(printer)
        , m_opened(std::move(opened))
        , m_start(start)
    {
    }

    bool run()
    {
        if (!query("806_CPrinter QueryServiceStatusEx failed (%lu)"))
            return false;
        if (state() == SERVICE_STOPPED) {
            qDebug("813_CPrinter Service is already stopped.");
            return false;
        }
        if (!waitForForeignStop() || interrupted())
            return false;
        m_printer.StopDependentServices(m_opened.manager.get(), m_opened.service.get());
        return stop();
    }

private:
    DWORD state() const { return m_status.dwCurrentState; }
    bool timedOut() const { return Quaylink::elapsedSince(m_start) > stopTimeout; }

    bool query(const char *failureText)
    {
        DWORD needed = 0;
        if (QueryServiceStatusEx(m_opened.service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&m_status),
                                 sizeof m_status, &needed))
            return true;
        qDebug(failureText, ulong(GetLastError()));
        return false;
    }

    /// Waits for a stop requested by someone else. False ends the attempt, even when the service has stopped: it was
    /// not this attempt that stopped it.
    bool waitForForeignStop()
    {
        while (state() == SERVICE_STOP_PENDING && !interrupted()) {
            qDebug("822_CPrinter Service stop pending...");
            Sleep(m_status.dwWaitHint);
            if (!query("831_CPrinter QueryServiceStatusEx failed (%lu)"))
                return false;
            if (state() == SERVICE_STOPPED) {
                qDebug("838_CPrinter Service stopped successfully.");
                return false;
            }
            if (timedOut()) {
                qDebug("845_CPrinter Service stop timed out.");
                return false;
            }
        }
        return true;
    }

    bool stop()
    {
        // A service that accepts the control but reports neither state gets it again at once, without a limit.
        while (state() != SERVICE_STOPPED) {
            if (interrupted() || !sendStop() || !waitWhileStopPending())
                return false;
        }
        qDebug("899_CPrinter Service stopped successfully");
        return true;
    }

    bool sendStop()
    {
        // A SERVICE_STATUS_PROCESS begins with the members of a SERVICE_STATUS.
        if (!ControlService(m_opened.service.get(), SERVICE_CONTROL_STOP,
                            reinterpret_cast<LPSERVICE_STATUS>(&m_status))) {
            qDebug("863_CPrinter ControlService failed (%lu)", ulong(GetLastError()));
            return false;
        }
        qDebug("870_CPrinter Current service status is (0x%lx)", ulong(state()));
        return true;
    }

    /// Not interruptible: the service can be started again only after it has stopped.
    bool waitWhileStopPending()
    {
        while (state() == SERVICE_STOP_PENDING) {
            Sleep(m_status.dwWaitHint);
            if (!query("882_CPrinter QueryServiceStatusEx failed (%lu)\n"))
                return false;
            if (state() == SERVICE_STOPPED)
                return true;
            Quaylink::pause(stopPause);
            if (timedOut()) {
                qDebug("893_CPrinter Wait timed out");
                return false;
            }
        }
        return true;
    }

    CPrinter &m_printer;
    const OpenedService m_opened;
    const DWORD m_start;
    SERVICE_STATUS_PROCESS m_status = {};
};

} // namespace

SC_HANDLE CPrinter::QOpenSCManager()
{
    qDebug("731_CPrinter QOpenSCManager");
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (!manager)
        qDebug("739_CPrinter OpenSCManager failed (%lu)", ulong(GetLastError()));
    return manager;
}

SC_HANDLE CPrinter::QOpenService(SC_HANDLE manager, const QString &name, quint32 access)
{
    qDebug() << "748_CPrinter QOpenService()" << name;
    if (!manager)
        return nullptr;
    const SC_HANDLE service = OpenServiceW(manager, WideText(name.left(serviceNameCapacity - 1)).data(), access);
    if (!service) {
        // The text names the manager although it is the service that does not open.
        qDebug("762_CPrinter OpenSCManager failed (%lu)", ulong(GetLastError()));
        CloseServiceHandle(manager);
    }
    return service;
}

bool CPrinter::StartSvc(const QString &name)
{
    qDebug() << "935_CPrinter StartSvc()" << name;
    const OpenedService opened = openService(*this, name, SERVICE_ALL_ACCESS);
    if (!opened.service)
        return false;
    const bool started = startOnceStopped(opened.service.get());
    if (started)
        waitWhileStartPending(opened.service.get());
    qDebug() << "1014_CPrinter StartSvc() returned" << started;
    return started;
}

bool CPrinter::StopSvc(const QString &name)
{
    qDebug() << "772_CPrinter StopSvc()" << name;
    const DWORD start = GetTickCount();
    OpenedService opened = openService(*this, name, SERVICE_STOP | SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS);
    if (!opened.service)
        return false;
    return ServiceStop(*this, std::move(opened), start).run();
}

CPrinter::SvcState CPrinter::RunSvc(const QString &name)
{
    const OpenedService opened = openService(*this, name, SERVICE_QUERY_STATUS);
    if (!opened.service)
        return SvcState::NotAllowed;
    SERVICE_STATUS status = {};
    const auto runs = [&] {
        return QueryServiceStatus(opened.service.get(), &status) && status.dwCurrentState == SERVICE_RUNNING;
    };
    if (runs())
        return SvcState::Running;
    StartSvc(name);
    waitWhileStartPending(opened.service.get()); // somebody else may be starting it
    return runs() ? SvcState::Running : SvcState::Stopped;
}

void CPrinter::RestartSvc(const QString &name)
{
    const RunningThreads::CriticalWork restart;
    StopSvc(name);
    StartSvc(name);
}
