#pragma once

#include "tests/support/programfolder.h"

#include <QByteArray>
#include <QStringList>

#include <vector>

/// What the program works with: printers in a spooler that prints, and the cloud service at the address that is built
/// into the program. The spooler and the cloud are processes of their own that end with the object; whoever tests
/// starts the program.
class Installation
{
public:
    /// One printer a queue, each with a serial and a port of its own; the spooler runs afterwards. False when some step
    /// failed. Without queues a bare machine.
    bool addPrinters(const QStringList &queues);

    /// The service with further options; it stores the jobs. Null when it did not come up.
    QProcess *startCloud(const QStringList &options = {});

    QProcess *startProgram() { return m_folder.start("OrvoCloudManager"); }

    /// Hands a document to the spooler. By its queue a printer can be named that somebody else has added.
    bool print(int printer, const QString &document, const QByteArray &bytes);
    bool print(const QString &queue, const QString &document, const QByteArray &bytes);

    /// All queues of the spooler, one a line: name, port, driver, cloud serial, cloud port.
    QString queues();

    QString serial(int printer) const { return m_printers.at(size_t(printer)).serial; }
    quint16 port(int printer) const { return m_printers.at(size_t(printer)).port; }

    /// The journal of a printer.
    QStringList records(int printer) const;
    bool hasRecord(int printer, const QString &text) const { return !records(printer).filter(text).isEmpty(); }

    /// The cloud's list of the jobs that came, one line each, and the bytes of the n-th from 1 on.
    QList<QByteArray> posts() const;
    QByteArray received(int number) const;

    ProgramFolder &folder() { return m_folder; }

private:
    struct Printer
    {
        QString queue;
        QString serial;
        quint16 port;
    };

    bool addPrinter(const QString &queue);

    ProgramFolder m_folder;
    std::vector<Printer> m_printers;
};
