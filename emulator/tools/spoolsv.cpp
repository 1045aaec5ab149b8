// The print spooler at work: while the service "Spooler" of the emulated machine in $WIN32_EMULATOR_HOME runs, it sends
// the queued jobs to the hosts of their ports. Ends on SIGTERM or SIGINT.

#include "emulator/tools/portsender.h"
#include "emulator/tools/tool.h"
#include "emulator/win32/control.h"

#include <QCoreApplication>
#include <QLockFile>

#include <windows.h>
#include <winsvc.h>

#include <csignal>
#include <map>

namespace {

using namespace Win32Emulator;

constexpr int lookInterval = 50; // ms

volatile std::sig_atomic_t stop = 0;

void look(std::map<std::string, Tools::PortSender> &senders)
{
    if (stop)
        return QCoreApplication::quit();
    for (const std::string &port : portsWithJobs())
        senders.try_emplace(port, port);
    const bool serving = serviceState("Spooler") == SERVICE_RUNNING;
    for (auto &[port, sender] : senders)
        sender.look(serving);
}

void serve()
{
    // Two of them would send each job twice.
    QLockFile lock(QString::fromStdString(homeFolder()) + QStringLiteral("/spoolsv.lock"));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0))
        throw std::runtime_error("another one serves this machine");
    for (const int signal : {SIGTERM, SIGINT})
        std::signal(signal, [](int) { stop = 1; });
    std::map<std::string, Tools::PortSender> senders;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { look(senders); });
    timer.start(lookInterval);
    QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return Tools::run("spoolsv", [] { serve(); });
}
