/**
 * @file
 * What the polling thread tells the live view, kept for whenever it draws.
 */
#ifndef RTU_HOST_LIVE_FEED_H
#define RTU_HOST_LIVE_FEED_H

#include "host/live/value_history.h"
#include "host/report/statistics.h"
#include "host/report/tag_board.h"
#include "host/report/trace.h"

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace rtu {

class LiveFeed
{
public:
    /** Has the link watch the tags and tell of what it does. Made before it runs. */
    LiveFeed(Link &link, Line &line, const std::vector<TagRange> &tags);

    const TagBoard &board() const { return m_board; }
    /** As they are shown: with the formats that the user has chosen. Of the thread that draws alone. */
    const std::vector<TagRange> &tags() const { return m_shown; }
    void setFormat(std::size_t tag, Format format) { m_shown[tag].format.format = format; }
    /** The latest, oldest first. */
    std::vector<Reading> readings(std::size_t tag, int value) const;
    LinkStatistics statistics() const { return m_link.statistics(); }
    bool portOpen() const;

    /** The latest lines, oldest first. */
    std::vector<TraceLine> trace(std::size_t most) const;

    /** Whether the station has answered its last request. */
    bool alive(int station) const;

    /** The outcome of the last write, once; empty when there is no news. */
    std::string takeNews();
    /** From any thread: what the user should know, and what can wait for a free line. */
    void remark(const std::string &remark);
    /** The last one, once; empty when there is none. */
    std::string takeRemark();
    /** From any thread: how a write ended, in words. */
    void noteEnd(const std::string &text);

private:
    enum { Kept = 1000 };

    void add(const Transaction &transaction);
    void noteReadings(const Transaction &transaction);
    void setPort(bool open);

    Link &m_link;
    TagBoard m_board;
    std::vector<TagRange> m_shown;
    mutable std::mutex m_mutex;
    ValueHistory m_history; ///< guarded, as what follows
    std::deque<TraceLine> m_trace;
    std::map<int, bool> m_alive;
    std::string m_news;
    std::string m_remark;
    bool m_portOpen = true;
};

} // namespace rtu

#endif
