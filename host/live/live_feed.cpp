#include "host/live/live_feed.h"

#include "host/report/line_recorder.h"
#include "kit/poll/request_end.h"

#include <algorithm>

namespace rtu {

LiveFeed::LiveFeed(Link &link, Line &line, const std::vector<TagRange> &tags)
    : m_link(link)
    , m_board(link, line, tags)
    , m_shown(tags)
    , m_history(tags)
{
    link.onTransaction([this](const Transaction &transaction) { add(transaction); });
    link.onPort([this](bool open) { setPort(open); });
}

void LiveFeed::add(const Transaction &transaction)
{
    const std::vector<TraceLine> lines = traceLines(transaction);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_trace.insert(m_trace.end(), lines.begin(), lines.end());
    while (m_trace.size() > Kept)
        m_trace.pop_front();
    if (transaction.end != ReplyEnd::NoneExpected)
        m_alive[transaction.station] = !transaction.reply.isEmpty();
    if (transaction.good() && transaction.isRead && transaction.tag != static_cast<int>(Source::Write))
        noteReadings(transaction);
}

void LiveFeed::noteReadings(const Transaction &transaction)
{
    const Area area = areaOf(transaction.station, transaction.regType, transaction.startAddr, transaction.count);
    for (std::size_t tag = 0; tag < m_board.tags().size(); ++tag) {
        const ValueSpan span = valuesIn(m_board.tags()[tag], area);
        if (span.count == 0)
            continue;
        const std::vector<std::uint32_t> raw = m_board.handle(tag).value().raw();
        for (int value = span.first; value < span.end(); ++value)
            m_history.add(tag, value, Reading{transaction.finished, raw[static_cast<std::size_t>(value)]});
    }
}

std::vector<Reading> LiveFeed::readings(std::size_t tag, int value) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_history.readings(tag, value);
}

void LiveFeed::noteEnd(const std::string &text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_news = text;
}

void LiveFeed::remark(const std::string &remark)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_remark = remark;
}

std::string LiveFeed::takeRemark()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string remark;
    remark.swap(m_remark);
    return remark;
}

void LiveFeed::setPort(bool open)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_portOpen = open;
}

bool LiveFeed::portOpen() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_portOpen;
}

std::vector<TraceLine> LiveFeed::trace(std::size_t most) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t count = std::min(most, m_trace.size());
    return std::vector<TraceLine>(m_trace.end() - static_cast<std::ptrdiff_t>(count), m_trace.end());
}

bool LiveFeed::alive(int station) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_alive.find(station);
    return found != m_alive.end() && found->second;
}

std::string LiveFeed::takeNews()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string news;
    news.swap(m_news);
    return news;
}

} // namespace rtu
