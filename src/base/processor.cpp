#include "base/processor.h"

#include <QtGlobal>

#ifdef Q_OS_LINUX
#include <sched.h>
#endif

void stayOnThisProcessor()
{
#ifdef Q_OS_LINUX
    const int processor = sched_getcpu();
    if (processor < 0 || processor >= CPU_SETSIZE)
        return;
    cpu_set_t only;
    CPU_ZERO(&only);
    CPU_SET(processor, &only);
    sched_setaffinity(0, sizeof only, &only);
#endif
}
