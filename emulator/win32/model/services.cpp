#include "win32/model/services.h"

#include "win32/model/database.h"
#include "win32/model/error.h"

#include <windows.h>

namespace Win32Emulator::Model {

namespace {

Error noSuchService(const std::string &name)
{
    return Error(ERROR_SERVICE_DOES_NOT_EXIST, "there is no service \"" + name + '"');
}

} // namespace

unsigned serviceState(const std::string &name)
{
    Statement row = Database::current().query("SELECT state FROM services WHERE name = ?", name);
    if (!row.next())
        throw noSuchService(name);
    return static_cast<unsigned>(row.number(0));
}

void setServiceState(const std::string &name, unsigned state)
{
    if (Database::current().run("UPDATE services SET state = ? WHERE name = ?", state, name) == 0)
        throw noSuchService(name);
}

} // namespace Win32Emulator::Model
