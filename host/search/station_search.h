/**
 * @file
 * Finds out who answers on a line, and with which line parameters. Only reads are sent.
 */
#ifndef RTU_HOST_SEARCH_STATION_SEARCH_H
#define RTU_HOST_SEARCH_STATION_SEARCH_H

#include "host/search/late_replies.h"
#include "host/search/line_asker.h"
#include "host/search/line_cause.h"

#include <modbus_rtu_host/line_parameters.h>

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace rtu {

struct SearchSettings
{
    std::vector<LineParameters> parameters; ///< in the order in which they are tried
    std::vector<int> stations;              ///< in the order in which they are asked
    Duration replyTimeout = std::chrono::milliseconds(200);
};

/** The parameters in use in the field, the likeliest first: 32 of them, or four at each of these rates. */
std::vector<LineParameters> usualParameters(const std::vector<int> &bauds = std::vector<int>());

struct FoundStation
{
    int station = 0;
    LineParameters parameters;
    std::string answer;    ///< in words: "register 1 is 17", "exception 2"
    Duration replyTime{0}; ///< from the end of the request to the first byte
};

struct SearchProgress
{
    int asked = 0; ///< requests so far
    int most = 0;  ///< requests when nobody answers
    Duration left{0};
    LineParameters parameters; ///< now
    int station = 0;           ///< now
};

class StationSearch
{
public:
    /** Opens the port with other parameters; nullptr: it does not take them. */
    using OpenLine = std::function<std::unique_ptr<Line>(const LineParameters &)>;

    StationSearch(const SearchSettings &settings, OpenLine open);

    void onFound(std::function<void(const FoundStation &)> listener) { m_onFound = std::move(listener); }
    void onProgress(std::function<void(const SearchProgress &)> listener) { m_onProgress = std::move(listener); }

    /**
     * Asks the likeliest stations with all parameters first, then the others. As soon
     * as one has answered, the rest is asked with its parameters alone: all stations of
     * a line share them. Where a station turns out to be slower than the time-out, it
     * is asked again, and those behind it, with a longer one.
     *
     * @return how many were found
     */
    int run();
    /** Ends the search before the next request. From any thread. */
    void stop() { m_stopping = true; }

    const LineSigns &signs() const { return m_signs; }
    /** Why not all were asked, or why nobody answered, as far as it can be told. */
    Cause cause() const;

private:
    struct Group
    {
        std::size_t first; ///< in m_settings.stations
        std::size_t end;
    };

    std::vector<Group> groups() const;
    bool askGroup(const LineParameters &parameters, const Group &group);
    std::size_t askNext(LineAsker &asker, const LineParameters &parameters, const Group &group, std::size_t place);
    std::size_t goBack(LineAsker &asker, const LineParameters &parameters, const Group &group, const Transaction &late,
                       const Transaction &earlier);
    void tell(const Transaction &answer, const LineParameters &parameters);
    int found() const { return static_cast<int>(m_found.size()); }
    void report(const LineParameters &parameters, const Group &group, std::size_t place);
    Duration timeOf(const LineParameters &parameters, std::size_t stations) const;
    bool over() const { return m_stopping || m_lost; }
    bool endsEarly();

    const SearchSettings m_settings;
    const OpenLine m_open;
    std::function<void(const FoundStation &)> m_onFound;
    std::function<void(const SearchProgress &)> m_onProgress;
    std::atomic<bool> m_stopping{false};
    bool m_lost = false;
    bool m_cutShort = false; ///< some were not asked
    Duration m_patience;     ///< for the stations of the line
    LateReplies m_lateReplies;
    LineSigns m_signs;
    SearchProgress m_progress;
    std::set<int> m_found; ///< stations
    int m_opened = 0;
};

} // namespace rtu

#endif
