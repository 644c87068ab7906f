/**
 * @file
 * What the heap holds, in whichever way the build can tell.
 */
#ifndef ALLOCATED_BYTES_H
#define ALLOCATED_BYTES_H

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define COUNTED_BY_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define COUNTED_BY_SANITIZER 1
#endif
#endif

#ifdef COUNTED_BY_SANITIZER
// Not every compiler ships the sanitizer's headers with these functions.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
extern "C" int __lsan_do_recoverable_leak_check();

inline std::size_t allocatedBytes()
{
    return __sanitizer_get_current_allocated_bytes();
}

/** True when something on the heap is out of reach of the program. */
inline bool hasLeaks()
{
    return __lsan_do_recoverable_leak_check() != 0;
}

/**
 * The sanitizer adds an entry of its own to the C library's list of exit
 * functions for every static object, and never takes it away again.
 */
const long bookkeepingPerLoad = 512;
#else
#include <malloc.h>

inline std::size_t allocatedBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

inline bool hasLeaks()
{
    return false; // only the sanitizer can tell; the growth of the heap tells here
}

const long bookkeepingPerLoad = 0;
#endif

#endif
