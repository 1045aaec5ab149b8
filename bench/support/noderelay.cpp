#include "bench/support/noderelay.h"

#include "tests/support/ports.h"

#include <QDir>
#include <QTest>

namespace {

constexpr int portDistance = 1000; // from a port of the program to that of the relay

} // namespace

NodeRelay::NodeRelay(const World &world)
    : m_printers(JobLoad::targetsOf(world))
{
    const QString journals = world.path("node");
    QDir().mkpath(journals);
    QStringList arguments{ORVO_BENCH_RELAY, QStringLiteral("http://127.0.0.1:%1").arg(World::cloudPort()), journals};
    for (JobLoad::Target &printer : m_printers) {
        printer.port = quint16(printer.port + portDistance);
        printer.journal = journals + '/' + printer.serial + ".txt";
        arguments << QStringLiteral("%1=%2").arg(printer.port).arg(printer.serial);
    }
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start("node", arguments);
    m_listens = QTest::qWaitFor([&] { return ::isListening(m_printers.back().port); });
}

NodeRelay::~NodeRelay()
{
    m_process.kill();
    m_process.waitForFinished();
}
