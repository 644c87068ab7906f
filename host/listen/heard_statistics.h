/**
 * @file
 * What each station was asked, what it answered and how soon, and its share of the line.
 */
#ifndef RTU_HOST_LISTEN_HEARD_STATISTICS_H
#define RTU_HOST_LISTEN_HEARD_STATISTICS_H

#include "kit/line/line_timing.h"
#include "kit/link/quantiles.h"

#include <modbus_rtu_host/transaction.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace rtu {

class HeardStatistics
{
public:
    struct Counts
    {
        std::uint64_t requests = 0;
        std::uint64_t good = 0; ///< broadcasts too, which nobody answers
        std::uint64_t exceptions = 0;
        std::uint64_t silent = 0;
        std::uint64_t open = 0;
        Quantiles reply;  ///< end of request to first byte of reply
        Duration busy{0}; ///< request, waiting and reply

        /** "118 good, 1 exception, 1 without a reply" */
        std::string text() const;
    };

    /** @param timing of the line, without pace where it is not known: times are those of arrival then */
    explicit HeardStatistics(const LineTiming &timing = LineTiming()) : m_timing(timing) {}

    void note(const Transaction &transaction);
    void noteOpen(const Transaction &request);

    /** Of all stations together. */
    const Counts &total() const { return m_total; }
    /** The summary for people, a line for all and one for each station. */
    std::vector<std::string> lines() const;
    /** The same as one JSON object. */
    std::string json() const;

private:
    template <typename Change>
    void change(const Transaction &transaction, const Change &changeCounts);
    double shareOf(const Counts &counts) const;
    std::string lineOf(const std::string &name, const Counts &counts) const;

    const LineTiming m_timing;
    Counts m_total;
    std::map<int, Counts> m_stations;
    TimePoint m_begin; ///< of the first request
    TimePoint m_end;   ///< of what was heard last
};

} // namespace rtu

#endif
