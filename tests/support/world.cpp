#include "tests/support/world.h"

#include "src/store/journal.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <QUrl>

#include <atomic>

namespace {

constexpr int runTimeout = 30000;   // ms
constexpr int startTimeout = 20000; // ms
constexpr int endTimeout = 10000;   // ms

} // namespace

World::World()
    : m_folder(QDir::currentPath() + "/world") // in the test's own folder of the build tree
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    for (const QString folder : {".", "Driver", "Translations"}) {
        const QDir from(QDir(qEnvironmentVariable("ORVO_BIN")).filePath(folder));
        QDir(path()).mkpath(folder);
        const QStringList names = from.entryList(QDir::Files);
        for (const QString &name : names)
            QFile::copy(from.filePath(name), path(folder + '/' + name));
    }
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
    for (const auto &process : m_processes)
        process->waitForFinished(endTimeout); // its destructor kills it
}

bool World::addPrinters(const QStringList &queues)
{
    static std::atomic<int> last = 0;
    bool isGood = run("spoolctl", {"add-driver"}) == 0;
    for (const QString &queue : queues) {
        const int number = ++last;
        const QString portName = QString("OXCloud%1").arg(number, 3, 10, QChar('0'));
        const QString port = QString::number(8100 + number);
        const QString serial = QString("0%1").arg(0x0123456789ABCDEE + number, 0, 16).toUpper();
        isGood = isGood && run("spoolctl", {"add-port", portName, "127.0.0.1", port}) == 0 &&
                 run("spoolctl",
                     {"add-printer", queue, "--port", portName, "--cloud-id", serial, "--cloud-port", port}) == 0;
        m_printers.push_back({queue, serial, port.toUShort()});
    }
    return isGood;
}

QProcess *World::startCloud(const QStringList &options)
{
    const QStringList fixed{"--port", QString::number(cloudPort()), "--store", path("cloud")};
    QProcess *cloud = start("cloudservice", fixed + options);
    return cloud->waitForReadyRead(startTimeout) ? cloud : nullptr;
}

QProcess *World::startReadyProgram()
{
    const int states = logged("QJsonObject({\"code\"") + int(m_printers.size());
    startProgram();
    // By then it also listens.
    return QTest::qWaitFor([&] { return logged("QJsonObject({\"code\"") >= states; }, startTimeout) ? m_program
                                                                                                    : nullptr;
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

QByteArray World::contentOf(const QString &name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString World::textOf(const QString &folder, const QString &pattern) const
{
    QByteArray all;
    const QStringList names = QDir(path(folder)).entryList({pattern}, QDir::Files, QDir::Name);
    for (const QString &name : names)
        all += contentOf(folder + name);
    return QString::fromLocal8Bit(all);
}

QStringList World::records(int printer) const
{
    return Journal::split(journal(serial(printer)));
}

QList<QByteArray> World::posts() const
{
    const QByteArray lines = contentOf("cloud/jobs.jsonl").trimmed();
    return lines.isEmpty() ? QList<QByteArray>() : lines.split('\n');
}

quint16 World::cloudPort()
{
    return quint16(QUrl(ORVO_CLOUD_BASE_ADDRESS).port());
}
