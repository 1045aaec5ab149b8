// closeprogram PROGRAM: ends every instance that runs from that path. Exit status 0 when none runs any more.
//
// The program has no switch to end it, and its window only hides when it is closed. WM_QUIT ends its event loop in the
// same way as its menu does; an instance of another session has no window here, and is stopped.

#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

constexpr DWORD endTimeout = 130000;  // ms; the program gives its jobs 5 s and its work on the spooler 2 min
constexpr DWORD stopTimeout = 5000;   // ms
constexpr DWORD pathCapacity = 32768; // the longest path there is

struct CloseHandleOf
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseHandleOf>;

struct Instance
{
    DWORD id;
    Handle process;
};

std::wstring imagePath(HANDLE process)
{
    std::wstring path(pathCapacity, L'\0');
    DWORD size = pathCapacity;
    if (!QueryFullProcessImageNameW(process, 0, path.data(), &size))
        return {};
    path.resize(size);
    return path;
}

bool isSamePath(const std::wstring &one, const std::wstring &other)
{
    return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

std::vector<Instance> instancesOf(const std::wstring &program)
{
    std::vector<Instance> instances;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL found = Process32FirstW(snapshot.get(), &entry); found; found = Process32NextW(snapshot.get(), &entry)) {
        Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_TERMINATE | SYNCHRONIZE, FALSE,
                                   entry.th32ProcessID));
        if (process && isSamePath(imagePath(process.get()), program))
            instances.push_back({entry.th32ProcessID, std::move(process)});
    }
    return instances;
}

BOOL CALLBACK quitThreadOf(HWND window, LPARAM parameter)
{
    const auto &instances = *reinterpret_cast<const std::vector<Instance> *>(parameter);
    DWORD id = 0;
    const DWORD thread = GetWindowThreadProcessId(window, &id);
    if (std::any_of(instances.begin(), instances.end(), [id](const Instance &instance) { return instance.id == id; }))
        PostThreadMessageW(thread, WM_QUIT, 0, 0);
    return TRUE;
}

bool hasEnded(const Instance &instance, DWORD timeout)
{
    return WaitForSingleObject(instance.process.get(), timeout) == WAIT_OBJECT_0;
}

bool endAll(const std::vector<Instance> &instances)
{
    EnumWindows(quitThreadOf, reinterpret_cast<LPARAM>(&instances));
    return std::all_of(instances.begin(), instances.end(), [](const Instance &instance) {
        if (hasEnded(instance, endTimeout))
            return true;
        return TerminateProcess(instance.process.get(), EXIT_FAILURE) && hasEnded(instance, stopTimeout);
    });
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> arguments(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                  &LocalFree);
    if (count != 2)
        return EXIT_FAILURE;
    return endAll(instancesOf(arguments.get()[1])) ? EXIT_SUCCESS : EXIT_FAILURE;
}
