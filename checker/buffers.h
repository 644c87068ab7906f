/**
 * @file
 * The host's buffers against their documented extent, where the host runs under
 * the address sanitizer. Nothing is ever written.
 */
#ifndef CHECKER_BUFFERS_H
#define CHECKER_BUFFERS_H

#include "checker/entry_point.h"

#include <cstddef>

namespace checker {

class Findings;

/** False, and told, when some of the @p size bytes from @p buffer on are not the host's to use. */
bool checkBuffer(const void *buffer, std::size_t size, EntryPoint call, const char *argument, Findings &findings);

} // namespace checker

#endif
