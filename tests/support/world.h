#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// The built program with everything it works with: a copy of bin/ ($ORVO_BIN) in a folder of its own, an emulated
/// machine with print queues, a spooler that prints, and the cloud service at the address that is built into the
/// program. Log, journal, store and the single-instance guard go by that folder. Each of them is a process of its own;
/// all end with the object. The usual order:
///
///     World world;
///     QVERIFY(world.addPrinters({"Desk 1", "Desk 2"}) && world.startSpooler() && world.startCloud());
///     QVERIFY(world.startReadyProgram());
///     QVERIFY(world.print(0, "document", "bytes"));
///     QTRY_VERIFY(world.hasRecord(0, ";打印成功;5;"));
class World
{
public:
    struct Printer
    {
        QString queue;
        QString serial;
        quint16 port; ///< of 127.0.0.1
    };

    World();
    /// Asks the processes to end and kills those that do not.
    ~World();
    Q_DISABLE_COPY(World)

    /// Adds a cloud printer for each queue. Serials and ports count up over all worlds of the process: the first port
    /// is OXCloud001, 8101. False when a step failed.
    bool addPrinters(const QStringList &queues);
    const std::vector<Printer> &printers() const { return m_printers; }
    const QString &serial(int printer) const { return at(printer).serial; }
    quint16 port(int printer) const { return at(printer).port; }

    bool startSpooler() { return start("spoolsv")->state() == QProcess::Running; }

    /// Starts the cloud service with further options; it stores the jobs that it receives. Null when it does not
    /// start.
    QProcess *startCloud(const QStringList &options = {});

    QProcess *startProgram() { return m_program = start("OrvoCloudManager"); }
    /// Starts the program and waits until it listens for every printer and every card has its device's state. Needs
    /// the cloud; null when that takes too long.
    QProcess *startReadyProgram();
    /// The one that was started last.
    QProcess *program() const { return m_program; }

    /// Starts an executable of the folder there. The world owns the object.
    QProcess *start(const QString &executable, const QStringList &arguments = {});
    /// Runs one to its end and returns its exit status; -1 when it crashed or took longer than half a minute.
    int run(const QString &executable, const QStringList &arguments = {}, QByteArray *standardOutput = nullptr);
    /// For the processes that are started from now on.
    const QProcessEnvironment &environment() const { return m_environment; }
    void setEnvironment(const QString &name, const QString &value) { m_environment.insert(name, value); }

    /// Hands a document to the spooler. A printer that somebody else has added is named by its queue.
    bool print(int printer, const QString &name, const QByteArray &bytes)
    {
        return print(at(printer).queue, name, bytes);
    }
    bool print(const QString &queue, const QString &document, const QByteArray &bytes);

    /// The queues of the spooler, one per line: name, port, driver, cloud serial, cloud port.
    QString queues();

    QString path(const QString &name = QString()) const { return m_folder.filePath(name); }
    /// The program's log, and the number of its lines that contain the text.
    QString log() const { return textOf("logs/", "*.log"); }
    int logged(const QString &text) const { return log().split('\n').filter(text).size(); }

    /// A printer's journal.
    QString journal(const QString &serial) const { return textOf("details/", serial + "*.txt"); }
    QStringList records(int printer) const;
    bool hasRecord(int printer, const QString &text) const { return !records(printer).filter(text).isEmpty(); }

    /// What the cloud has received: one line of JSON per job, and the bytes of the n-th from 1 on.
    QList<QByteArray> posts() const;
    QByteArray received(int number) const { return contentOf(QString("cloud/%1.bin").arg(number, 4, 10, QChar('0'))); }

    /// Where the program looks for the cloud.
    static quint16 cloudPort();

private:
    const Printer &at(int printer) const { return m_printers.at(size_t(printer)); }
    QByteArray contentOf(const QString &name) const;
    /// The content of all files with such names in their order: there are two of each kind after midnight.
    QString textOf(const QString &folder, const QString &pattern) const;

    QTemporaryDir m_folder;
    QTemporaryDir m_sockets; // of the guards of programs that are killed; sockets need a short path
    QProcessEnvironment m_environment;
    std::vector<std::unique_ptr<QProcess>> m_processes;
    std::vector<Printer> m_printers;
    QProcess *m_program = nullptr;
};
