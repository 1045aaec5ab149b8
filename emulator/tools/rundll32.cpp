// Stands in for the system program that runs a function of a DLL. The only function it knows is the printer set-up:
//
//   RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b NAME /r PORT /m MODEL [/f INF] [/u]
//       installs a queue; with /f also its driver (/u: unless it is installed)
//   RUNDLL32 PRINTUI.DLL,PrintUIEntry /ia /m MODEL /f INF [/q]
//       installs a driver, also over an older one, which the queues then use
//   RUNDLL32 PRINTUI.DLL,PrintUIEntry /k /n NAME
//       queues the test page

#include "emulator/tools/tool.h"
#include "emulator/win32/control.h"
#include "emulator/win32/model/database.h"

#include <QFile>
#include <QFileInfo>

#include <map>

namespace {

using namespace Win32Emulator;

constexpr const char *setUp = "PRINTUI.DLL,PrintUIEntry";

/// The switches of a command line with their values. A word after a switch that takes a value is that value, whatever
/// it looks like; the last of several counts.
class Switches
{
public:
    explicit Switches(const QStringList &words)
    {
        for (int i = 0; i < words.size(); ++i) {
            const QString &name = words.at(i);
            const bool takesValue = QStringList{"/b", "/f", "/m", "/n", "/r"}.contains(name);
            if (takesValue ? i + 1 == words.size() : !QStringList{"/ia", "/if", "/k", "/q", "/u"}.contains(name))
                throw std::runtime_error("switch not understood: " + name.toStdString());
            m_values[name] = takesValue ? words.at(++i).toStdString() : std::string();
        }
    }

    bool has(const QString &name) const { return m_values.count(name) > 0; }

    const std::string &value(const QString &name) const
    {
        if (!has(name))
            throw std::runtime_error("switch " + name.toStdString() + " is missing");
        return m_values.at(name);
    }

private:
    std::map<QString, std::string> m_values;
};

/// The driver version that an INF declares. Throws if the file cannot be read, has no version or does not name the
/// model.
std::string driverVersion(const std::string &infPath, const std::string &model)
{
    QFile file(QString::fromStdString(infPath).replace('\\', '/'));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read the INF file " + infPath);
    bool namesModel = false;
    QByteArray version;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.startsWith("DriverVer") && line.contains(','))
            version = line.mid(line.indexOf(',') + 1).trimmed();
        namesModel = namesModel || line.startsWith(QByteArray::fromStdString('"' + model + '"'));
    }
    if (!namesModel || version.isEmpty())
        throw std::runtime_error("the INF file " + infPath + " lacks a driver version or the model \"" + model + '"');
    return version.toStdString();
}

void installPrinter(const Switches &switches)
{
    const std::string &model = switches.value("/m");
    Transaction transaction; // no driver remains if its queue cannot be added
    if (switches.has("/f")) {
        const std::string version = driverVersion(switches.value("/f"), model);
        if (!switches.has("/u") || !findDriver(model))
            addDriver({model, ownEnvironment, version});
    }
    addPrinterUnderFreeName(switches.value("/b"), switches.value("/r"), model);
    transaction.commit();
}

void installDriver(const Switches &switches)
{
    const std::string &model = switches.value("/m");
    const std::string version = driverVersion(switches.value("/f"), model);
    // Windows keeps each package in a folder of its own.
    addDriver({model, ownEnvironment, version,
               R"(C:\Windows\System32\DriverStore\FileRepository\orvoptr.inf_)" + version + R"(\OrvoPtr.INF)"});
}

void printTestPage(const Switches &switches)
{
    QFile page(QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath() + QStringLiteral("/testpage.prn"));
    if (!page.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read the test page");
    addJob(switches.value("/n"), "测试页", page.readAll().toStdString());
}

void runSetUp(const Switches &switches)
{
    if (switches.has("/ia"))
        installDriver(switches);
    else if (switches.has("/if"))
        installPrinter(switches);
    else if (switches.has("/k"))
        printTestPage(switches);
    else
        throw std::runtime_error("neither /if nor /k is given");
}

} // namespace

int main(int argc, char **argv)
{
    const QStringList words = Tools::arguments(argc, argv);
    return Tools::run("RUNDLL32", [&] {
        if (words.value(0) != QLatin1String(setUp))
            throw std::runtime_error("unknown function " + words.value(0).toStdString());
        recordCall({"PrintUIEntry", words.mid(1).join(' ').toStdString()});
        if (const std::optional<unsigned> fault = takeFault("PrintUIEntry"))
            throw Error(*fault, "a fault was asked for");
        runSetUp(Switches(words.mid(1)));
    });
}
