/**
 * @file
 * What the line did: counts, rates and reply times, for the whole line and for
 * each station.
 */
#ifndef RTU_HOST_STATISTICS_H
#define RTU_HOST_STATISTICS_H

#include "kit/line/line_timing.h"
#include "kit/link/quantiles.h"
#include <modbus_rtu_host/transaction.h>

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace rtu {

struct Counts
{
    std::uint64_t frames = 0; ///< sent, resends included
    std::uint64_t good = 0;
    std::uint64_t resends = 0; ///< frames sent again after a bad or missing reply
    std::uint64_t giveUps = 0;
    std::uint64_t timeouts = 0;   ///< frames without one byte of reply
    std::uint64_t exceptions = 0; ///< exception replies
    std::uint64_t damaged = 0;    ///< other replies that the driver refused
    std::uint64_t warnings = 0;   ///< accepted replies that do not fit the request
    std::uint64_t strayBytes = 0;
    Quantiles replyTime; ///< end of request to end of reply
};

class Statistics
{
public:
    explicit Statistics(const LineTiming &timing, TimePoint start);

    void add(const Transaction &transaction);

    /** Copies, for other threads than the polling one. */
    Counts total() const;
    std::map<int, Counts> stations() const;

    /** Frames a second and share of the line taken by characters, over the last seconds. */
    double framesPerSecond(TimePoint now) const;
    double lineShare(TimePoint now) const;

    /** The same since the start. */
    double meanFramesPerSecond(TimePoint now) const;
    double meanLineShare(TimePoint now) const;

private:
    struct Recent
    {
        TimePoint time;
        Duration busy;
    };

    void addRecent(const Transaction &transaction);
    Duration window(TimePoint now) const;

    LineTiming m_timing;
    TimePoint m_start;
    mutable std::mutex m_mutex;
    Counts m_total;
    std::map<int, Counts> m_stations;
    std::deque<Recent> m_recent;
    Duration m_busy{0};
};

/** The summary for people, one line each. */
std::vector<std::string> statisticsLines(const Statistics &statistics, TimePoint now);

/** The same as one JSON object. */
std::string statisticsJson(const Statistics &statistics, TimePoint now);

} // namespace rtu

#endif
