#include "tests/support/world.h"

#include "src/store/journal.h"
#include "tests/support/ports.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <atomic>

namespace {

constexpr int runTimeout = 30000;   // ms
constexpr int startTimeout = 20000; // ms
constexpr int endTimeout = 10000;   // ms
constexpr qint64 serialBefore = 0x0123456789ABCDEE;
constexpr int portBefore = 8100;

/// In the test's own folder of the build tree.
QString folderTemplate()
{
    return QDir::currentPath() + "/world";
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The content of all files with such names in their order: there are two of each kind after midnight.
QString textOf(const QDir &folder, const QString &pattern)
{
    QByteArray all;
    const QStringList names = folder.entryList({pattern}, QDir::Files, QDir::Name);
    for (const QString &name : names)
        all += contentOf(folder.filePath(name));
    return QString::fromLocal8Bit(all);
}

void copyFiles(const QDir &from, const QDir &to)
{
    to.mkpath(".");
    const QStringList files = from.entryList(QDir::Files);
    for (const QString &name : files)
        QFile::copy(from.filePath(name), to.filePath(name));
}

} // namespace

World::World()
    : m_folder(folderTemplate())
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    const QDir bin(qEnvironmentVariable("ORVO_BIN"));
    for (const QString folder : {".", "Driver", "Translations"})
        copyFiles(bin.filePath(folder), path(folder));
    for (const QString folder : {"logs", "details"})
        QDir(path()).mkdir(folder);
    m_environment.remove("DBUS_SESSION_BUS_ADDRESS"); // another desktop's tray may be reached through it
    m_environment.insert("WIN32_EMULATOR_HOME", path("win32"));
    m_environment.insert("TMPDIR", m_sockets.path());
}

World::~World()
{
    // Asked first: leaks are only searched for in a process that ends by itself.
    for (const auto &process : m_processes)
        process->terminate();
    for (const auto &process : m_processes) {
        if (process->waitForFinished(endTimeout))
            continue;
        process->kill();
        process->waitForFinished(endTimeout);
    }
}

bool World::addPrinters(const QStringList &queues)
{
    static std::atomic<int> last = 0;
    bool isGood = run("spoolctl", {"add-driver"}) == 0;
    for (const QString &queue : queues) {
        const int number = ++last;
        const Printer printer{queue, QString("%1").arg(serialBefore + number, 16, 16, QChar('0')).toUpper(),
                              quint16(portBefore + number)};
        const QString portName = QString("OXCloud%1").arg(number, 3, 10, QChar('0'));
        const QString port = QString::number(printer.port);
        isGood = isGood && run("spoolctl", {"add-port", portName, "127.0.0.1", port}) == 0 &&
                 run("spoolctl", {"add-printer", queue, "--port", portName, "--cloud-id", printer.serial,
                                  "--cloud-port", port}) == 0;
        m_printers.push_back(printer);
    }
    return isGood;
}

bool World::startSpooler()
{
    return start("spoolsv")->state() == QProcess::Running;
}

QProcess *World::startCloud(const QStringList &options)
{
    const QStringList fixed{"--port", QString::number(cloudPort()), "--store", path("cloud")};
    QProcess *cloud = start("cloudservice", fixed + options);
    return cloud->waitForReadyRead(startTimeout) ? cloud : nullptr;
}

QProcess *World::startProgram()
{
    return m_program = start("OrvoCloudManager");
}

QProcess *World::startReadyProgram()
{
    const int before = logged("QJsonObject({\"code\"");
    startProgram();
    const auto isReady = [&] {
        return std::all_of(m_printers.begin(), m_printers.end(), [](const auto &p) { return isListening(p.port); }) &&
               logged("QJsonObject({\"code\"") - before >= int(m_printers.size());
    };
    return QTest::qWaitFor(isReady, startTimeout) ? m_program : nullptr;
}

QProcess *World::start(const QString &executable, const QStringList &arguments)
{
    m_processes.push_back(std::make_unique<QProcess>());
    QProcess *process = m_processes.back().get();
    process->setProcessEnvironment(m_environment);
    process->setWorkingDirectory(path());
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(path(executable), arguments);
    process->waitForStarted();
    return process;
}

int World::run(const QString &executable, const QStringList &arguments, QByteArray *standardOutput)
{
    QProcess *process = start(executable, arguments);
    const bool ended = process->waitForFinished(runTimeout) && process->exitStatus() == QProcess::NormalExit;
    const int status = ended ? process->exitCode() : -1;
    if (standardOutput)
        *standardOutput = process->readAllStandardOutput();
    m_processes.pop_back();
    return status;
}

bool World::print(int printer, const QString &document, const QByteArray &bytes)
{
    return print(m_printers.at(size_t(printer)).queue, document, bytes);
}

bool World::print(const QString &queue, const QString &document, const QByteArray &bytes)
{
    QFile file(path("document"));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return false;
    file.close();
    return run("spoolctl", {"print", queue, file.fileName(), "--document", document}) == 0;
}

QString World::queues()
{
    QByteArray list;
    run("spoolctl", {"list"}, &list);
    return QString::fromUtf8(list);
}

QString World::log() const
{
    return textOf(path("logs"), "*.log");
}

int World::logged(const QString &text) const
{
    return log().split('\n').filter(text).size();
}

QString World::journal(const QString &serial) const
{
    return textOf(path("details"), serial + "*.txt");
}

QStringList World::records(int printer) const
{
    return Journal::split(journal(serial(printer)));
}

QList<QByteArray> World::posts() const
{
    const QByteArray lines = contentOf(path("cloud/jobs.jsonl")).trimmed();
    return lines.isEmpty() ? QList<QByteArray>() : lines.split('\n');
}

QByteArray World::received(int number) const
{
    return contentOf(path(QString("cloud/%1.bin").arg(number, 4, 10, QChar('0'))));
}

quint16 World::cloudPort()
{
    return quint16(QUrl(ORVO_CLOUD_BASE_ADDRESS).port());
}
