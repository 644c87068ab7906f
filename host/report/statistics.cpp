#include "host/report/statistics.h"

#include "host/text/numbers.h"
#include "host/text/json.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

const Duration RecentTime = std::chrono::seconds(5);

double perSecond(double number, Duration time)
{
    return time > Duration(0) ? number / toSeconds(time) : 0.0;
}

std::string countsLine(const std::string &name, const StationStatistics &c)
{
    std::string text = name + ": " + std::to_string(c.frames) + " frames, " + std::to_string(c.good) + " good, "
                       + std::to_string(c.resends) + " resent, " + std::to_string(c.giveUps) + " given up ("
                       + std::to_string(c.timeouts) + " time-outs, " + std::to_string(c.exceptions) + " exceptions, "
                       + std::to_string(c.damaged) + " damaged)";
    if (c.replyMedian > Duration(0))
        text += ", reply " + durationText(c.replyMedian) + " median, " + durationText(c.reply95) + " 95 %";
    if (c.foreign > 0)
        text += ", " + std::to_string(c.foreign) + " replies to other requests";
    return text;
}

double toMilliseconds(Duration duration)
{
    return 1e3 * toSeconds(duration);
}

Json countsJson(const StationStatistics &c)
{
    return {{"frames", c.frames},
            {"good", c.good},
            {"resent", c.resends},
            {"given_up", c.giveUps},
            {"timeouts", c.timeouts},
            {"exceptions", c.exceptions},
            {"damaged", c.damaged},
            {"foreign", c.foreign},
            {"reply_median_ms", jsonNumber(toMilliseconds(c.replyMedian), 3)},
            {"reply_p95_ms", jsonNumber(toMilliseconds(c.reply95), 3)}};
}

double meanRate(const LinkStatistics &statistics)
{
    return perSecond(static_cast<double>(statistics.total.frames), statistics.elapsed);
}

} // namespace

std::string trafficText(const LinkStatistics &statistics)
{
    const StationStatistics &c = statistics.total;
    const std::uint64_t errors = c.timeouts + c.exceptions + c.damaged + c.foreign;
    return std::to_string(c.frames) + (c.frames == 1 ? " frame sent, " : " frames sent, ")
           + std::to_string(c.good + c.exceptions) + " answered, " + std::to_string(errors)
           + (errors == 1 ? " error" : " errors");
}

std::vector<std::string> statisticsLines(const LinkStatistics &statistics)
{
    std::vector<std::string> lines;
    lines.push_back(countsLine("line", statistics.total));
    lines.push_back("line: " + fixed(meanRate(statistics), 1) + " frames a second, "
                    + fixed(100 * statistics.total.share, 1) + " % of the line in use");
    for (const auto &station : statistics.stations)
        lines.push_back(countsLine("station " + std::to_string(station.first), station.second));
    return lines;
}

std::string statisticsJson(const LinkStatistics &statistics)
{
    Json stations = Json::array();
    for (const auto &each : statistics.stations) {
        Json station = {{"station", each.first}};
        station.update(countsJson(each.second));
        stations.push_back(station);
    }
    Json all = countsJson(statistics.total);
    all["frames_per_second"] = jsonNumber(meanRate(statistics), 2);
    all["line_share"] = jsonNumber(statistics.total.share, 4);
    all["stations"] = stations;
    return jsonText({{"statistics", all}});
}

void RecentRates::add(Duration elapsed, const StationStatistics &counts)
{
    m_samples.push_back(Sample{elapsed, counts.frames, counts.busy});
    while (m_samples.size() > 2 && m_samples[1].elapsed < elapsed - RecentTime)
        m_samples.pop_front();
}

double RecentRates::framesPerSecond() const
{
    const Sample first = m_samples.front();
    const Sample last = m_samples.back();
    return perSecond(static_cast<double>(last.frames - first.frames), last.elapsed - first.elapsed);
}

double RecentRates::lineShare() const
{
    const Sample first = m_samples.front();
    const Sample last = m_samples.back();
    // The frame under way at the first sample is counted whole, when it ends: a line without a pause would be over 1.
    return std::min(1.0, perSecond(toSeconds(last.busy - first.busy), last.elapsed - first.elapsed));
}

} // namespace rtu
