#include "spooler/cprinter.h"

#include "spooler/environments.h"
#include "spooler/win32text.h"

#include <QDebug>

namespace {

QString driverKeyPath(const QString &driver, const QString &environment)
{
    return QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Print\\Environments\\") + environment +
           QStringLiteral("\\Drivers\\Version-3\\") + driver;
}

} // namespace

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
    // Intended: the size told is MAX_PATH bytes, so a value of more than half that many characters is refused. The rest
    // of the buffer stays zero and ends a text that was stored without its terminator.
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
