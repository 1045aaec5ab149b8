#include "emulator/win32/model/basics.h"

#include <QDir>

namespace Win32Emulator {

namespace {

std::string madeFolder(const QString &path)
{
    QDir().mkpath(path);
    return path.toStdString();
}

} // namespace

std::string homeFolder()
{
    return madeFolder(qEnvironmentVariable("WIN32_EMULATOR_HOME", WIN32_EMULATOR_DEFAULT_HOME));
}

std::string spoolFolder()
{
    return madeFolder(QString::fromStdString(homeFolder() + "/spool"));
}

int compareNames(const std::string &left, const std::string &right)
{
    return QString::compare(QString::fromStdString(left), QString::fromStdString(right), Qt::CaseInsensitive);
}

} // namespace Win32Emulator
