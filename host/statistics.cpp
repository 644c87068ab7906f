#include "statistics.h"

#include "wall_clock.h"

#include <algorithm>
#include <cstdio>

namespace rtu {

namespace {

const Duration RecentTime = std::chrono::seconds(5);

void count(Counts &counts, const Transaction &t)
{
    ++counts.frames;
    counts.strayBytes += t.strayBytes;
    if (t.attempt > 1)
        ++counts.resends;
    if (t.verdict == VerdictGivenUp)
        ++counts.giveUps;
    if (!t.warning.isEmpty())
        ++counts.warnings;
    if (t.good()) {
        ++counts.good;
        if (t.end != ReplyEnd::NoneExpected)
            counts.replyTime.add(t.finished - t.requestEnd);
    } else if (t.end == ReplyEnd::TimedOut || t.end == ReplyEnd::PortLost) {
        ++counts.timeouts;
    } else if (t.end == ReplyEnd::Exception) {
        ++counts.exceptions;
    } else {
        ++counts.damaged;
    }
}

double share(Duration part, Duration whole)
{
    return whole > Duration(0) ? toSeconds(part) / toSeconds(whole) : 0.0;
}

std::string fixed(double number, int digits)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", digits, number);
    return text;
}

std::string countsLine(const std::string &name, const Counts &c)
{
    std::string text = name + ": " + std::to_string(c.frames) + " frames, " + std::to_string(c.good) + " good, "
                       + std::to_string(c.resends) + " resent, " + std::to_string(c.giveUps) + " given up ("
                       + std::to_string(c.timeouts) + " time-outs, " + std::to_string(c.exceptions) + " exceptions, "
                       + std::to_string(c.damaged) + " damaged)";
    if (!c.replyTime.empty())
        text += ", reply " + durationText(c.replyTime.median()) + " median, " + durationText(c.replyTime.percentile95())
                + " 95 %";
    if (c.warnings > 0)
        text += ", " + std::to_string(c.warnings) + " accepted with a warning";
    return text;
}

std::string countsJson(const Counts &c)
{
    return "\"frames\":" + std::to_string(c.frames) + ",\"good\":" + std::to_string(c.good)
           + ",\"resent\":" + std::to_string(c.resends) + ",\"given_up\":" + std::to_string(c.giveUps)
           + ",\"timeouts\":" + std::to_string(c.timeouts) + ",\"exceptions\":" + std::to_string(c.exceptions)
           + ",\"damaged\":" + std::to_string(c.damaged) + ",\"warnings\":" + std::to_string(c.warnings)
           + ",\"reply_median_ms\":" + fixed(1e3 * toSeconds(c.replyTime.median()), 3)
           + ",\"reply_p95_ms\":" + fixed(1e3 * toSeconds(c.replyTime.percentile95()), 3);
}

} // namespace

Statistics::Statistics(const LineTiming &timing, TimePoint start) : m_timing(timing), m_start(start) {}

void Statistics::add(const Transaction &transaction)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    count(m_total, transaction);
    count(m_stations[transaction.station], transaction);
    addRecent(transaction);
}

void Statistics::addRecent(const Transaction &transaction)
{
    const auto bytes = transaction.request.size() + transaction.reply.size();
    const Duration busy = m_timing.characters(static_cast<std::size_t>(bytes));
    m_busy += busy;
    m_recent.push_back(Recent{transaction.finished, busy});
    while (m_recent.front().time < transaction.finished - RecentTime)
        m_recent.pop_front();
}

Counts Statistics::total() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_total;
}

std::map<int, Counts> Statistics::stations() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_stations;
}

Duration Statistics::window(TimePoint now) const
{
    return std::min(RecentTime, now - m_start);
}

double Statistics::framesPerSecond(TimePoint now) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const double seconds = toSeconds(window(now));
    const auto count = std::count_if(m_recent.begin(), m_recent.end(),
                                     [&](const Recent &recent) { return recent.time > now - RecentTime; });
    return seconds > 0 ? static_cast<double>(count) / seconds : 0.0;
}

double Statistics::lineShare(TimePoint now) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Duration busy(0);
    for (const Recent &recent : m_recent) {
        if (recent.time > now - RecentTime)
            busy += recent.busy;
    }
    return share(busy, window(now));
}

double Statistics::meanFramesPerSecond(TimePoint now) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const double seconds = toSeconds(now - m_start);
    return seconds > 0 ? static_cast<double>(m_total.frames) / seconds : 0.0;
}

double Statistics::meanLineShare(TimePoint now) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return share(m_busy, now - m_start);
}

std::vector<std::string> statisticsLines(const Statistics &statistics, TimePoint now)
{
    std::vector<std::string> lines;
    lines.push_back(countsLine("line", statistics.total()));
    lines.push_back("line: " + fixed(statistics.meanFramesPerSecond(now), 1) + " frames a second, "
                    + fixed(100 * statistics.meanLineShare(now), 1) + " % of the line in use");
    for (const auto &station : statistics.stations())
        lines.push_back(countsLine("station " + std::to_string(station.first), station.second));
    return lines;
}

std::string statisticsJson(const Statistics &statistics, TimePoint now)
{
    std::string text = "{\"statistics\":{" + countsJson(statistics.total())
                       + ",\"frames_per_second\":" + fixed(statistics.meanFramesPerSecond(now), 2)
                       + ",\"line_share\":" + fixed(statistics.meanLineShare(now), 4) + ",\"stations\":[";
    const char *separator = "";
    for (const auto &station : statistics.stations()) {
        text += separator + ("{\"station\":" + std::to_string(station.first)) + "," + countsJson(station.second) + "}";
        separator = ",";
    }
    return text + "]}}";
}

} // namespace rtu
