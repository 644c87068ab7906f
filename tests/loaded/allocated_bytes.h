/**
 * @file
 * What the heap holds, exactly: every block that malloc and its kin handed out
 * and nobody gave back, from whatever library.
 */
#ifndef ALLOCATED_BYTES_H
#define ALLOCATED_BYTES_H

#include <cstddef>

/** Bytes on the heap. */
std::size_t allocatedBytes();

/** True when something on the heap is out of reach of the program, where a sanitizer can tell. */
bool hasLeaks();

/** Bytes by which a sanitizer itself may grow with @p loads loads of a library; 0 without one. */
std::size_t bookkeeping(std::size_t loads);

#endif
