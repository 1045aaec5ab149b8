#include "packaging/trial/rights.h"

#include "src/spooler/win32.h"

#include <aclapi.h>

#include <algorithm>
#include <array>

namespace {

constexpr DWORD changing = FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_WRITE_EA | FILE_DELETE_CHILD | DELETE | WRITE_DAC |
                           WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;
constexpr std::array ordinaryUsers = {WinWorldSid, WinBuiltinUsersSid, WinAuthenticatedUserSid, WinInteractiveSid};

bool letsUsersChange(ACL *list, DWORD index)
{
    void *entry = nullptr;
    if (!GetAce(list, index, &entry) || static_cast<ACE_HEADER *>(entry)->AceType != ACCESS_ALLOWED_ACE_TYPE)
        return false;
    auto *allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    return (allowed->Mask & changing) &&
           std::any_of(ordinaryUsers.begin(), ordinaryUsers.end(),
                       [allowed](WELL_KNOWN_SID_TYPE user) { return IsWellKnownSid(&allowed->SidStart, user); });
}

} // namespace

bool isOpenToUsers(const QString &path)
{
    ACL *list = nullptr; // part of the descriptor; without one everything is allowed
    void *descriptor = nullptr;
    if (GetNamedSecurityInfoW(WideText(path).data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                              nullptr, &descriptor) != ERROR_SUCCESS)
        return true;
    bool open = !list;
    for (DWORD i = 0; list && i < list->AceCount; ++i)
        open = open || letsUsersChange(list, i);
    LocalFree(descriptor);
    return open;
}
