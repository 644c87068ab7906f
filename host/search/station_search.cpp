#include "host/search/station_search.h"

#include "kit/line/frame_bytes.h"
#include "kit/line/line_timing.h"

#include <algorithm>

namespace rtu {

namespace {

/** Where the first group of stations ends, and the next. Most devices keep the address they came with. */
const std::size_t GroupEnds[] = {1, 10, 247};
/** From a request to a reply that still counts as its own. */
const Duration LongestDelay = std::chrono::seconds(2);

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
    , m_patience(settings.replyTimeout)
    , m_lateReplies(std::max(LongestDelay, 2 * settings.replyTimeout))
{
    m_progress.most = static_cast<int>(settings.parameters.size() * settings.stations.size());
    for (const LineParameters &parameters : settings.parameters) {
        for (const Group &group : groups())
            m_progress.left += timeOf(parameters, group.end - group.first);
    }
}

/** Of so many requests that nobody answers, with the longer wait behind the last one. */
Duration StationSearch::timeOf(const LineParameters &parameters, std::size_t stations) const
{
    const LineTiming timing(parameters);
    const Duration one = timing.characters(ReadRequest::Bytes) + m_patience + timing.silence();
    return stations == 0 ? Duration(0) : one * static_cast<int>(stations) + m_patience;
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
            const Group rest = {group.end, m_settings.stations.size()};
            m_progress.most = m_progress.asked + static_cast<int>(rest.end - rest.first);
            m_progress.left = timeOf(parameters, rest.end - rest.first);
            askGroup(parameters, rest);
            return found();
        }
        if (over())
            break;
    }
    return found();
}

/** To be asked where more is still to be done. */
bool StationSearch::endsEarly()
{
    m_cutShort = m_cutShort || over();
    return m_cutShort;
}

/** @return whether somebody answered */
bool StationSearch::askGroup(const LineParameters &parameters, const Group &group)
{
    if (group.first == group.end || endsEarly())
        return false;
    const std::unique_ptr<Line> line = m_open(parameters);
    m_lost = !line && found() > 0; // these parameters it has taken before
    std::unique_ptr<LineAsker> asker;
    if (line) {
        asker.reset(new LineAsker(*line, LineTiming(parameters), m_patience));
        ++m_opened;
    }
    if (found() == 0)
        m_patience = m_settings.replyTimeout;
    m_lateReplies.forget();
    const int before = found();
    for (std::size_t place = group.first; place < group.end && !endsEarly();) {
        report(parameters, group, place);
        place = asker ? askNext(*asker, parameters, group, place) : place + 1;
    }
    return found() > before;
}

void StationSearch::report(const LineParameters &parameters, const Group &group, std::size_t place)
{
    m_progress.parameters = parameters;
    m_progress.station = m_settings.stations[place];
    if (m_onProgress)
        m_onProgress(m_progress);
    ++m_progress.asked;
    const Duration gone = timeOf(parameters, group.end - place) - timeOf(parameters, group.end - place - 1);
    m_progress.left = std::max(Duration(0), m_progress.left - gone);
}

/** @return the place of whom to ask next: an earlier one where that turns out to be slow */
std::size_t StationSearch::askNext(LineAsker &asker, const LineParameters &parameters, const Group &group,
                                   std::size_t place)
{
    ReadRequest request;
    request.station = m_settings.stations[place];
    if (m_found.count(request.station) > 0)
        return place + 1;
    // Nobody is asked behind the last one, under whose request its late reply could be heard.
    asker.setReplyTimeout(place + 1 == group.end ? 2 * m_patience : m_patience);
    const Transaction t = asker.ask(request);
    m_lost = t.end == ReplyEnd::PortLost || t.end == ReplyEnd::Interrupted;
    if (const Transaction *const earlier = m_lateReplies.requestOf(t))
        return goBack(asker, parameters, group, t, *earlier);
    m_signs.note(t);
    if (t.kind == ReplyKind::Good || t.kind == ReplyKind::Exception)
        tell(t, parameters);
    if (t.kind == ReplyKind::Silent)
        m_lateReplies.expect(t);
    return place + 1;
}

/** @return the place of the earlier one; who answers late is heard where it is waited for longer */
std::size_t StationSearch::goBack(LineAsker &asker, const LineParameters &parameters, const Group &group,
                                  const Transaction &late, const Transaction &earlier)
{
    const auto placeOf = [&](int station) {
        const auto first = m_settings.stations.begin() + static_cast<std::ptrdiff_t>(group.first);
        return static_cast<std::size_t>(std::find(first, m_settings.stations.end(), station)
                                        - m_settings.stations.begin());
    };
    const std::size_t place = placeOf(late.station);
    const std::size_t back = placeOf(earlier.station);
    m_progress.left -= timeOf(parameters, group.end - place - 1);
    m_patience = (late.firstByte - earlier.requestEnd) * 3 / 2;
    m_progress.left += timeOf(parameters, group.end - back);
    m_progress.most += static_cast<int>(place + 1 - back);
    ++m_signs.late;
    m_lateReplies.forget();
    asker.line().sleepUntil(late.finished + m_patience); // those asked in between may be as slow
    return back;
}

void StationSearch::tell(const Transaction &t, const LineParameters &parameters)
{
    FoundStation found;
    found.station = t.station;
    found.parameters = parameters;
    found.answer = answerOf(t);
    found.replyTime = t.firstByte - t.requestEnd;
    m_found.insert(t.station);
    if (m_onFound)
        m_onFound(found);
}

Cause StationSearch::cause() const
{
    if (m_lost)
        return Cause::PortLost;
    if (m_cutShort)
        return Cause::Ended;
    if (found() > 0)
        return Cause::None;
    return m_opened == 0 ? Cause::NoParameters : m_signs.cause();
}

} // namespace rtu
