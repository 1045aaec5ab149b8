#include "tests/support/programfolder.h"

#include <QDate>
#include <QDir>
#include <QFile>

namespace {

constexpr int runTimeout = 30000; // ms
constexpr int endTimeout = 10000; // ms

/// Laid in the test's own folder of the build tree.
QString folderTemplate()
{
    return QDir::currentPath() + "/program";
}

QString textOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

QString today()
{
    return QDate::currentDate().toString("yyyy-MM-dd");
}

} // namespace

ProgramFolder::ProgramFolder()
    : m_folder(folderTemplate())
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    const QDir bin(qEnvironmentVariable("ORVO_BIN"));
    for (const QString folder : {"", "Driver/", "Translations/"}) {
        QDir(path()).mkpath("./" + folder);
        const QStringList files = QDir(bin.filePath(folder)).entryList(QDir::Files);
        for (const QString &name : files)
            QFile::copy(bin.filePath(folder + name), path(folder + name));
    }
    QDir(path()).mkdir("logs");
    QDir(path()).mkdir("details");
    m_environment.insert("WIN32_EMULATOR_HOME", path("win32"));
    m_environment.insert("TMPDIR", m_sockets.path());
}

ProgramFolder::~ProgramFolder()
{
    // Asked first: only a process that ends by itself is searched for leaks.
    for (const auto &process : m_processes)
        process->terminate();
    for (const auto &process : m_processes) {
        if (process->waitForFinished(endTimeout))
            continue;
        process->kill();
        process->waitForFinished(endTimeout);
    }
}

QString ProgramFolder::path(const QString &name) const
{
    return m_folder.filePath(name);
}

QProcess *ProgramFolder::start(const QString &executable, const QStringList &arguments)
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

int ProgramFolder::run(const QString &executable, const QStringList &arguments, QByteArray *output)
{
    QProcess *process = start(executable, arguments);
    const bool ended = process->waitForFinished(runTimeout) && process->exitStatus() == QProcess::NormalExit;
    const int status = ended ? process->exitCode() : -1;
    if (output)
        *output = process->readAllStandardOutput();
    m_processes.pop_back();
    return status;
}

QString ProgramFolder::log() const
{
    return textOf(logFile());
}

QString ProgramFolder::journal(const QString &serial) const
{
    return textOf(journalFile(serial));
}

QString ProgramFolder::logFile() const
{
    return path("logs/" + today() + ".log");
}

QString ProgramFolder::journalFile(const QString &serial) const
{
    return path("details/" + serial + today() + ".txt");
}
