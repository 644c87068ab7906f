#include "kit/link/line_record.h"

#include <algorithm>

namespace rtu {

void LineRecord::count(Entry &entry, const Transaction &t, Duration busy)
{
    StationStatistics &counts = entry.counts;
    ++counts.frames;
    counts.strayBytes += t.strayBytes;
    counts.busy += busy;
    if (t.attempt > 1)
        ++counts.resends;
    if (t.verdict == VerdictGivenUp)
        ++counts.giveUps;
    switch (t.kind) {
    case ReplyKind::Good:
        ++counts.good;
        if (t.end != ReplyEnd::NoneExpected)
            entry.reply.add(t.finished - t.requestEnd);
        break;
    case ReplyKind::Exception:
        ++counts.exceptions;
        break;
    case ReplyKind::Damaged:
        ++counts.damaged;
        break;
    case ReplyKind::Foreign:
        ++counts.foreign;
        break;
    default:
        ++counts.timeouts;
    }
}

void LineRecord::add(const Transaction &t, Duration silence)
{
    // The first frame finds a line that has been silent since before the record began.
    const TimePoint from = std::max(t.sent - silence, m_busyUntil);
    m_busyUntil = std::max(t.finished, t.requestEnd);
    const Duration busy = m_busyUntil - from;
    count(m_total, t, busy);
    count(m_stations[t.station], t, busy);
}

void LineRecord::refreshed(const Area &area, TimePoint when)
{
    TimePoint &last = m_read[Block(area.station, area.table, area.first)];
    if (last != TimePoint()) {
        m_total.age.add(when - last);
        m_stations[area.station].age.add(when - last);
    }
    last = when;
}

StationStatistics LineRecord::summary(const Entry &entry, Duration elapsed)
{
    StationStatistics result = entry.counts;
    result.replyMedian = entry.reply.median();
    result.reply95 = entry.reply.percentile95();
    result.ageMedian = entry.age.median();
    result.age95 = entry.age.percentile95();
    if (elapsed > Duration(0))
        result.share = static_cast<double>(result.busy.count()) / static_cast<double>(elapsed.count());
    return result;
}

LinkStatistics LineRecord::statistics(TimePoint now) const
{
    LinkStatistics result;
    result.elapsed = now - m_start;
    result.failedCallbacks = m_failedCallbacks;
    const Duration counted = std::max(now, m_busyUntil) - m_start; // a lost port leaves a request in the middle
    result.total = summary(m_total, counted);
    for (const auto &entry : m_stations)
        result.stations[entry.first] = summary(entry.second, counted);
    return result;
}

} // namespace rtu
