#include "host/search/station_search.h"

#include "kit/line/frame_check.h"
#include "kit/line/line_timing.h"
#include "kit/line/reply_collector.h"

#include <algorithm>

namespace rtu {

namespace {

const int ReadHoldingRegisters = 3;
const int RequestBytes = 8;
const int ReplyBytes = 7;
const char AsciiBegin = ':';
/** Where the first group of stations ends, and the next. Most devices keep the address they came with. */
const std::size_t GroupEnds[] = {1, 10, 247};

QByteArray requestTo(int station)
{
    QByteArray request;
    for (int byte : {station, ReadHoldingRegisters, 0, 0, 0, 1})
        request += static_cast<char>(byte);
    const unsigned int crc =
        crc16(reinterpret_cast<const unsigned char *>(request.constData()), static_cast<std::size_t>(request.size()));
    request += static_cast<char>(crc & 0xFF);
    request += static_cast<char>(crc >> 8);
    return request;
}

std::string answerOf(const Transaction &t)
{
    if (t.kind == ReplyKind::Exception)
        return "exception " + std::to_string(t.exceptionCode);
    const int value = static_cast<unsigned char>(t.reply.at(3)) * 256 + static_cast<unsigned char>(t.reply.at(4));
    return "register 1 is " + std::to_string(value);
}

} // namespace

std::vector<LineParameters> usualParameters()
{
    std::vector<LineParameters> all;
    struct Character
    {
        char parity;
        int stopBits;
    };
    for (int baud : {19200, 9600, 115200, 38400, 57600, 4800, 2400, 1200}) {
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
    return timing.characters(RequestBytes) + m_settings.replyTimeout + timing.silence();
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
    if (line)
        ++m_opened;
    bool answered = false;
    for (std::size_t i = group.first; i < group.end && !over(); ++i) {
        report(parameters, m_settings.stations[i]);
        if (line && ask(*line, parameters, m_settings.stations[i]))
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

bool StationSearch::ask(Line &line, const LineParameters &parameters, int station)
{
    const LineTiming timing(parameters);
    line.sleepUntil(line.now() + timing.silence());
    if (line.discardInput() > 0)
        ++m_signs.strays;
    Transaction t;
    t.station = station;
    t.isRead = true;
    t.request = requestTo(station);
    t.expectedReply = ReplyBytes;
    t.sent = line.now();
    t.requestEnd = t.sent + timing.characters(RequestBytes);
    if (!line.write(reinterpret_cast<const unsigned char *>(t.request.constData()), RequestBytes)) {
        m_lost = true;
        return false;
    }
    ReplyCollector collector(line, timing, m_settings.replyTimeout, true);
    collector.collect(t);
    m_lost = t.end == ReplyEnd::PortLost || t.end == ReplyEnd::Interrupted;
    judgeReply(t, true);
    return judge(t, parameters);
}

bool StationSearch::judge(const Transaction &t, const LineParameters &parameters)
{
    m_signs.echoes += t.echoRemoved ? 1 : 0;
    if (t.kind == ReplyKind::Damaged)
        ++(t.reply.at(0) == AsciiBegin ? m_signs.ascii : m_signs.garbage);
    if (t.kind == ReplyKind::Foreign)
        ++m_signs.foreign;
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

std::string StationSearch::cause() const
{
    if (m_found > 0)
        return std::string();
    if (m_lost)
        return "the port is gone";
    if (m_opened == 0)
        return "the port takes none of these line parameters";
    if (m_signs.ascii > 0)
        return "replies begin with \":\": a device speaks Modbus ASCII, not RTU; set it to RTU";
    if (m_signs.strays > 0 || m_signs.foreign > 0)
        return "bytes came that nobody asked for: another master is on the line; --listen tells what it asks";
    if (m_signs.garbage > 0)
        return "something answers, but not so that it can be read: a baud rate or parity that was not tried, or a line "
               "without termination";
    if (m_signs.echoes > 0)
        return "nobody answers; the adapter hears itself, so it sends: look at the wires behind it (A and B swapped?), "
               "and at the devices' power and addresses";
    return "not one byte came back: look at the wires (A and B swapped?), the devices' power and addresses, and "
           "whether the adapter switches to sending";
}

} // namespace rtu
