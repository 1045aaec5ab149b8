// Qt is built without the thread sanitizer, which therefore does not see that a mutex was locked or a finished thread
// waited for. These replace Qt's functions in the executables they are linked into: they report to the sanitizer and
// call Qt's own.

#include <QDeadlineTimer>
#include <QMutex>
#include <QThread>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// Qt's function of that symbol.
template <typename Function>
Function framework(const char *symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

/// What the thread has done is done before what its waiter does next.
bool waited(QThread *thread, bool ended)
{
    if (ended)
        __tsan_acquire(thread);
    return ended;
}

} // namespace

void QMutex::lock()
{
    static const auto original = framework<void (*)(QMutex *)>("_ZN6QMutex4lockEv");
    __tsan_mutex_pre_lock(this, __tsan_mutex_linker_init);
    original(this);
    __tsan_mutex_post_lock(this, __tsan_mutex_linker_init, 0);
}

void QMutex::unlock() noexcept
{
    static const auto original = framework<void (*)(QMutex *)>("_ZN6QMutex6unlockEv");
    __tsan_mutex_pre_unlock(this, 0);
    original(this);
    __tsan_mutex_post_unlock(this, 0);
}

void QThread::start(Priority priority)
{
    static const auto original = framework<void (*)(QThread *, Priority)>("_ZN7QThread5startENS_8PriorityE");
    QObject::connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    original(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto original = framework<bool (*)(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    return waited(this, original(this, deadline));
}

bool QThread::wait(unsigned long milliseconds)
{
    static const auto original = framework<bool (*)(QThread *, unsigned long)>("_ZN7QThread4waitEm");
    return waited(this, original(this, milliseconds));
}
