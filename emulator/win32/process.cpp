#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace Win32Emulator;

DWORD WINAPI GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

BOOL WINAPI ProcessIdToSessionId(DWORD process, DWORD *session)
{
    return boolCall("ProcessIdToSessionId", {}, [&] {
        requirePlace(session);
        struct stat status = {};
        if (stat(("/proc/" + std::to_string(process)).c_str(), &status) != 0)
            throw Model::Error(ERROR_INVALID_PARAMETER, "there is no such process");
        // On Windows each user who is logged on has a session; here the user stands for it.
        *session = status.st_uid;
    });
}
