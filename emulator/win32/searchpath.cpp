#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

/// CreateProcess looks for a bare program name in the calling program's own folder first, which on Linux nobody does.
/// The emulated system programs lie beside this library, so its folder comes first in the search path.
__attribute__((constructor)) void putOwnFolderFirst()
{
    Dl_info library = {};
    if (!dladdr(reinterpret_cast<void *>(putOwnFolderFirst), &library))
        return;
    std::error_code error;
    const std::string folder = std::filesystem::absolute(library.dli_fname, error).parent_path().string();
    const char *variable = std::getenv("PATH");
    const std::string path = variable ? variable : "";
    if (!error && path.rfind(folder + ':', 0) != 0)
        setenv("PATH", (folder + ':' + path).c_str(), 1);
}

} // namespace
