#include "spooler/cprinter.h"

#include "spooler/inffile.h"
#include "spooler/win32.h"

#include <QDebug>
#include <QFile>

namespace {

constexpr qint64 largestInf = 16 * 1024 * 1024; // bytes

QString driverKeyPath(const QString &driver, const QString &environment)
{
    return QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Print\\Environments\\") + environment +
           QStringLiteral("\\Drivers\\Version-3\\") + driver;
}

bool openInf(QFile &file, const char *failureText)
{
    const bool opened = file.open(QIODevice::ReadOnly | QIODevice::Text);
    // One line as long as a huge file would exhaust the memory.
    const bool readable = opened && file.size() <= largestInf;
    if (!readable)
        qDebug() << failureText << (opened ? QStringLiteral("The file is too large") : file.errorString());
    return readable;
}

// Found at run time: not every Windows has it.
using DeletePackage = HRESULT(WINAPI *)(LPCWSTR server, LPCWSTR infPath, LPCWSTR environment);

DeletePackage findDeletePackage()
{
    const HMODULE module = GetModuleHandleW(WideText(QStringLiteral("Winspool.drv")).data());
    if (!module) {
        qDebug("1071_CPrinter GetModuleHandle Winspool.drv failed (%lu)", ulong(GetLastError()));
        return nullptr;
    }
    const FARPROC address = GetProcAddress(module, "DeletePrinterDriverPackageW");
    if (!address) {
        qDebug("1078_CPrinter Winspool.drv GetProcAddress DeletePrinterDriverPackageW failde (%lu)",
               ulong(GetLastError()));
        return nullptr;
    }
    return reinterpret_cast<DeletePackage>(reinterpret_cast<void *>(address));
}

bool removeQueues(CPrinter &printer, const QList<Queue> &queues, const QSet<QString> &models)
{
    for (const Queue &queue : queues) {
        if (models.contains(queue.driver) && !printer.RemovePrinter(queue.name))
            return false;
    }
    return true;
}

/// Calls `remove` with each environment that has an INF path, and that path, until it fails.
template <typename Remove>
bool removeFromEach(const QMap<QString, QString> &paths, Remove remove)
{
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty() && !remove(path.key(), path.value()))
            return false;
    }
    return true;
}

} // namespace

bool CPrinter::EnumLocalDrivers(QList<Driver> &drivers)
{
    return forEachEntry<DRIVER_INFO_3W>(
        {"479_CPrinter EnumPrinterDrivers GetLastError() == %lu || pcbNeeded == %lu",
         "490_CPrinter EnumPrinterDrivers GetLastError() == %lu"},
        [](LPBYTE bytes, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrinterDriversW(nullptr, nullptr, 3, bytes, size, needed, returned);
        },
        [&](const DRIVER_INFO_3W &info) {
            drivers.append({fromWide(info.pName)});
            qInfo("498_CPrinter driver name: %ls", qUtf16Printable(drivers.last().name));
        });
}

QString CPrinter::GetDriverRegInfo(const QString &value, const QString &driver, const QString &environment)
{
    const QString keyPath = driverKeyPath(driver, environment);
    qDebug() << "620_CPrinter GetDriverRegInfo keypath:" << keyPath;
    HKEY key = nullptr;
    auto error = RegOpenKeyExW(HKEY_LOCAL_MACHINE, WideText(keyPath).data(), 0, KEY_READ, &key);
    if (error != ERROR_SUCCESS) {
        qDebug() << "631_CPrinter RegOpenKeyEx error code:" << error;
        return QString();
    }
    // The size passed is MAX_PATH bytes, so a value of more than half that many characters is intentionally refused.
    // The rest of the buffer stays zero and ends a text that was stored without its terminator.
    WCHAR text[MAX_PATH] = {};
    DWORD size = MAX_PATH;
    error = RegQueryValueExW(key, WideText(value).data(), nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &size);
    RegCloseKey(key);
    if (error != ERROR_SUCCESS) {
        qDebug() << "645_CPrinter RegQueryValueEx error code:" << error;
        return QString();
    }
    QString result = fromWide(text);
    qDebug() << "653_CPrinter GetDriverRegInfo result:" << result;
    return result;
}

QString CPrinter::GetDriverVersion(const QString &driver)
{
    for (const QString &environment : {EnvX64, EnvX86, EnvIA64}) {
        QString version = GetDriverRegInfo(QStringLiteral("DriverVersion"), driver, environment);
        if (!version.isEmpty())
            return version;
    }
    return QString();
}

QString CPrinter::GetDriverInfPath(const QString &driver, const QString &environment)
{
    return GetDriverRegInfo(QStringLiteral("InfPath"), driver, environment);
}

QMap<QString, QString> CPrinter::GetDriverInfPaths(const QString &driver)
{
    QMap<QString, QString> paths;
    if (driver.isEmpty())
        return paths;
    for (const QString &environment : {EnvX64, EnvX86, EnvIA64})
        paths[environment] = GetDriverInfPath(driver, environment);
    qDebug() << paths;
    return paths;
}

QString CPrinter::GetInfVersion(const QString &fileName)
{
    qDebug() << "1165_CPrinter GetInfVersion()" << fileName;
    QFile file(fileName);
    return openInf(file, "1165_CPrinter") ? InfFile::version(file) : QString();
}

QString CPrinter::GetInfManufacturer(const QString &fileName)
{
    qDebug() << "1242_CPrinter GetInfManufacturer()" << fileName;
    QFile file(fileName);
    return openInf(file, "1246_CPrinter") ? InfFile::manufacturer(file) : QString();
}

QSet<QString> CPrinter::GetInfDrivers(const QString &fileName)
{
    qDebug() << "1194_CPrinter GetInfDrivers()" << fileName;
    const QString section = GetInfManufacturer(fileName);
    if (section.isEmpty())
        return {};
    QFile file(fileName);
    return openInf(file, "1203_CPrinter") ? InfFile::models(file, section) : QSet<QString>();
}

bool CPrinter::RemovePrinterDriverPackage(const QString &infPath, const QString &environment)
{
    qDebug() << "1061_CPrinter RemovePrinterDriverPackage()" << infPath << environment;
    const DeletePackage deletePackage = findDeletePackage();
    if (!deletePackage)
        return false;
    const HRESULT result = deletePackage(nullptr, WideText(infPath).data(), WideText(environment).data());
    qDebug("1083_CPrinter Result of DeletePrinterDriverPackageW is %ld", static_cast<long>(result));
    return result == S_OK;
}

bool CPrinter::RemoveSeriesDriver(const QString &fileName)
{
    qDebug("1090_CPrinter RemoveSeriesDriver()");
    QList<Queue> queues;
    EnumLocalPrinters(queues);
    const QSet<QString> models = GetInfDrivers(fileName);
    if (!removeQueues(*this, queues, models))
        return false;

    QList<Driver> drivers;
    EnumLocalDrivers(drivers);
    // One series comes in one package: intentionally, only the packages of the last matching driver are removed.
    QMap<QString, QString> packages;
    for (const Driver &driver : qAsConst(drivers)) {
        if (!models.contains(driver.name))
            continue;
        packages = GetDriverInfPaths(driver.name);
        if (!removeFromEach(packages, [&](const QString &environment, const QString &) {
                return RemovePrinterDriver(driver.name, environment);
            }))
            return false;
    }
    if (!removeFromEach(packages, [&](const QString &environment, const QString &path) {
            return RemovePrinterDriverPackage(path, environment);
        }))
        return false;
    qDebug("1159_CPrinter RemoveSeriesDriver() return true");
    return true;
}
