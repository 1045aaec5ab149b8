#include "emulator/tools/printui.h"

#include "emulator/tools/inffile.h"
#include "emulator/tools/printuicommand.h"
#include "emulator/win32/model/database.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/model/printers.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Tools {

namespace {

using namespace Win32Emulator;

void run(const InstallPrinter &command)
{
    Model::Transaction transaction; // no driver is left behind when its queue cannot be added
    Model::checkPrinterName(command.name);
    if (!Model::findPort(command.port))
        throw std::runtime_error("there is no port \"" + command.port + '"');
    if (command.inf) {
        const std::string version = driverVersion(*command.inf, command.model);
        if (!command.keepInstalledDriver || !Model::hasDriver(command.model))
            Model::addDriver({command.model, "Windows x64", version});
    }
    Model::addPrinterUnderFreeName(command.name, command.port, command.model);
    transaction.commit();
}

void run(const PrintTestPage &command)
{
    const std::filesystem::path page = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "testpage.prn";
    std::ifstream file(page, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read the test page " + page.string());
    Model::addJob(command.name, "测试页", file, SubmissionTime());
}

} // namespace

void printUiEntry(const std::vector<std::string> &words)
{
    std::visit([](const auto &command) { run(command); }, parsePrintUi(words));
}

} // namespace Tools
