#include "emulator/win32/call.h"

#include "emulator/win32/model/basics.h"

#include <cstdio>

namespace Win32Emulator {

namespace {

/// The error code of the failure; nothing on success.
std::optional<DWORD> perform(const Call &call, const std::function<void()> &work)
{
    try {
        runHook(call.function);
        recordCall(call);
        if (const std::optional<unsigned> fault = takeFault(call.function))
            return *fault;
        work();
        return std::nullopt;
    } catch (const Error &error) {
        return error.code;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "Win32 emulator: %s: %s\n", call.function.c_str(), error.what());
        return ERROR_INTERNAL_ERROR;
    }
}

} // namespace

BOOL boolCall(const Call &call, const std::function<void()> &work)
{
    const std::optional<DWORD> error = perform(call, work);
    if (error)
        SetLastError(*error);
    return error ? FALSE : TRUE;
}

DWORD codeCall(const Call &call, const std::function<void()> &work)
{
    return perform(call, work).value_or(ERROR_SUCCESS);
}

std::string accessText(ACCESS_MASK access)
{
    return " access=0x" + QString::number(access, 16).toStdString();
}

std::string fromUtf16(LPCWSTR text)
{
    return QString::fromUtf16(text).toStdString();
}

std::u16string toUtf16(const std::string &text)
{
    return QString::fromStdString(text).toStdU16String();
}

} // namespace Win32Emulator
