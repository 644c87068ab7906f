/**
 * @file
 * The system's waits, in this program without waiting: what they are asked for is written down.
 */
#ifndef TESTS_KIT_SYSTEM_WAITS_H
#define TESTS_KIT_SYSTEM_WAITS_H

#include "kit/modbus_rtu_host/line.h"

#include <time.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace test_line {

struct SystemWait
{
    timespec time; ///< how long for an event, until when asleep
    std::size_t descriptors;
    rtu::TimePoint asked; ///< when the system was asked
};

struct SystemWaits
{
    std::vector<SystemWait> awaits; ///< of an event; one that is there already is found
    std::vector<SystemWait> sleeps;
    std::function<void()> sleeping; ///< called in each sleep
};

extern SystemWaits systemWaits;

} // namespace test_line

#endif
