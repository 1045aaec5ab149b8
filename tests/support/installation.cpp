#include "tests/support/installation.h"

#include "src/store/journal.h"
#include "tests/support/freeport.h"

#include <QFile>
#include <QUrl>

#include <atomic>

namespace {

/// Installations of one test may share a cloud.
QString nextSerial()
{
    static std::atomic<qint64> last = 0x0123456789ABCDEE;
    return QString::number(++last, 16).rightJustified(16, '0').toUpper();
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

bool Installation::addPrinters(const QStringList &queues)
{
    if (!queues.isEmpty() && m_folder.run("spoolctl", {"add-driver"}) != 0)
        return false;
    for (const QString &queue : queues)
        if (!addPrinter(queue))
            return false;
    return m_folder.start("spoolsv")->state() == QProcess::Running;
}

bool Installation::addPrinter(const QString &queue)
{
    m_printers.push_back({queue, nextSerial(), freePort()});
    const Printer &printer = m_printers.back();
    const QString port = QString("OXCloud%1").arg(m_printers.size(), 3, 10, QChar('0'));
    const QString number = QString::number(printer.port);
    return m_folder.run("spoolctl", {"add-port", port, "127.0.0.1", number}) == 0 &&
           m_folder.run("spoolctl", {"add-printer", queue, "--port", port, "--cloud-id", printer.serial, "--cloud-port",
                                     number}) == 0;
}

QProcess *Installation::startCloud(const QStringList &options)
{
    const QString port = QString::number(QUrl(ORVO_CLOUD_BASE_ADDRESS).port());
    QProcess *cloud =
        m_folder.start("cloudservice", QStringList{"--port", port, "--store", m_folder.path("cloud")} + options);
    return cloud->waitForReadyRead() ? cloud : nullptr;
}

bool Installation::print(int printer, const QString &document, const QByteArray &bytes)
{
    return print(m_printers.at(size_t(printer)).queue, document, bytes);
}

bool Installation::print(const QString &queue, const QString &document, const QByteArray &bytes)
{
    QFile file(m_folder.path("document"));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return false;
    file.close();
    return m_folder.run("spoolctl", {"print", queue, file.fileName(), "--document", document}) == 0;
}

QString Installation::queues()
{
    QByteArray list;
    m_folder.run("spoolctl", {"list"}, &list);
    return QString::fromUtf8(list);
}

QStringList Installation::records(int printer) const
{
    return Journal::split(m_folder.journal(serial(printer)));
}

QList<QByteArray> Installation::posts() const
{
    const QByteArray lines = contentOf(m_folder.path("cloud/jobs.jsonl")).trimmed();
    return lines.isEmpty() ? QList<QByteArray>() : lines.split('\n');
}

QByteArray Installation::received(int number) const
{
    return contentOf(m_folder.path(QString("cloud/%1.bin").arg(number, 4, 10, QChar('0'))));
}
