// The window with forty printers, and the details of one that has printed 2,000 jobs today:
//   - time from the start of the construction of a second window to its first complete picture,
//   - time from one step of scrolling to the finished picture,
//   - processor time over a minute in which nothing happens,
//   - time to open the details, and of one refresh while they are open.
// The cloud is another process, so that only the window's own work is counted.

#include "src/store/journal.h"
#include "src/ui/settingsdlg.h"
#include "tests/support/processfigures.h"
#include "tests/support/samples.h"
#include "tests/support/windowfixture.h"
#include "tests/support/world.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <cstdio>

namespace {

constexpr int printers = 40;
constexpr int records = 2000;
constexpr int idleTime = 60000;   // ms
constexpr int settleTime = 10000; // ms until every card has its device's state

double milliseconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

/// Processor time of this process so far, in seconds.
double processorTime()
{
    return ProcessFigures::processorTime(QCoreApplication::applicationPid());
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
    QTest::qWait(settleTime);
    const double before = processorTime();
    QTest::qWait(idleTime);
    std::printf("idle: %.2f %% of a core over %d s\n", (processorTime() - before) * 1e5 / idleTime, idleTime / 1000);
}

void measureWindow(WindowFixture &fixture)
{
    QElapsedTimer timer;
    timer.start();
    fixture.reopen();
    QCoreApplication::processEvents();
    fixture.window().repaint();
    std::printf("window with %d printers: %.0f ms\n", printers, milliseconds(timer));
    measureScrolling(fixture.window());
    measureIdling();
}

void measureDetails()
{
    const QString serial = WindowFixture::serial();
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

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    qputenv("WIN32_EMULATOR_HOME", "bench_window.win32");
    World world;
    if (!world.startCloud())
        return 1;
    WindowFixture fixture(QString("http://127.0.0.1:%1").arg(World::cloudPort()), printers);
    measureWindow(fixture);
    measureDetails();
    return 0;
}
