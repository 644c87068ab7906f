/**
 * @file
 * What a line did, and each of its stations.
 */
#ifndef MODBUS_RTU_HOST_STATISTICS_H
#define MODBUS_RTU_HOST_STATISTICS_H

#include <modbus_rtu_host/line.h>

#include <cstdint>
#include <map>

namespace rtu {

/** Frames and replies since the link was made. Percentiles are over the last 1024 samples. */
struct StationStatistics
{
    std::uint64_t frames = 0;  ///< sent, resends included
    std::uint64_t resends = 0; ///< sent again after a bad or missing reply
    std::uint64_t good = 0;
    std::uint64_t exceptions = 0;
    std::uint64_t timeouts = 0; ///< not one byte came
    std::uint64_t damaged = 0;  ///< length or check sum wrong
    std::uint64_t foreign = 0;  ///< whole replies that belong to another request
    std::uint64_t giveUps = 0;  ///< requests given up after a frame on the line
    std::uint64_t strayBytes = 0;
    Duration replyMedian{0}; ///< end of request to end of reply
    Duration reply95{0};
    Duration ageMedian{0}; ///< of values just before they were read again
    Duration age95{0};
    Duration busy{0};    ///< the line was taken: silence, request, waiting and reply
    bool silent = false; ///< given up until it answers again

    /** Share of the line since the start, 0 to 1. */
    double share = 0.0;
};

struct LinkStatistics
{
    StationStatistics total;                   ///< of all stations together
    std::map<int, StationStatistics> stations; ///< by station
    std::uint64_t failedCallbacks = 0;         ///< that threw
    Duration elapsed{0};
};

} // namespace rtu

#endif
