#include "tests/support/machine.h"

#include "emulator/win32/control.h"

using namespace Win32Emulator;

namespace {

QString cloudId(const std::string &printer)
{
    const auto value = printerData(printer, "CloudId");
    return value ? QString::fromUtf8(value->second.c_str()) : "-";
}

QString cloudPort(const std::string &printer)
{
    const auto value = printerData(printer, "CloudPort");
    if (!value)
        return "-";
    return QString::number(uchar(value->second[0]) | uchar(value->second[1]) << 8);
}

} // namespace

void addCloudPrinter(const QString &queue, const QString &portName, quint16 port, const QString &serial)
{
    constexpr unsigned text = 1;  // REG_SZ
    constexpr unsigned bytes = 3; // REG_BINARY
    const std::string name = queue.toStdString();
    addPort(portName.toStdString(), "127.0.0.1", port);
    addPrinter(name, portName.toStdString());
    setPrinterData(name, "CloudId", text, serial.toStdString() + '\0');
    setPrinterData(name, "CloudPort", bytes, {char(port & 0xff), char(port >> 8)});
}

QStringList machineContent()
{
    QStringList content;
    for (const auto &port : ports())
        content << QString::fromStdString("port " + port.name + ' ' + port.host + ':' + std::to_string(port.number));
    for (const auto &driver : drivers())
        content << QString::fromStdString("driver " + driver.name + ' ' + driver.version + ' ' + driver.environment);
    for (const auto &package : driverPackages())
        content << QString::fromStdString("package " + package.environment);
    for (const auto &printer : printers())
        content << QString::fromStdString("queue " + printer.name + ' ' + printer.port + ' ' + printer.driver) + ' ' +
                       cloudId(printer.name) + ' ' + cloudPort(printer.name);
    return content;
}

QStringList argumentsOf(const std::string &function)
{
    QStringList result;
    for (const Call &call : calls(function))
        result << QString::fromStdString(call.arguments);
    return result;
}
