// The road of a job through a real socket, PrinterThread and Cloud to the cloud emulator in another process:
//   - time and peak memory of one 100 MiB job,
//   - how late a 5 ms heartbeat on the interface thread comes while eight 20 MiB jobs run on eight printers.
// The jobs are sent by other processes, so that only the program's own memory is counted.

#include "src/capture/printerserver.h"
#include "bench/support/ports.h"
#include "bench/support/printjob.h"
#include "bench/support/processfigures.h"
#include "bench/support/samples.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int mebibyte = 1024 * 1024;
constexpr int answerLimit = 120000; // ms
constexpr int heartbeat = 5;        // ms

quint16 cloudPort = 0;

/// Sends `size` MiB to each of `printers` capture servers at once; false when not every job was answered well.
bool relay(int printers, int size)
{
    QEventLoop loop;
    int answers = 0;
    int failures = 0;
    std::vector<std::unique_ptr<PrinterServer>> servers;
    std::vector<std::unique_ptr<QProcess>> senders;
    for (int i = 0; i < printers; ++i) {
        DriverInfo info;
        info.printerName = QStringLiteral("bench %1").arg(i);
        info.cloudSn = QStringLiteral("0123456789ABCDE%1").arg(i);
        servers.push_back(std::make_unique<PrinterServer>(info));
        PrinterServer *server = servers.back().get();
        QObject::connect(server, &PrinterServer::cloudResule, &loop, [&](QNetworkReply::NetworkError error) {
            failures += error != QNetworkReply::NoError;
            if (++answers == printers)
                loop.quit();
        });
        if (!server->listen(QHostAddress::LocalHost))
            return false;
    }
    for (const auto &server : servers) {
        senders.push_back(std::make_unique<QProcess>());
        senders.back()->start(QCoreApplication::applicationFilePath(),
                              {QStringLiteral("--send"), QString::number(server->serverPort()), QString::number(size)});
    }
    QTimer::singleShot(answerLimit, &loop, &QEventLoop::quit);
    loop.exec();
    for (const auto &sender : senders)
        sender->waitForFinished();
    return answers == printers && failures == 0;
}

bool measureMemory()
{
    constexpr int size = 100;
    const qint64 self = QCoreApplication::applicationPid();
    relay(1, 1); // what the first job loads and keeps is not the job's
    const double idle = ProcessFigures::memory(self, "VmRSS");
    ProcessFigures::resetPeak();
    QElapsedTimer timer;
    timer.start();
    const bool good = relay(1, size);
    const double peak = ProcessFigures::memory(self, "VmHWM") - idle;
    std::printf("%d MiB job: %lld ms, peak memory %.0f MiB above idle (%.0f MiB) = %.2f times the job\n", size,
                timer.elapsed(), peak, idle, peak / size);
    return good;
}

bool measureHeartbeat()
{
    constexpr int printers = 8;
    constexpr int size = 20;
    Samples late;
    QElapsedTimer sinceBeat;
    QTimer beat;
    beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&beat, &QTimer::timeout, [&] {
        late.add(std::max(0.0, double(sinceBeat.nsecsElapsed()) / 1e6 - heartbeat));
        sinceBeat.restart();
    });
    sinceBeat.start();
    beat.start(heartbeat);
    QElapsedTimer timer;
    timer.start();
    const bool good = relay(printers, size);
    const qint64 elapsed = timer.elapsed();
    beat.stop();
    std::printf("%d jobs of %d MiB: %lld ms; heartbeat late by %.1f ms (99th percentile), %.1f ms (worst) of %zu\n",
                printers, size, elapsed, late.percentile(99), late.worst(), late.size());
    return good;
}

} // namespace

/// Takes the place of the built-in address.
QString cloudBaseAddress()
{
    return QStringLiteral("http://127.0.0.1:%1").arg(cloudPort);
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--send"))
        return sendJob(arguments.value(2).toUShort(), jobBytes(arguments.value(3).toInt() * mebibyte)) ? 0 : 1;

    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    cloudPort = freePorts(1).front();
    QProcess cloud;
    cloud.start(qEnvironmentVariable("ORVO_BIN") + "/cloudservice",
                {QStringLiteral("--port"), QString::number(cloudPort)});
    if (!cloud.waitForStarted() || !cloud.waitForReadyRead())
        return 1;
    const bool good = measureMemory() & measureHeartbeat();
    cloud.terminate();
    cloud.waitForFinished();
    if (!good)
        std::fputs("not every job was answered\n", stderr);
    return good ? 0 : 1;
}
