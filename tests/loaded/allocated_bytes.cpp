#include "allocated_bytes.h"

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

std::size_t allocatedBytes()
{
    return __sanitizer_get_current_allocated_bytes();
}

bool hasLeaks()
{
    return __lsan_do_recoverable_leak_check() != 0;
}

std::size_t bookkeeping(std::size_t loads)
{
    // For every static object the sanitizer adds an entry of its own to the C
    // library's list of exit functions and never takes it away again. The list
    // grows by 32 entries at a time.
    const std::size_t perLoad = 512;
    const std::size_t piece = 2 * sizeof(void *) + 32 * 4 * sizeof(void *);
    return (loads * perLoad / piece + 1) * piece;
}

#else

#include <malloc.h>

#include <atomic>
#include <cerrno>

// The C library's own count takes blocks that it keeps for reuse as in use. So the
// program puts counting functions in front of the allocator, for every library.

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *block, std::size_t size);
extern "C" void *__libc_memalign(std::size_t alignment, std::size_t size);
extern "C" void __libc_free(void *block);

namespace {

std::atomic<std::size_t> bytesInUse;

void *counted(void *block)
{
    bytesInUse += ::malloc_usable_size(block);
    return block;
}

void uncount(void *block)
{
    bytesInUse -= ::malloc_usable_size(block);
}

} // namespace

extern "C" void *malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

extern "C" void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

extern "C" void *realloc(void *block, std::size_t size)
{
    const std::size_t before = ::malloc_usable_size(block);
    void *moved = __libc_realloc(block, size);
    if (moved || size == 0)
        bytesInUse -= before;
    return counted(moved);
}

extern "C" void *memalign(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

extern "C" void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

extern "C" int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

extern "C" void free(void *block)
{
    uncount(block);
    __libc_free(block);
}

std::size_t allocatedBytes()
{
    return bytesInUse;
}

bool hasLeaks()
{
    return false;
}

std::size_t bookkeeping(std::size_t)
{
    return 0;
}

#endif
