// The lock's mutex on a system that gives it no priority inheritance.

#include "driver/driver_lock.h"
#include "threads/waiting_call.h"

#include <gtest/gtest.h>

#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

namespace {

bool refusesAttributes = false;
bool refusesInheritance = false;

template <typename Function>
Function systemsOwn(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// In the place of the C library's.
extern "C" int pthread_mutexattr_init(pthread_mutexattr_t *attributes) noexcept
{
    return refusesAttributes ? ENOMEM
                             : systemsOwn<int (*)(pthread_mutexattr_t *)>("pthread_mutexattr_init")(attributes);
}

extern "C" int pthread_mutexattr_setprotocol(pthread_mutexattr_t *attributes, int protocol) noexcept
{
    if (refusesInheritance)
        return ENOTSUP;
    return systemsOwn<int (*)(pthread_mutexattr_t *, int)>("pthread_mutexattr_setprotocol")(attributes, protocol);
}

namespace {

void expectToLock(DriverMutex &mutex)
{
    EXPECT_FALSE(mutex.isHeld());
    mutex.lock();
    EXPECT_TRUE(mutex.isHeld());
    threads::WaitingCall other([&mutex] {
        mutex.lock();
        mutex.unlock();
    });
    EXPECT_TRUE(other.waits());
    mutex.unlock();
    other.finish();
    EXPECT_FALSE(mutex.isHeld());
}

TEST(DriverLock, IsPlainWhereTheSystemRefusesInheritance)
{
    refusesInheritance = true;
    DriverMutex plain;
    refusesInheritance = false;
    expectToLock(plain);
}

TEST(DriverLock, IsPlainWhereTheSystemHasNoAttributes)
{
    refusesAttributes = true;
    DriverMutex plain;
    refusesAttributes = false;
    expectToLock(plain);
}

} // namespace
