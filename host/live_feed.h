/**
 * @file
 * What the polling thread tells the live view, kept for whenever it draws.
 */
#ifndef RTU_HOST_LIVE_FEED_H
#define RTU_HOST_LIVE_FEED_H

#include "statistics.h"
#include "tag_states.h"
#include "trace.h"

#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace rtu {

class LiveFeed
{
public:
    LiveFeed(const std::vector<TagRange> &tags, int maxWords, const LineTiming &timing, TimePoint start)
        : m_tags(tags)
        , m_states(tags, maxWords)
        , m_statistics(timing, start)
    {
    }

    /** On the polling thread. */
    void add(const Transaction &transaction, int writeTag);
    void add(const ValueChange &change, TimePoint when) { m_states.add(change, when); }
    void setPort(bool open);

    const std::vector<TagRange> &tags() const { return m_tags; }
    const TagStates &states() const { return m_states; }
    const Statistics &statistics() const { return m_statistics; }
    bool portOpen() const;

    /** The latest lines, oldest first. */
    std::vector<TraceLine> trace(std::size_t most) const;

    /** Whether the station has answered its last request. */
    bool alive(int station) const;

    /** The outcome of the last write, once; empty when there is no news. */
    std::string takeNews();

private:
    enum { Kept = 1000 };

    void noteWrite(const Transaction &transaction);

    std::vector<TagRange> m_tags;
    TagStates m_states;
    Statistics m_statistics;
    mutable std::mutex m_mutex;
    std::deque<TraceLine> m_trace;
    std::map<int, bool> m_alive;
    std::string m_news;
    bool m_portOpen = true;
};

} // namespace rtu

#endif
