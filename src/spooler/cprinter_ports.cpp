#include "spooler/cprinter.h"

#include "spooler/win32.h"
#include "quaylink/quaylink.h"

#include <QDebug>
#include <QLibrary>

#include <mutex>

namespace {

/// An export of the helper library and the log lines of the operation that calls it; each names its place in the code.
struct HelperCall
{
    const char *name;
    const char *loadFailed;
    const char *resolveFailed;
    const char *result; ///< with a place for the result; null where the operation logs it otherwise
};

std::mutex bindingMutex;

/// One export of the helper library, which is loaded with this object and unloaded with it: nothing is kept between
/// calls. A missing library or export is logged and leaves the object false. Any thread.
///
/// Qt shares one object per library file between all threads, and loading and unloading it at the same time is not
/// safe: hence the lock. It is not held during the call, because the deletion of a driver makes another call; the
/// library stays mapped until the last of these objects has unloaded it.
class HelperExport
{
public:
    explicit HelperExport(const HelperCall &call)
        : m_library(QStringLiteral("Quaylink.dll"))
    {
        bind(call.name);
        if (!m_loaded)
            qCritical("%s", call.loadFailed);
        else if (!m_address)
            qCritical("%s", call.resolveFailed);
    }

    ~HelperExport()
    {
        const std::lock_guard locker(bindingMutex);
        // Not QLibrary::isLoaded(): that is also true for a library that only another thread has loaded.
        if (m_loaded)
            m_library.unload();
    }
    Q_DISABLE_COPY(HelperExport)

    explicit operator bool() const { return m_address != nullptr; }

    /// The export as a function of the given type. Valid as long as this object.
    template <typename Function>
    Function *as() const
    {
        return reinterpret_cast<Function *>(m_address);
    }

private:
    void bind(const char *name)
    {
        const std::lock_guard locker(bindingMutex);
        m_loaded = m_library.load();
        if (m_loaded)
            m_address = m_library.resolve(name);
    }

    QLibrary m_library;
    bool m_loaded = false;
    QFunctionPointer m_address = nullptr;
};

constexpr int deletionAttempts = 2;

constexpr HelperCall addPort = {"AddStandardTcpPort", "44_CPrinter addStandardTcpPort load Quaylink.dll failed",
                                "32_CPrinter resolve Quaylink.dll failed", "38_CPrinter pAdd= %d"};
constexpr HelperCall configPort = {"ConfigStandardTcpPort", "71_CPrinter load Quaylink.dll failed",
                                   "59_CPrinter resolve Quaylink.dll failed", "65_CPrinter pConfig()=%d"};
constexpr HelperCall deletePort = {"DeleteStandardTcpPort", "98_CPrinter load Quaylink.dll failed",
                                   "86_CPrinter resolve Quaylink.dll failed", "92_CPrinter pDelete()= %d"};
constexpr HelperCall readPort = {"GetConfigStandardTcpPort",
                                 "464_CPrinter GetConfigStandardTcpPort load Quaylink.dll failed",
                                 "444_CPrinter resolve Quaylink.dll failed", "453_CPrinter pf()= %d"};
constexpr HelperCall stopDependents = {"StopDependentServices",
                                       "929_CPrinter StopDependentServices load Quaylink.dll failed",
                                       "917_CPrinter resolve Quaylink.dll failed", "923_CPrinter pf()= %d"};

/// Calls the export and logs its result. Gives `missing` when the library or the export is missing.
template <typename Function, typename... Arguments>
int callHelper(const HelperCall &call, int missing, Arguments... arguments)
{
    const HelperExport helper(call);
    if (!helper)
        return missing;
    const int result = helper.as<Function>()(arguments...);
    qDebug(call.result, result);
    return result;
}

} // namespace

bool CPrinter::EnumLocalPorts(QList<Port> &ports)
{
    return forEachEntry<PORT_INFO_2W>(
        {"152_CPrinter EnumPorts GetLastError() == %lu || pcbNeeded == %lu",
         "163_CPrinter EnumPorts GetLastError() == %lu"},
        [](LPBYTE bytes, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPortsW(nullptr, 2, bytes, size, needed, returned);
        },
        [&](const PORT_INFO_2W &info) {
            ports.append({fromWide(info.pPortName)});
            qInfo("171_CPrinter port name: %ls", qUtf16Printable(ports.last().name));
        });
}

int CPrinter::addStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber)
{
    qDebug() << "23_CPrinter addStandardTcpPort" << portName << host << portNumber;
    return callHelper<Quaylink::AddStandardTcpPort>(addPort, helperMissing, WideText(portName).data(),
                                                    WideText(host).data(), portNumber);
}

int CPrinter::ConfigStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber)
{
    qDebug() << "50_CPrinter ConfigStandardTcpPort" << portName << host << portNumber;
    return callHelper<Quaylink::ConfigStandardTcpPort>(configPort, helperMissing, WideText(portName).data(),
                                                       WideText(host).data(), portNumber);
}

int CPrinter::DeleteStandardTcpPort(const QString &portName)
{
    qDebug() << "77_CPrinter DeleteStandardTcpPort" << portName;
    return callHelper<Quaylink::DeleteStandardTcpPort>(deletePort, helperMissing, WideText(portName).data());
}

int CPrinter::GetPortInfo(const QString &portName, QString &host, unsigned short &portNumber)
{
    qDebug() << "435_CPrinter GetPortInfo" << portName;
    WCHAR hostBuffer[Quaylink::hostCapacity] = {};
    DWORD number = 0;
    const int result = callHelper<Quaylink::GetConfigStandardTcpPort>(readPort, helperMissing,
                                                                      WideText(portName).data(), hostBuffer, &number);
    if (result == 0) {
        host = fromWide(hostBuffer);
        portNumber = static_cast<unsigned short>(number);
    }
    return result;
}

bool CPrinter::StopDependentServices(SC_HANDLE manager, SC_HANDLE service)
{
    qDebug() << "909_CPrinter StopDependentServices()" << manager << service;
    return callHelper<Quaylink::StopDependentServices>(stopDependents, FALSE, manager, service) != FALSE;
}

bool CPrinter::RemovePrinterDriver(const QString &driver, const QString &environment)
{
    qDebug() << "1020_CPrinter RemovePrinterDriver()" << driver << environment;
    const HelperExport helper({"QDeletePrinterDriver", "1024_CPrinter load Quaylink.dll failed",
                               "1032_CPrinter resolve Quaylink.dll failed", nullptr});
    if (!helper)
        return false;
    auto *deleteDriver = helper.as<Quaylink::QDeletePrinterDriver>();
    DWORD error = 0;
    for (int attempt = 0; attempt < deletionAttempts; ++attempt) {
        if (deleteDriver(WideText(driver).data(), WideText(environment).data(), &error)) {
            qDebug("1050_CPrinter QDeletePrinterDriver successfully");
            return true;
        }
        qDebug("1044_CPrinter pF() failed (%d)", static_cast<int>(error));
        // The spooler may still hold the driver. It is restarted after the last attempt, too.
        RestartSvc(spoolerService);
    }
    return false;
}
