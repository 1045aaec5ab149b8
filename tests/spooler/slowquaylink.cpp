#include <unistd.h>

// A library with one export, whose unloading takes its time, so that other threads come in between.

[[gnu::destructor]] static void delay()
{
    usleep(1000);
}

extern "C" int StopDependentServices()
{
    return 1;
}
