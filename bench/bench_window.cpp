// The window with forty printers:
//   - time from the start of the construction of a second window to its first complete picture,
//   - time from one step of scrolling to the finished picture.
// The cloud is another process, so that only the window's own work is counted.

#include "bench/support/samples.h"
#include "tests/support/windowfixture.h"
#include "tests/support/world.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollArea>
#include <QScrollBar>

#include <cstdio>

namespace {

constexpr int printers = 40;

double milliseconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
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

void measureWindow(WindowFixture &fixture)
{
    QElapsedTimer timer;
    timer.start();
    fixture.reopen();
    QCoreApplication::processEvents();
    fixture.window().repaint();
    std::printf("window with %d printers: %.0f ms\n", printers, milliseconds(timer));
    measureScrolling(fixture.window());
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
    return 0;
}
