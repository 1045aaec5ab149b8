// The window with forty printers, and the details of one that has printed 2,000 jobs today:
//   - time from the start of the window's construction to its first complete picture,
//   - time from one step of scrolling to the finished picture,
//   - processor time over a minute in which nothing happens,
//   - time to open the details, and of one refresh while they are open.
// The cloud is a process of its own, so that only the program's own work is counted.

#include "src/store/journal.h"
#include "bench/support/ports.h"
#include "bench/support/samples.h"
#include "src/ui/appearance.h"
#include "src/ui/settingsdlg.h"
#include "src/ui/velmainwindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

#include "emulator/win32/control.h"

#include <sys/resource.h>

#include <cstdio>

namespace {

constexpr int printers = 40;
constexpr int records = 2000;
constexpr int idleTime = 60000;   // ms
constexpr int settleTime = 10000; // ms until every card has its device's state
constexpr unsigned regSz = 1;
constexpr unsigned regBinary = 3;

const auto serial = QStringLiteral("0123456789ABCDEF");
quint16 cloudPort = 0;

void addPrinters()
{
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    int i = 0;
    for (const quint16 port : freePorts(printers)) {
        const std::string queue = "printer " + std::to_string(i);
        const std::string portName = "OXCloud" + std::to_string(101 + i++);
        Win32Emulator::addPort(portName, "127.0.0.1", port);
        Win32Emulator::addPrinter(queue, portName);
        Win32Emulator::setPrinterData(queue, "CloudId", regSz, serial.toStdString() + '\0');
        Win32Emulator::setPrinterData(queue, "CloudPort", regBinary, {char(port & 0xff), char(port >> 8)});
    }
}

double milliseconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

void wait(int time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Processor time of this process so far, in milliseconds.
double processorTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto total = [](const timeval &time) { return double(time.tv_sec) * 1e3 + double(time.tv_usec) / 1e3; };
    return total(usage.ru_utime) + total(usage.ru_stime);
}

void measureScrolling(const VelMainWindow &window)
{
    QScrollBar *bar = window.findChild<QScrollArea *>(QStringLiteral("scrollArea"))->verticalScrollBar();
    Samples times;
    for (int position = 0; position < bar->maximum(); position += 15) {
        QElapsedTimer timer;
        timer.start();
        bar->setValue(position);
        QCoreApplication::processEvents();
        times.add(milliseconds(timer));
    }
    std::printf("scrolling: %.1f ms (95th percentile), %.1f ms (worst) of %zu steps\n", times.percentile(95),
                times.worst(), times.size());
}

void measureIdling()
{
    wait(settleTime);
    const double before = processorTime();
    wait(idleTime);
    std::printf("idle: %.2f %% of a core over %d s\n", (processorTime() - before) * 100 / idleTime, idleTime / 1000);
}

void measureWindow()
{
    addPrinters();
    QElapsedTimer timer;
    timer.start();
    VelMainWindow window;
    window.show();
    QCoreApplication::processEvents();
    window.repaint();
    std::printf("window with %d printers: %.0f ms\n", printers, milliseconds(timer));
    measureScrolling(window);
    measureIdling();
}

void measureDetails()
{
    for (int i = 0; i < records; ++i)
        Journal::appendDetail(serial, QStringLiteral("文档 %1.docx;09:02:03;打印成功;184320;09:02:09").arg(i));
    DriverInfo info;
    info.printerName = QStringLiteral("printer 0");
    info.cloudSn = serial;
    QElapsedTimer timer;
    timer.start();
    SettingsDlg dialog(info);
    dialog.show();
    QCoreApplication::processEvents();
    dialog.repaint();
    std::printf("details with %d records: %.0f ms", records, milliseconds(timer));
    Journal::appendDetail(serial, QStringLiteral("one more;09:02:03;打印成功;184320;09:02:09"));
    timer.start();
    dialog.on_Timeout();
    QCoreApplication::processEvents();
    std::printf("; a refresh with a new record: %.0f ms\n", milliseconds(timer));
}

} // namespace

/// Takes the place of the built-in address.
QString cloudBaseAddress()
{
    return QStringLiteral("http://127.0.0.1:%1").arg(cloudPort);
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    prepareAppearance();
    QDir details(QCoreApplication::applicationDirPath() + QStringLiteral("/details"));
    details.removeRecursively();
    details.mkpath(QStringLiteral("."));
    qputenv("WIN32_EMULATOR_HOME", "bench_window.win32");

    cloudPort = freePorts(1).front();
    QProcess cloud;
    cloud.start(qEnvironmentVariable("ORVO_BIN") + "/cloudservice",
                {QStringLiteral("--port"), QString::number(cloudPort)});
    if (!cloud.waitForStarted() || !cloud.waitForReadyRead())
        return 1;
    measureWindow();
    measureDetails();
    cloud.terminate();
    cloud.waitForFinished();
    details.removeRecursively();
    return 0;
}
