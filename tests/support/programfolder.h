#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// A copy of the built program in a folder of its own: log, journal, store and the single-instance guard go by that
/// folder, and the emulated spooler of the environment lies in it, too. Ends with the object, and with it every process
/// started here.
class ProgramFolder
{
public:
    ProgramFolder();
    ~ProgramFolder();
    Q_DISABLE_COPY(ProgramFolder)

    QString path(const QString &name = QString()) const;

    /// For the processes that are started from now on.
    void setEnvironment(const QString &name, const QString &value) { m_environment.insert(name, value); }

    /// Starts an executable of the folder there. The object stays owned by the folder.
    QProcess *start(const QString &executable, const QStringList &arguments = {});

    /// Runs one to its end; its exit status, -1 when it crashed or took longer than half a minute. Its standard output
    /// goes to `output`.
    int run(const QString &executable, const QStringList &arguments = {}, QByteArray *output = nullptr);

    /// The program's log of today and a printer's journal of today.
    QString log() const;
    QString journal(const QString &serial) const;

    /// The files with these texts.
    QString logFile() const;
    QString journalFile(const QString &serial) const;

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_sockets; // of the guards of programs that are killed; a short path, for sockets need one
    QProcessEnvironment m_environment;
    std::vector<std::unique_ptr<QProcess>> m_processes;
};
