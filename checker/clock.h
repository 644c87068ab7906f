/**
 * @file
 * The time by which the checker judges haste and stalls.
 */
#ifndef CHECKER_CLOCK_H
#define CHECKER_CLOCK_H

#include <chrono>

namespace checker {

typedef std::chrono::steady_clock Clock;
typedef Clock::time_point TimePoint;
typedef std::chrono::milliseconds Milliseconds;

/** The time; tests put a clock of their own here before the checker is used. */
extern TimePoint (*now)();

} // namespace checker

#endif
