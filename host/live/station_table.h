/**
 * @file
 * The table of stations: which answer, what each costs the line, and how it fares.
 */
#ifndef RTU_HOST_STATION_TABLE_H
#define RTU_HOST_STATION_TABLE_H

#include "host/live/live_screen.h"

#include <modbus_rtu_host/statistics.h>

namespace rtu {

struct StationRow
{
    int station = 0;
    bool alive = false;
    double share = 0.0; ///< of the line, in the last seconds
    StationStatistics counts;
};

/** As many columns as fit; share and reply time stay longest. */
std::string stationHeader(int columns);
ScreenLine stationLine(const StationRow &row, int columns);

/** Median and 95th percentile: "12.3/45.6 ms", "850 us/12.3 ms". */
std::string pairText(Duration median, Duration percentile95);

} // namespace rtu

#endif
