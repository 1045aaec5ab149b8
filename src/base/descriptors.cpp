#include "base/descriptors.h"

#include <QtGlobal>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/resource.h>
#endif

bool descriptorsAreLeft(int count)
{
#ifdef Q_OS_UNIX
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return true;
    for (rlim_t number = 0; number < limit.rlim_cur && count > 0; ++number)
        if (fcntl(static_cast<int>(number), F_GETFD) < 0)
            --count;
    return count <= 0;
#else
    Q_UNUSED(count)
    return true;
#endif
}
