#include "host/listen/heard_statistics.h"

#include "host/text/json.h"
#include "host/text/numbers.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

double toMilliseconds(Duration duration)
{
    return 1e3 * toSeconds(duration);
}

} // namespace

template <typename Change>
void HeardStatistics::change(const Transaction &t, const Change &changeCounts)
{
    // An adapter may hand a whole request over at once: when it began follows from its length.
    const TimePoint begin =
        std::min(t.sent, t.requestEnd - m_timing.characters(static_cast<std::size_t>(t.request.size())));
    const bool first = m_total.requests == 0;
    m_begin = first ? begin : m_begin;
    m_end = first ? t.finished : std::max(m_end, t.finished);
    for (Counts *counts : {&m_total, &m_stations[t.station]}) {
        ++counts->requests;
        counts->busy += t.finished - begin;
        changeCounts(*counts);
    }
}

void HeardStatistics::note(const Transaction &t)
{
    change(t, [&t](Counts &counts) {
        ++(t.kind == ReplyKind::Good        ? counts.good
           : t.kind == ReplyKind::Exception ? counts.exceptions
                                            : counts.silent);
        if (!t.reply.isEmpty())
            counts.reply.add(t.firstByte - t.requestEnd);
    });
}

void HeardStatistics::noteOpen(const Transaction &request)
{
    change(request, [](Counts &counts) { ++counts.open; });
}

double HeardStatistics::shareOf(const Counts &counts) const
{
    const double elapsed = toSeconds(m_end - m_begin);
    return elapsed > 0 ? std::min(1.0, toSeconds(counts.busy) / elapsed) : 0.0;
}

std::string HeardStatistics::Counts::text() const
{
    return std::to_string(good) + " good, " + quantity(exceptions, "exception") + ", " + std::to_string(silent)
           + " without a reply";
}

std::string HeardStatistics::lineOf(const std::string &name, const Counts &counts) const
{
    std::string text = name + ": " + quantity(counts.requests, "request") + ", " + counts.text();
    if (counts.open > 0)
        text += ", " + std::to_string(counts.open) + " still open";
    if (!counts.reply.empty())
        text += ", reply " + durationText(counts.reply.median()) + " median, "
                + durationText(counts.reply.percentile95()) + " 95 %";
    return text + ", " + fixed(100 * shareOf(counts), 1) + " % of the line";
}

std::vector<std::string> HeardStatistics::lines() const
{
    std::vector<std::string> lines;
    lines.push_back(lineOf("line", m_total));
    for (const auto &station : m_stations)
        lines.push_back(lineOf("station " + std::to_string(station.first), station.second));
    return lines;
}

std::string HeardStatistics::json() const
{
    const auto countsJson = [this](const Counts &counts) -> Json {
        const auto milliseconds = [&counts](Duration duration) {
            return counts.reply.empty() ? Json() : jsonNumber(toMilliseconds(duration), 3);
        };
        return {{"requests", counts.requests},
                {"good", counts.good},
                {"exceptions", counts.exceptions},
                {"silent", counts.silent},
                {"open", counts.open},
                {"reply_median_ms", milliseconds(counts.reply.median())},
                {"reply_p95_ms", milliseconds(counts.reply.percentile95())},
                {"line_share", jsonNumber(shareOf(counts), 4)}};
    };
    Json stations = Json::array();
    for (const auto &each : m_stations) {
        Json station = {{"station", each.first}};
        station.update(countsJson(each.second));
        stations.push_back(station);
    }
    Json all = countsJson(m_total);
    all["seconds"] = jsonNumber(toSeconds(m_end - m_begin), 3);
    all["stations"] = stations;
    return jsonText({{"statistics", all}});
}

} // namespace rtu
