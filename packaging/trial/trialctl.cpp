// trialctl set-up QUEUE SERIAL PORT-NUMBER | print QUEUE FILE | show QUEUE | guarded PATH... | version | remove-driver
// | list
//
// `show` writes the queue's port, its driver, and the type, size and bytes of its printer data. `guarded` fails on a
// path that ordinary users may change. `version` writes that of the driver, `list` the names of all queues and of our
// ports. `remove-driver` deletes the driver in the one way that Wine knows. Exit status 0, or 1 when a step failed or
// there is no such queue.

#include "packaging/trial/printing.h"
#include "packaging/trial/provisioning.h"
#include "packaging/trial/rights.h"
#include "src/spooler/cprinter.h"
#include "src/store/cloudprinter.h"

#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>

#include "src/spooler/win32.h"

namespace {

QTextStream &output()
{
    static QTextStream stream(stdout);
    return stream;
}

bool showValue(const PrinterHandle &printer, const QString &name)
{
    constexpr int capacity = 256;
    QByteArray bytes(capacity, '\0');
    DWORD type = 0;
    DWORD size = 0;
    if (GetPrinterDataW(printer.get(), WideText(name).data(), &type, reinterpret_cast<LPBYTE>(bytes.data()), capacity,
                        &size) != ERROR_SUCCESS)
        return false;
    output() << name << ": type " << type << ", " << size << " bytes, " << bytes.left(static_cast<int>(size)).toHex()
             << '\n';
    return true;
}

bool show(const QString &queue)
{
    Queue info;
    const PrinterHandle printer(queue, PRINTER_ACCESS_ADMINISTER);
    if (!printer || !CPrinter().GetCloudPrinterInfo(queue, info))
        return false;
    output() << "port: " << info.port << '\n' << "driver: " << info.driver << '\n';
    return showValue(printer, QStringLiteral("CloudId")) && showValue(printer, QStringLiteral("CloudPort"));
}

void list()
{
    QList<Queue> queues;
    QList<Port> ports;
    CPrinter().EnumLocalPrinters(queues);
    CPrinter().EnumLocalPorts(ports);
    for (const Queue &queue : qAsConst(queues))
        output() << queue.name << '\n';
    for (const Port &port : qAsConst(ports)) {
        if (CloudPrinter::isPortName(port.name))
            output() << port.name << '\n';
    }
}

bool run(const QStringList &arguments)
{
    const QString command = arguments.value(1);
    if (command == QLatin1String("set-up") && arguments.size() == 5)
        return Provisioning::addMonitor() && Provisioning::addDriver() &&
               Provisioning::addCloudQueue(arguments.at(2), arguments.at(3), arguments.at(4).toUShort());
    if (command == QLatin1String("print") && arguments.size() == 4)
        return printFile(arguments.at(2), arguments.at(3));
    if (command == QLatin1String("show") && arguments.size() == 3)
        return show(arguments.at(2));
    if (command == QLatin1String("guarded"))
        return std::none_of(arguments.begin() + 2, arguments.end(), isOpenToUsers);
    if (command == QLatin1String("remove-driver"))
        return DeletePrinterDriverW(nullptr, WideText(EnvX64).data(), WideText(CloudPrinter::driverName).data());
    if (command == QLatin1String("version") || command == QLatin1String("list")) {
        command == QLatin1String("list") ? list()
                                         : void(output() << CPrinter().GetDriverVersion(CloudPrinter::driverName));
        return true;
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    output().setCodec("UTF-8");
    return run(QCoreApplication::arguments()) ? EXIT_SUCCESS : EXIT_FAILURE;
}
