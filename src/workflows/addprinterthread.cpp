#include "workflows/addprinterthread.h"

#include "spooler/win32text.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>

#include <algorithm>

namespace {

constexpr int portNumberBase = 8100;
constexpr int portNameDigits = 3;

bool isSame(const QString &one, const QString &other)
{
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

QString portNameOf(int number)
{
    return CloudPrinter::portNameTemplate.arg(number, portNameDigits, 10, QLatin1Char('0'));
}

/// The first number whose port no printer uses. A port without a printer counts as free: the numbers go by the
/// printers.
int freeNumber(const QList<PRINTER_INFO_2W> &printers)
{
    const auto isUsed = [&](const QString &portName) {
        return std::any_of(printers.cbegin(), printers.cend(), [&](const PRINTER_INFO_2W &printer) {
            return isSame(fromWide(printer.pPortName), portName);
        });
    };
    int number = 1;
    while (isUsed(portNameOf(number)))
        ++number;
    return number;
}

bool isKnown(CPrinter &spooler, const QList<PRINTER_INFO_2W> &printers, const DriverInfo &info)
{
    for (const PRINTER_INFO_2W &printer : printers) {
        const QString name = fromWide(printer.pPrinterName);
        QString cloudSn;
        const bool isCloudPrinter = spooler.GetCloudPrinterId(name, cloudSn);
        if (isSame(name, info.printerName) || (isCloudPrinter && isSame(cloudSn, info.cloudSn)))
            return true;
    }
    return false;
}

/// The set-up entry point takes a path in the platform's own form only.
QString infPath()
{
    return QCoreApplication::applicationDirPath().replace(QLatin1Char('/'), QLatin1Char('\\')) +
           QStringLiteral("\\Driver\\OrvoPtr.INF");
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
    if (failure.isEmpty())
        emit addResult(true, QStringLiteral("添加打印机成功"), m_info);
    else
        emit addResult(false, failure, m_info);
    // The set-up process: left to the end of the thread, it would go when the thread's members may be gone already.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QString AddPrinterThread::addPrinter()
{
    QList<PRINTER_INFO_2W> printers;
    SpoolerBuffer buffer;
    m_printer.EnumLocalPrinters(printers, buffer);
    if (isKnown(m_printer, printers, m_info))
        return QStringLiteral("当前打印机已经存在!");

    const int number = freeNumber(printers);
    const QString portName = portNameOf(number);
    const auto portNumber = static_cast<quint16>(portNumberBase + number);
    qDebug("%s", qUtf8Printable(QStringLiteral("68_AddPrinterThread add driver %1,need port is %2,port num is %3")
                                    .arg(m_info.printerName, portName, QString::number(portNumber))));

    QString failure = providePort(portName, portNumber);
    if (failure.isEmpty())
        failure = installQueue(portName);
    if (failure.isEmpty())
        failure = bindQueue(portNumber);
    if (!failure.isEmpty())
        return failure;

    m_info.portNum = portNumber;
    m_info.portName = portName;
    m_info.driverName = CloudPrinter::driverName;
    m_info.ip = CloudPrinter::localAddress;
    qDebug("155_AddPrinterThread succeed");
    return QString();
}

QString AddPrinterThread::providePort(const QString &portName, quint16 portNumber)
{
    QList<PORT_INFO_2W> ports;
    SpoolerBuffer buffer;
    m_printer.EnumLocalPorts(ports, buffer);
    for (const PORT_INFO_2W &port : qAsConst(ports)) {
        // Intended: a port that is left over is used as it stands, wherever it points.
        if (isSame(fromWide(port.pPortName), portName))
            return QString();
    }
    if (m_printer.addStandardTcpPort(portName, CloudPrinter::localAddress, portNumber) == 0)
        return QString();
    qDebug("85_AddPrinterThread addStandardTcpPort failed");
    return QStringLiteral("添加打印机失败，无法添加端口");
}

bool AddPrinterThread::isDriverInstalled()
{
    QList<DRIVER_INFO_3W> drivers;
    SpoolerBuffer buffer;
    m_printer.EnumLocalDrivers(drivers, buffer);
    return std::any_of(drivers.cbegin(), drivers.cend(), [](const DRIVER_INFO_3W &driver) {
        return isSame(fromWide(driver.pName), CloudPrinter::driverName);
    });
}

QString AddPrinterThread::installQueue(const QString &portName)
{
    const bool driverInstalled = isDriverInstalled();
    if (driverInstalled)
        qDebug("104_AddPrinterThread driver already installed");
    const QString inf = infPath();
    qDebug() << "104_AddPrinterThread inf is:" << inf;
    if (!m_printer.addCloudPrinter(m_info.printerName, portName, CloudPrinter::driverName, inf, !driverInstalled)) {
        qDebug("118_AddPrinterThread addCloudPrinter failed");
        return QStringLiteral("安装驱动失败");
    }
    // The set-up does not tell whether it succeeded; an installed driver has a version.
    if (m_printer.GetDriverVersion(CloudPrinter::driverName).isEmpty()) {
        qDebug("125_AddPrinterThread GetDriverVersion failed");
        return QStringLiteral("安装驱动失败");
    }
    return QString();
}

QString AddPrinterThread::bindQueue(quint16 portNumber)
{
    const int result = m_printer.SetCloudPrinterId(m_info.printerName, m_info.cloudSn);
    if (result != 0) {
        qDebug() << "134_AddPrinterThread setCloudPrinterId failed:" << result;
        return result == -1 ? QStringLiteral("添加打印机失败, 打印机名无效")
                            : QStringLiteral("添加打印机失败, 无法设置云序列号");
    }
    if (!m_printer.SetPrinterPortNum(m_info.printerName, portNumber)) {
        qDebug("146_AddPrinterThread setPrinterPortNum failed");
        return QStringLiteral("添加打印机失败, 无法设置端口号");
    }
    return QString();
}
