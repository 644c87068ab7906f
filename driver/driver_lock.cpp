#include "driver/driver_lock.h"

#include <unistd.h>

DriverMutex driverMutex;

namespace {

/** False where the system has no mutexes with priority inheritance; nothing is made then. */
bool makeInheriting(pthread_mutex_t &mutex)
{
#if defined(_POSIX_THREAD_PRIO_INHERIT) && _POSIX_THREAD_PRIO_INHERIT >= 0
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0)
        return false;
    const bool made = pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT) == 0
                      && pthread_mutex_init(&mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return made;
#else
    static_cast<void>(mutex);
    return false;
#endif
}

} // namespace

DriverMutex::DriverMutex() : held(false)
{
    if (!makeInheriting(mutex))
        pthread_mutex_init(&mutex, nullptr);
}
