#include "host/search/station_search.h"

#include "kit/line/frame_bytes.h"
#include "kit/line/line_timing.h"

#include <algorithm>

namespace rtu {

namespace {

/** Where the first group of stations ends, and the next. Most devices keep the address they came with. */
const std::size_t GroupEnds[] = {1, 10, 247};

std::string answerOf(const Transaction &t)
{
    if (t.kind == ReplyKind::Exception)
        return "exception " + std::to_string(t.exceptionCode);
    return "register 1 is " + std::to_string(wordAt(t.reply, 3));
}

} // namespace

std::vector<LineParameters> usualParameters(const std::vector<int> &bauds)
{
    const std::vector<int> usual = {19200, 9600, 115200, 38400, 57600, 4800, 2400, 1200};
    std::vector<LineParameters> all;
    struct Character
    {
        char parity;
        int stopBits;
    };
    for (int baud : bauds.empty() ? usual : bauds) {
        for (const Character &character :
             {Character{'E', 1}, Character{'N', 1}, Character{'N', 2}, Character{'O', 1}}) {
            LineParameters parameters;
            parameters.baud = baud;
            parameters.parity = character.parity;
            parameters.stopBits = character.stopBits;
            all.push_back(parameters);
        }
    }
    return all;
}

StationSearch::StationSearch(const SearchSettings &settings, OpenLine open)
    : m_settings(settings)
    , m_open(std::move(open))
{
    m_progress.most = static_cast<int>(settings.parameters.size() * settings.stations.size());
    for (const LineParameters &parameters : settings.parameters)
        m_progress.left += timeOf(parameters) * static_cast<int>(settings.stations.size());
}

/** Of a request that nobody answers. */
Duration StationSearch::timeOf(const LineParameters &parameters) const
{
    const LineTiming timing(parameters);
    return timing.characters(ReadRequest::Bytes) + m_settings.replyTimeout + timing.silence();
}

std::vector<StationSearch::Group> StationSearch::groups() const
{
    std::vector<Group> result;
    std::size_t first = 0;
    for (std::size_t end : GroupEnds) {
        end = std::min(end, m_settings.stations.size());
        if (end > first)
            result.push_back({first, end});
        first = std::max(first, end);
    }
    return result;
}

int StationSearch::run()
{
    for (const Group &group : groups()) {
        for (const LineParameters &parameters : m_settings.parameters) {
            if (!askGroup(parameters, group))
                continue;
            m_progress.most = m_progress.asked + static_cast<int>(m_settings.stations.size() - group.end);
            m_progress.left = timeOf(parameters) * static_cast<int>(m_settings.stations.size() - group.end);
            askGroup(parameters, {group.end, m_settings.stations.size()});
            return m_found;
        }
        if (over())
            break;
    }
    return m_found;
}

/** @return whether somebody answered */
bool StationSearch::askGroup(const LineParameters &parameters, const Group &group)
{
    if (over() || group.first == group.end)
        return false;
    const std::unique_ptr<Line> line = m_open(parameters);
    std::unique_ptr<LineAsker> asker;
    if (line) {
        asker.reset(new LineAsker(*line, LineTiming(parameters), m_settings.replyTimeout));
        ++m_opened;
    }
    bool answered = false;
    for (std::size_t i = group.first; i < group.end && !over(); ++i) {
        report(parameters, m_settings.stations[i]);
        if (asker && ask(*asker, parameters, m_settings.stations[i]))
            answered = true;
    }
    return answered;
}

void StationSearch::report(const LineParameters &parameters, int station)
{
    m_progress.parameters = parameters;
    m_progress.station = station;
    if (m_onProgress)
        m_onProgress(m_progress);
    ++m_progress.asked;
    m_progress.left = std::max(Duration(0), m_progress.left - timeOf(parameters));
}

bool StationSearch::ask(LineAsker &asker, const LineParameters &parameters, int station)
{
    ReadRequest request;
    request.station = station;
    const Transaction t = asker.ask(request);
    m_lost = t.end == ReplyEnd::PortLost || t.end == ReplyEnd::Interrupted;
    m_signs.note(t);
    if (t.kind != ReplyKind::Good && t.kind != ReplyKind::Exception)
        return false;
    FoundStation found;
    found.station = t.station;
    found.parameters = parameters;
    found.answer = answerOf(t);
    found.replyTime = t.firstByte - t.requestEnd;
    ++m_found;
    if (m_onFound)
        m_onFound(found);
    return true;
}

Cause StationSearch::cause() const
{
    if (m_found > 0)
        return Cause::None;
    if (m_lost)
        return Cause::PortLost;
    return m_opened == 0 ? Cause::NoParameters : m_signs.cause();
}

} // namespace rtu
