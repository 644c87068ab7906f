/**
 * @file
 * Counts and times of a link, whole and by station.
 */
#ifndef KIT_LINK_LINE_RECORD_H
#define KIT_LINK_LINE_RECORD_H

#include "kit/link/quantiles.h"
#include "kit/poll/request_end.h"

#include <modbus_rtu_host/statistics.h>

#include <map>
#include <tuple>

namespace rtu {

/** The caller guards it. */
class LineRecord
{
public:
    explicit LineRecord(TimePoint start) : m_start(start), m_busyUntil(start) {}

    /** @param silence kept before the frame */
    void add(const Transaction &transaction, Duration silence);
    /** A cyclic read brought values. */
    void refreshed(const Area &area, TimePoint when);
    /** A tag of this area is no longer read: how long ago that was says nothing about the next one there. */
    void unwatched(const Area &area) { m_read.erase(Block(area.station, area.table, area.first)); }
    void setSilent(int station, bool silent) { m_stations[station].counts.silent = silent; }
    void callbackFailed(int times) { m_failedCallbacks += static_cast<std::uint64_t>(times); }

    LinkStatistics statistics(TimePoint now) const;

private:
    struct Entry
    {
        StationStatistics counts;
        Quantiles reply;
        Quantiles age;
    };
    using Block = std::tuple<int, char, int>;

    static void count(Entry &entry, const Transaction &transaction, Duration busy);
    static StationStatistics summary(const Entry &entry, Duration elapsed);

    TimePoint m_start;
    TimePoint m_busyUntil; ///< the end of what was counted last
    Entry m_total;
    std::map<int, Entry> m_stations;
    std::map<Block, TimePoint> m_read; ///< by station, table and first address: the last good read
    std::uint64_t m_failedCallbacks = 0;
};

} // namespace rtu

#endif
