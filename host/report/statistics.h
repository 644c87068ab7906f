/**
 * @file
 * What a line did, in words and as JSON.
 */
#ifndef RTU_HOST_STATISTICS_H
#define RTU_HOST_STATISTICS_H

#include <modbus_rtu_host/statistics.h>

#include <deque>
#include <string>
#include <vector>

namespace rtu {

/** "12 frames sent, 11 answered, 1 error" */
std::string trafficText(const LinkStatistics &statistics);

/** The summary for people, one line each. */
std::vector<std::string> statisticsLines(const LinkStatistics &statistics);

/** The same as one JSON object. */
std::string statisticsJson(const LinkStatistics &statistics);

/** Rates over the last seconds, from the statistics as they were at several times. */
class RecentRates
{
public:
    void add(const LinkStatistics &statistics) { add(statistics.elapsed, statistics.total); }
    /** @param counts of the line, or of one station */
    void add(Duration elapsed, const StationStatistics &counts);

    double framesPerSecond() const;
    /** Share of the line that was taken, 0 to 1. */
    double lineShare() const;

private:
    struct Sample
    {
        Duration elapsed;
        std::uint64_t frames;
        Duration busy;
    };

    std::deque<Sample> m_samples{Sample{Duration(0), 0, Duration(0)}};
};

} // namespace rtu

#endif
