// A stand-in for printui.dll, whose printer set-up Wine reads and then leaves undone. Knows the one form that the
// program uses when the driver is there: /if /b QUEUE /r PORT /m DRIVER. As with the platform's, the exit code says
// nothing.

#include <windows.h>

#include <shellapi.h>
#include <winspool.h>

#include <memory>
#include <string>

namespace {

using Arguments = std::unique_ptr<LPWSTR, decltype(&LocalFree)>;

/// The argument behind an option; empty when it is not there.
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

} // namespace

extern "C" __declspec(dllexport) void WINAPI PrintUIEntryW(HWND, HINSTANCE, LPCWSTR commandLine, int)
{
    int count = 0;
    const Arguments arguments(CommandLineToArgvW(commandLine, &count), &LocalFree);
    if (count > 0 && std::wstring(L"/if") == arguments.get()[0])
        addQueue(valueOf(arguments.get(), count, L"/b"), valueOf(arguments.get(), count, L"/r"),
                 valueOf(arguments.get(), count, L"/m"));
}
