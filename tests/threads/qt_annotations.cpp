// Qt 5 comes as a library that the thread sanitizer has not instrumented, so the
// sanitizer misses two ways in which Qt orders what threads do: QMutex, which is
// a futex there, and the reference count that QString's assignment works on.
// Both are put in front of the library's own here. The mutex functions tell the
// sanitizer what they do and call the original; the assignment is Qt's, compiled
// where the sanitizer sees it.
//
// Nothing is suppressed: what a thread touches without the mutex is still
// reported, and so is a lock order that may deadlock. Qt 6 needs neither; its
// headers tell the sanitizer about mutexes, and its assignment is inline.

#include <QtCore/QMutex>
#include <QtCore/QString>

#if defined(__SANITIZE_THREAD__)
#define UNDER_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define UNDER_THREAD_SANITIZER
#endif
#endif

#if defined(UNDER_THREAD_SANITIZER) && QT_VERSION < 0x060000

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

typedef void (*MutexOperation)(QMutex *);
typedef bool (*MutexAttempt)(QMutex *, int);

template <typename Operation>
Operation qtOperation(const char *symbol)
{
    return reinterpret_cast<Operation>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const MutexOperation original = qtOperation<MutexOperation>("_ZN6QMutex4lockEv");
    __tsan_mutex_pre_lock(this, 0);
    original(this);
    __tsan_mutex_post_lock(this, 0, 0);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const MutexAttempt original = qtOperation<MutexAttempt>("_ZN6QMutex7tryLockEi");
    __tsan_mutex_pre_lock(this, __tsan_mutex_try_lock);
    const bool locked = original(this, timeout);
    __tsan_mutex_post_lock(this, locked ? __tsan_mutex_try_lock : __tsan_mutex_try_lock_failed, 0);
    return locked;
}

void QMutex::unlock() noexcept
{
    static const MutexOperation original = qtOperation<MutexOperation>("_ZN6QMutex6unlockEv");
    __tsan_mutex_pre_unlock(this, 0);
    original(this);
    __tsan_mutex_post_unlock(this, 0);
}

QString &QString::operator=(const QString &other) noexcept
{
    other.d->ref.ref();
    if (!d->ref.deref())
        Data::deallocate(d);
    d = other.d;
    return *this;
}

#endif
