#include "checker/buffers.h"

#include "checker/findings.h"

/** The address sanitizer's own question: the first byte that must not be used, or null. Absent without it. */
extern "C" __attribute__((weak)) void *__asan_region_is_poisoned(void *begin, std::size_t size);

namespace checker {

bool checkBuffer(const void *buffer, std::size_t size, EntryPoint call, const char *argument, Findings &findings)
{
    if (!buffer || size == 0 || !__asan_region_is_poisoned)
        return true;
    const void *bad = __asan_region_is_poisoned(const_cast<void *>(buffer), size);
    if (!bad)
        return true;
    const std::size_t usable =
        static_cast<std::size_t>(static_cast<const char *>(bad) - static_cast<const char *>(buffer));
    findings.report(BufferTooSmall, call, argument,
                    "of " + std::to_string(size) + " bytes only the first " + std::to_string(usable) + " are there");
    return false;
}

} // namespace checker
