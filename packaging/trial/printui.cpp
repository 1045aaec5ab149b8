// A stand-in for printui.dll, whose printer set-up Wine reads and then leaves undone. Knows the forms that the program
// uses when the driver is there: /if /b QUEUE /r PORT /m DRIVER and /ia /m DRIVER /f INF. As with that of Windows, the
// exit code says nothing.

#include <windows.h>

#include <shellapi.h>
#include <winspool.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

using Arguments = std::unique_ptr<LPWSTR, decltype(&LocalFree)>;

/// The argument after an option; empty without the option.
std::wstring valueOf(LPWSTR *arguments, int count, const std::wstring &option)
{
    for (int i = 0; i + 1 < count; ++i) {
        if (option == arguments[i])
            return arguments[i + 1];
    }
    return {};
}

void addQueue(std::wstring name, std::wstring port, std::wstring driver)
{
    std::wstring processor = L"winprint";
    std::wstring dataType = L"RAW";
    std::wstring none;
    PRINTER_INFO_2W queue = {};
    queue.pPrinterName = name.data();
    queue.pPortName = port.data();
    queue.pDriverName = driver.data();
    queue.pPrintProcessor = processor.data();
    queue.pDatatype = dataType.data();
    queue.pShareName = queue.pComment = queue.pLocation = queue.pSepFile = queue.pParameters = none.data();
    queue.Attributes = PRINTER_ATTRIBUTE_LOCAL;
    if (const HANDLE printer = AddPrinterW(nullptr, 2, reinterpret_cast<LPBYTE>(&queue)))
        ClosePrinter(printer);
}

/// What follows the comma of the INF's line "DriverVer".
std::wstring versionOf(const std::wstring &inf)
{
    std::ifstream file{std::filesystem::path(inf)};
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("DriverVer", 0) == 0)
            return {line.begin() + static_cast<std::ptrdiff_t>(line.find(',')) + 1,
                    line.begin() + static_cast<std::ptrdiff_t>(line.find_last_not_of("\r ")) + 1};
    }
    return {};
}

void setText(HKEY key, const wchar_t *name, const std::wstring &text)
{
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE *>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

/// All that Wine's spooler holds of a driver's version and package.
void updateDriver(const std::wstring &driver, const std::wstring &inf)
{
    const std::wstring path =
        L"SYSTEM\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3\\" + driver;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS)
        return;
    setText(key, L"DriverVersion", versionOf(inf));
    setText(key, L"InfPath", L"C:\\windows\\inf\\oem1.inf"); // as if the package had been copied there
    RegCloseKey(key);
}

} // namespace

extern "C" __declspec(dllexport) void WINAPI PrintUIEntryW(HWND, HINSTANCE, LPCWSTR commandLine, int)
{
    int count = 0;
    const Arguments arguments(CommandLineToArgvW(commandLine, &count), &LocalFree);
    if (count > 0 && std::wstring(L"/if") == arguments.get()[0])
        addQueue(valueOf(arguments.get(), count, L"/b"), valueOf(arguments.get(), count, L"/r"),
                 valueOf(arguments.get(), count, L"/m"));
    else if (count > 0 && std::wstring(L"/ia") == arguments.get()[0])
        updateDriver(valueOf(arguments.get(), count, L"/m"), valueOf(arguments.get(), count, L"/f"));
}
