#include "emulator/win32/model/basics.h"

#include <QDir>

namespace Win32Emulator {

std::string homeFolder()
{
    thread_local std::string made;
    const std::string folder = qEnvironmentVariable("WIN32_EMULATOR_HOME", WIN32_EMULATOR_DEFAULT_HOME).toStdString();
    if (folder != made)
        QDir().mkpath(QString::fromStdString(folder));
    return made = folder;
}

int compareNames(const std::string &left, const std::string &right)
{
    return QString::compare(QString::fromStdString(left), QString::fromStdString(right), Qt::CaseInsensitive);
}

} // namespace Win32Emulator
