/**
 * @file
 * Times of the line (which never jump) as times of day.
 */
#ifndef RTU_HOST_WALL_CLOCK_H
#define RTU_HOST_WALL_CLOCK_H

#include <modbus_rtu_host/line.h>

#include <chrono>
#include <string>

namespace rtu {

/** From now on the time of day is this one, since 1970, at the origin of the line's clock, whatever this machine's is. */
void setTimeOfDay(std::chrono::nanoseconds atOrigin);

/** "14:03:07.125" in local time. */
std::string timeOfDay(TimePoint time);

/** "2024-05-17T14:03:07.125+02:00", RFC 3339 in local time. */
std::string timeStamp(TimePoint time);

/** A duration as people read it: "850 us", "12.3 ms", "4.2 s". */
std::string durationText(Duration duration);

double toSeconds(Duration duration);

} // namespace rtu

#endif
