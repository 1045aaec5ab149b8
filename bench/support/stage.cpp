#include "bench/support/stage.h"

#include "bench/support/ports.h"

#include <QDate>

#include <algorithm>
#include <cstdio>

Stage::Stage(int printers)
    : m_ready(m_folder.run("spoolctl", {"add-driver"}) == 0)
{
    for (const quint16 port : freePorts(printers))
        m_ready = m_ready && addPrinter(int(m_printers.size()) + 1, port);
}

bool Stage::addPrinter(int number, quint16 port)
{
    const QString serial = QString("%1").arg(number, 16, 16, QChar('0')).toUpper();
    const QString journal = "details/" + serial + QDate::currentDate().toString("yyyy-MM-dd") + ".txt";
    m_printers.push_back({serial, port, m_folder.path(journal)});
    const QString name = QString("printer %1").arg(number);
    const QString portName = QString("OXCloud%1").arg(number);
    const QString portNumber = QString::number(port);
    return m_folder.run("spoolctl", {"add-port", portName, "127.0.0.1", portNumber}) == 0 &&
           m_folder.run("spoolctl", {"add-printer", name, "--port", portName, "--cloud-id", serial, "--cloud-port",
                                     portNumber}) == 0;
}

bool Stage::startCloud(const QStringList &options)
{
    return m_folder.start("cloudservice", QStringList{"--port", QString::number(cloudPort)} + options)
        ->waitForReadyRead();
}

bool Stage::startProgram()
{
    // glibc would raise its mmap threshold with the jobs and keep an arena per thread: freed memory would stay.
    m_folder.setEnvironment("MALLOC_MMAP_THRESHOLD_", "131072");
    m_folder.setEnvironment("MALLOC_ARENA_MAX", "1");
    m_program = m_folder.start("OrvoCloudManager");
    return std::all_of(m_printers.begin(), m_printers.end(),
                       [](const StagePrinter &printer) { return awaitListener(printer.port); }) &&
           awaitStart([this] { return m_folder.log().count("QJsonObject({\"code\"") == int(m_printers.size()); });
}

int setUpFailed()
{
    std::fprintf(stderr, "the printers, the cloud on port %d or the program did not come up\n", Stage::cloudPort);
    return 1;
}
