/**
 * @file
 * What one station needs otherwise than the rest of its line.
 */
#ifndef MODBUS_RTU_HOST_STATION_SETTINGS_H
#define MODBUS_RTU_HOST_STATION_SETTINGS_H

#include <modbus_rtu_host/line.h>

namespace rtu {

/** Below 0: as the link has it. */
struct StationSettings
{
    Duration silence{-1};      ///< quiet time before a frame to it
    Duration replyTimeout{-1}; ///< from the end of the request to the first byte; never 0
};

} // namespace rtu

#endif
