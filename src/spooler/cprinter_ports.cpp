#include "spooler/cprinter.h"

#include "spooler/helperexport.h"
#include "spooler/win32text.h"
#include "quaylink/quaylink.h"

#include <QDebug>

#include <optional>

namespace {

constexpr int helperMissing = -1;

/// What tells one call of the helper library from another.
struct HelperCall
{
    const char *name;
    HelperExport::Texts texts;
    const char *result; ///< log line with a place for the result
};

constexpr HelperCall addPort = {
    "AddStandardTcpPort",
    {"44_CPrinter addStandardTcpPort load Quaylink.dll failed", "32_CPrinter resolve Quaylink.dll failed"},
    "38_CPrinter pAdd= %d"};
constexpr HelperCall configPort = {"ConfigStandardTcpPort",
                                   {"71_CPrinter load Quaylink.dll failed", "59_CPrinter resolve Quaylink.dll failed"},
                                   "65_CPrinter pConfig()=%d"};
constexpr HelperCall deletePort = {"DeleteStandardTcpPort",
                                   {"98_CPrinter load Quaylink.dll failed", "86_CPrinter resolve Quaylink.dll failed"},
                                   "92_CPrinter pDelete()= %d"};
constexpr HelperCall readPort = {
    "GetConfigStandardTcpPort",
    {"464_CPrinter GetConfigStandardTcpPort load Quaylink.dll failed", "444_CPrinter resolve Quaylink.dll failed"},
    "453_CPrinter pf()= %d"};
constexpr HelperCall stopDependents = {
    "StopDependentServices",
    {"929_CPrinter StopDependentServices load Quaylink.dll failed", "917_CPrinter resolve Quaylink.dll failed"},
    "923_CPrinter pf()= %d"};

/// Calls the export and logs its result; nothing when the library or the export is missing.
template <typename Function, typename... Arguments>
std::optional<int> callHelper(const HelperCall &call, Arguments... arguments)
{
    const HelperExport helper(call.name, call.texts);
    if (!helper)
        return std::nullopt;
    const int result = helper.as<Function>()(arguments...);
    qDebug(call.result, result);
    return result;
}

} // namespace

int CPrinter::addStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber)
{
    qDebug() << "23_CPrinter addStandardTcpPort" << portName << host << portNumber;
    return callHelper<Quaylink::AddStandardTcpPort>(addPort, WideText(portName).data(), WideText(host).data(),
                                                    portNumber)
        .value_or(helperMissing);
}

int CPrinter::ConfigStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber)
{
    qDebug() << "50_CPrinter ConfigStandardTcpPort" << portName << host << portNumber;
    return callHelper<Quaylink::ConfigStandardTcpPort>(configPort, WideText(portName).data(), WideText(host).data(),
                                                       portNumber)
        .value_or(helperMissing);
}

int CPrinter::DeleteStandardTcpPort(const QString &portName)
{
    qDebug() << "77_CPrinter DeleteStandardTcpPort" << portName;
    return callHelper<Quaylink::DeleteStandardTcpPort>(deletePort, WideText(portName).data()).value_or(helperMissing);
}

int CPrinter::GetPortInfo(const QString &portName, QString &host, unsigned short &portNumber)
{
    qDebug() << "435_CPrinter GetPortInfo" << portName;
    WCHAR hostBuffer[Quaylink::hostCapacity] = {};
    DWORD number = 0;
    const int result =
        callHelper<Quaylink::GetConfigStandardTcpPort>(readPort, WideText(portName).data(), hostBuffer, &number)
            .value_or(helperMissing);
    if (result == 0) {
        host = fromWide(hostBuffer);
        portNumber = static_cast<unsigned short>(number);
    }
    return result;
}

bool CPrinter::StopDependentServices(SC_HANDLE manager, SC_HANDLE service)
{
    qDebug() << "909_CPrinter StopDependentServices()" << manager << service;
    return callHelper<Quaylink::StopDependentServices>(stopDependents, manager, service).value_or(FALSE) != FALSE;
}
