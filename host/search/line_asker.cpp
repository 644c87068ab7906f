#include "host/search/line_asker.h"

#include "kit/line/frame_check.h"

namespace rtu {

namespace {

/** Station, function and byte count in front of the values, the check sum behind them. */
const int BytesAroundValues = 5;
const std::size_t LongestReply = 256;

bool readsBits(ReadFunction function)
{
    return function == ReadCoils || function == ReadDiscreteInputs;
}

} // namespace

QByteArray ReadRequest::bytes() const
{
    QByteArray request;
    for (int byte : {station, static_cast<int>(function), address >> 8, address & 0xFF, count >> 8, count & 0xFF})
        request += static_cast<char>(byte);
    const unsigned int crc =
        crc16(reinterpret_cast<const unsigned char *>(request.constData()), static_cast<std::size_t>(request.size()));
    request += static_cast<char>(crc & 0xFF);
    request += static_cast<char>(crc >> 8);
    return request;
}

int ReadRequest::replyBytes() const
{
    return BytesAroundValues + (readsBits(function) ? (count + 7) / 8 : 2 * count);
}

LineAsker::LineAsker(Line &line, const LineTiming &timing, Duration replyTimeout)
    : m_line(line)
    , m_timing(timing)
    , m_collector(line, timing, replyTimeout, true)
    , m_quietSince(line.now())
{
}

Transaction LineAsker::ask(const ReadRequest &request)
{
    m_line.sleepUntil(m_quietSince + m_timing.silence());
    Transaction t;
    t.strayBytes = m_line.discardInput();
    t.station = request.station;
    t.isRead = true;
    t.request = request.bytes();
    t.expectedReply = request.replyBytes();
    t.sent = m_line.now();
    t.requestEnd = t.sent + m_timing.characters(ReadRequest::Bytes);
    if (m_line.write(reinterpret_cast<const unsigned char *>(t.request.constData()), ReadRequest::Bytes))
        m_collector.collect(t);
    else
        t.end = ReplyEnd::PortLost;
    if (t.end == ReplyEnd::TimedOut && m_latePatience > Duration(0))
        dropLateReply(t);
    judgeReply(t, true);
    m_quietSince = m_line.now();
    return t;
}

void LineAsker::dropLateReply(Transaction &t)
{
    unsigned char dropped[512];
    const TimePoint end = m_line.now() + m_latePatience;
    const TimePoint limit = end + m_latePatience + m_timing.characters(LongestReply); // some lines never fall silent
    int count = m_line.read(dropped, sizeof(dropped), end);
    while (count > 0) {
        t.strayBytes += static_cast<std::size_t>(count);
        if (m_line.now() >= limit)
            return;
        count = m_line.read(dropped, sizeof(dropped), m_line.now() + m_timing.replyGap());
    }
    if (count != DeadlinePassed)
        t.end = count == LineLost ? ReplyEnd::PortLost : ReplyEnd::Interrupted;
}

} // namespace rtu
