#include "packaging/trial/provisioning.h"

#include "src/spooler/cprinter.h"
#include "src/store/cloudprinter.h"

#include "src/spooler/win32.h"

namespace {

bool setText(HKEY key, const wchar_t *name, const std::wstring &text)
{
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE *>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR))) == ERROR_SUCCESS;
}

/// What Windows notes about a driver that came from a package, an older one than the program's. AddPrinterDriver alone
/// does not.
bool describeDriver()
{
    const auto path =
        QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Print\\Environments\\%1\\Drivers\\Version-3\\%2")
            .arg(EnvX64, CloudPrinter::driverName);
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, WideText(path).data(), 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS)
        return false;
    const bool described =
        setText(key, L"DriverVersion", L"1.3.0.7") && setText(key, L"InfPath", L"C:\\windows\\inf\\oem0.inf");
    RegCloseKey(key);
    return described;
}

} // namespace

bool Provisioning::addMonitor()
{
    WideText name(QStringLiteral("Standard TCP/IP Port"));
    WideText environment(EnvX64);
    WideText library(QStringLiteral("tcpmonitor.dll"));
    MONITOR_INFO_2W monitor = {name.data(), environment.data(), library.data()};
    return AddMonitorW(nullptr, 2, reinterpret_cast<LPBYTE>(&monitor));
}

bool Provisioning::addDriver()
{
    WideText name(CloudPrinter::driverName);
    WideText environment(EnvX64);
    WideText library(QStringLiteral("orvo.dll"));
    DRIVER_INFO_3W driver = {};
    driver.cVersion = 3;
    driver.pName = name.data();
    driver.pEnvironment = environment.data();
    // The files need not exist, but Wine crashes where one of the names is missing.
    driver.pDriverPath = driver.pDataFile = driver.pConfigFile = library.data();
    return AddPrinterDriverExW(nullptr, 3, reinterpret_cast<LPBYTE>(&driver), APD_COPY_ALL_FILES) && describeDriver();
}

bool Provisioning::addCloudQueue(const QString &queue, const QString &serial, unsigned short portNumber)
{
    const QString port = CloudPrinter::portName(portNumber - CloudPrinter::portNumber(0));
    CPrinter spooler;
    return spooler.addStandardTcpPort(port, CloudPrinter::localAddress, portNumber) == 0 &&
           spooler.addCloudPrinter(queue, port, CloudPrinter::driverName, QString(), false) &&
           spooler.SetCloudPrinterId(queue, serial) == 0 && spooler.SetPrinterPortNum(queue, portNumber);
}
