#include "workflows/addprinterthread.h"

#include "store/cloudprinter.h"
#include "workflows/drivercheck.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>

namespace {

/// The first number whose port no printer uses. A port without a printer counts as free.
int freeNumber(const QList<Queue> &queues)
{
    const auto isUsed = [&](const QString &portName) {
        return std::any_of(queues.cbegin(), queues.cend(),
                           [&](const Queue &queue) { return CloudPrinter::isSameName(queue.port, portName); });
    };
    int number = 1;
    while (isUsed(CloudPrinter::portName(number)))
        ++number;
    return number;
}

/// The complete record of a printer to add, with the port of that number.
DriverInfo withPort(DriverInfo info, int number)
{
    info.portName = CloudPrinter::portName(number);
    info.portNum = CloudPrinter::portNumber(number);
    info.driverName = CloudPrinter::driverName;
    info.ip = CloudPrinter::localAddress;
    return info;
}

bool isKnown(CPrinter &spooler, const QList<Queue> &queues, const DriverInfo &info)
{
    for (const Queue &queue : queues) {
        QString cloudSn;
        const bool isCloudPrinter = spooler.GetCloudPrinterId(queue.name, cloudSn);
        if (CloudPrinter::isSameName(queue.name, info.printerName) ||
            (isCloudPrinter && CloudPrinter::isSameName(cloudSn, info.cloudSn)))
            return true;
    }
    return false;
}

} // namespace

AddPrinterThread::AddPrinterThread(const DriverInfo &info, QObject *parent)
    : QThread(parent)
    , m_info(info)
{
}

AddPrinterThread::~AddPrinterThread()
{
    qDebug("14_AddPrinterThread destruct");
}

void AddPrinterThread::run()
{
    const QString failure = addPrinter();
    const bool success = failure.isEmpty();
    emit addResult(success, success ? QStringLiteral("添加打印机成功") : failure, m_info);
    // Run deferred deletes (the set-up process) now: at thread exit `this` may already be destroyed.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QString AddPrinterThread::addPrinter()
{
    QList<Queue> queues;
    m_printer.EnumLocalPrinters(queues);
    if (isKnown(m_printer, queues, m_info))
        return QStringLiteral("当前打印机已经存在!");

    const DriverInfo added = withPort(m_info, freeNumber(queues));
    qDebug("%s", qUtf8Printable(QStringLiteral("68_AddPrinterThread add driver %1,need port is %2,port num is %3")
                                    .arg(added.printerName, added.portName, QString::number(added.portNum))));
    QString failure = providePort(added);
    if (failure.isEmpty()) {
        emit aboutToCreateQueue(added);
        failure = installQueue(added);
    }
    if (failure.isEmpty())
        failure = bindQueue(added);
    if (!failure.isEmpty())
        return failure;

    m_info = added;
    qDebug("155_AddPrinterThread succeed");
    return QString();
}

QString AddPrinterThread::providePort(const DriverInfo &added)
{
    QList<Port> ports;
    m_printer.EnumLocalPorts(ports);
    for (const Port &port : qAsConst(ports)) {
        // A leftover port is intentionally used as it is, wherever it points.
        if (CloudPrinter::isSameName(port.name, added.portName))
            return QString();
    }
    if (m_printer.addStandardTcpPort(added.portName, added.ip, added.portNum) == 0)
        return QString();
    qDebug("85_AddPrinterThread addStandardTcpPort failed");
    return QStringLiteral("添加打印机失败，无法添加端口");
}

QString AddPrinterThread::installQueue(const DriverInfo &added)
{
    const bool driverInstalled = DriverCheck::isInstalled(added.driverName).value_or(false);
    if (driverInstalled)
        qDebug("104_AddPrinterThread driver already installed");
    const QString inf = DriverCheck::infFileForSetup();
    qDebug() << "104_AddPrinterThread inf is:" << inf;
    if (!m_printer.addCloudPrinter(added.printerName, added.portName, added.driverName, inf, !driverInstalled)) {
        qDebug("118_AddPrinterThread addCloudPrinter failed");
        return QStringLiteral("安装驱动失败");
    }
    // The set-up does not report whether it succeeded; an installed driver has a version.
    if (m_printer.GetDriverVersion(added.driverName).isEmpty()) {
        qDebug("125_AddPrinterThread GetDriverVersion failed");
        return QStringLiteral("安装驱动失败");
    }
    return QString();
}

QString AddPrinterThread::bindQueue(const DriverInfo &added)
{
    const int result = m_printer.SetCloudPrinterId(added.printerName, added.cloudSn);
    if (result != 0) {
        qDebug() << "134_AddPrinterThread setCloudPrinterId failed:" << result;
        return result == CPrinter::invalidPrinterName ? QStringLiteral("添加打印机失败, 打印机名无效")
                                                      : QStringLiteral("添加打印机失败, 无法设置云序列号");
    }
    if (!m_printer.SetPrinterPortNum(added.printerName, added.portNum)) {
        qDebug("146_AddPrinterThread setPrinterPortNum failed");
        return QStringLiteral("添加打印机失败, 无法设置端口号");
    }
    return QString();
}
