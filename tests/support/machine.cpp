#include "tests/support/machine.h"

#include "emulator/win32/control.h"

using namespace Win32Emulator;

namespace {

/// "ID CLOUDPORT"
QString cloudData(const std::string &printer)
{
    const auto id = printerData(printer, "CloudId");
    const auto port = printerData(printer, "CloudPort");
    const auto number = [&] { return QString::number(uchar(port->second[0]) | uchar(port->second[1]) << 8); };
    return (id ? QString::fromUtf8(id->second.c_str()) : "-") + ' ' + (port ? number() : "-");
}

} // namespace

void addCloudPrinter(const QString &queue, const QString &portName, quint16 port, const QString &serial,
                     const std::string &driver)
{
    constexpr unsigned text = 1;  // REG_SZ
    constexpr unsigned bytes = 3; // REG_BINARY
    const std::string name = queue.toStdString();
    addPort(portName.toStdString(), "127.0.0.1", port);
    addPrinter(name, portName.toStdString(), driver);
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
        content << QString::fromStdString("queue " + printer.name + ' ' + printer.port + ' ' + printer.driver + ' ') +
                       cloudData(printer.name);
    return content;
}

QStringList argumentsOf(const std::string &function)
{
    QStringList result;
    for (const Call &call : calls(function))
        result << QString::fromStdString(call.arguments);
    return result;
}
