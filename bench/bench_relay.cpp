// The road of a job through a real socket, PrinterThread and Cloud to the cloud emulator in another process:
//   - time and peak memory of one 100 MiB job,
//   - how late a 5 ms heartbeat on the interface thread comes while eight 20 MiB jobs run on eight printers.
// The jobs are sent by other processes, so that only the program's own memory is counted.

#include "capture/printerserver.h"
#include "support/freeport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
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

QString bin(const QString &name)
{
    return QStringLiteral(ORVO_BIN) + QLatin1Char('/') + name;
}

/// A line "Name: N kB" of /proc/self/status, in MiB.
double memory(const QByteArray &name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (QByteArray line = status.readLine(); !line.isEmpty(); line = status.readLine())
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ').first().toDouble() / 1024;
    return 0;
}

/// Makes the peak count from now on.
void resetPeak()
{
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    references.open(QIODevice::WriteOnly);
    references.write("5");
}

/// The spooler's part, in a process of its own: `size` MiB to a port.
int send(quint16 port, int size)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected())
        return 1;
    const QByteArray block(mebibyte, '\x5a');
    for (int i = 0; i < size; ++i) {
        socket.write(block);
        while (socket.bytesToWrite() > 0)
            if (!socket.waitForBytesWritten())
                return 1;
    }
    socket.disconnectFromHost();
    return socket.state() == QAbstractSocket::UnconnectedState || socket.waitForDisconnected() ? 0 : 1;
}

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
    relay(1, 1); // what the first job loads and keeps is not the job's
    const double idle = memory("VmRSS");
    resetPeak();
    QElapsedTimer timer;
    timer.start();
    const bool good = relay(1, size);
    const double peak = memory("VmHWM") - idle;
    std::printf("%d MiB job: %lld ms, peak memory %.0f MiB above idle (%.0f MiB) = %.2f times the job\n", size,
                timer.elapsed(), peak, idle, peak / size);
    return good;
}

bool measureHeartbeat()
{
    constexpr int printers = 8;
    constexpr int size = 20;
    std::vector<double> late;
    QElapsedTimer sinceBeat;
    QTimer beat;
    beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&beat, &QTimer::timeout, [&] {
        late.push_back(std::max(0.0, double(sinceBeat.nsecsElapsed()) / 1e6 - heartbeat));
        sinceBeat.restart();
    });
    sinceBeat.start();
    beat.start(heartbeat);
    QElapsedTimer timer;
    timer.start();
    const bool good = relay(printers, size);
    const qint64 elapsed = timer.elapsed();
    beat.stop();
    std::sort(late.begin(), late.end());
    std::printf("%d jobs of %d MiB: %lld ms; heartbeat late by %.1f ms (99th percentile), %.1f ms (worst) of %zu\n",
                printers, size, elapsed, late[late.size() * 99 / 100], late.back(), late.size());
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
        return send(static_cast<quint16>(arguments.value(2).toUInt()), arguments.value(3).toInt());

    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    cloudPort = freePort();
    QProcess cloud;
    cloud.start(bin(QStringLiteral("cloudservice")), {QStringLiteral("--port"), QString::number(cloudPort)});
    if (!cloud.waitForStarted() || !cloud.waitForReadyRead())
        return 1;
    const bool good = measureMemory() & measureHeartbeat();
    cloud.terminate();
    cloud.waitForFinished();
    if (!good)
        std::fputs("not every job was answered\n", stderr);
    return good ? 0 : 1;
}
