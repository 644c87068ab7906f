#include "reply_collector.h"

#include "frame_check.h"

#include <algorithm>
#include <cstring>

namespace rtu {

namespace {

const std::size_t ExceptionReplyBytes = 5;
const unsigned char ExceptionFlag = 0x80;

/**
 * The last byte of a reply is awaited instead of slept for: its own arrival ends
 * the wait, so that the lateness of earlier wake-ups does not add up.
 */
const std::size_t AwaitedBytes = 1;

/** Replies shorter than this are slept through whole: finding an exception earlier is not worth a wake-up. */
const Duration ShortReply = std::chrono::milliseconds(3);

} // namespace

ReplyCollector::ReplyCollector(Line &line, const LineTiming &timing, Duration replyTimeout, bool removeEcho)
    : m_line(line), m_timing(timing), m_replyTimeout(replyTimeout), m_removeEcho(removeEcho)
{
}

void ReplyCollector::collect(Transaction &transaction)
{
    m_transaction = &transaction;
    m_size = 0;
    m_skip = 0;
    m_echoPending = m_removeEcho;
    m_replyBegun = false;
    m_lastByte = transaction.requestEnd;
    transaction.firstByte = transaction.requestEnd;
    transaction.echoRemoved = false;
    finish(take());
}

ReplyEnd ReplyCollector::take()
{
    for (;;) {
        if (complete())
            return ReplyEnd::Complete;
        if (exceptionReply())
            return ReplyEnd::Exception;
        if (m_size == Capacity)
            return ReplyEnd::Silence;
        sleepThroughReply();
        const int count = m_line.read(m_bytes + m_size, Capacity - m_size, deadline());
        if (count == LineLost)
            return ReplyEnd::PortLost;
        if (count == Interrupted)
            return ReplyEnd::Interrupted;
        if (count == DeadlinePassed)
            return payload() > 0 ? ReplyEnd::Silence : ReplyEnd::TimedOut;
        m_size += static_cast<std::size_t>(count);
        m_lastByte = m_line.now();
        matchEcho();
        noteProgress();
    }
}

/**
 * So many bytes by now: the reply began that many characters ago at the latest.
 * Each read may show an earlier begin than the one before, when a busy machine
 * woke this thread late, and later wake-ups are then not late as well.
 */
void ReplyCollector::noteProgress()
{
    if (payload() == 0 || m_echoPending)
        return;
    const TimePoint begin = m_lastByte - m_timing.characters(payload());
    m_begin = m_replyBegun ? std::min(m_begin, begin) : begin;
    if (!m_replyBegun)
        m_firstByte = m_lastByte;
    m_replyBegun = true;
}

/** Drops the request from the front of what was received; anything else in front is left alone. */
void ReplyCollector::matchEcho()
{
    if (!m_echoPending)
        return;
    const QByteArray &request = m_transaction->request;
    const std::size_t length = static_cast<std::size_t>(request.size());
    const std::size_t common = std::min(length, m_size);
    if (std::memcmp(m_bytes, request.constData(), common) != 0) {
        m_echoPending = false;
        return;
    }
    if (m_size < length)
        return;
    m_echoPending = false;
    m_skip = length;
    m_transaction->echoRemoved = true;
}

bool ReplyCollector::complete() const
{
    const std::size_t expected = static_cast<std::size_t>(m_transaction->expectedReply);
    return !m_echoPending && payload() >= expected && payload() > 0;
}

/** The CRC tells a true exception reply from a longer reply with a damaged function code. */
bool ReplyCollector::exceptionReply() const
{
    return !m_echoPending && payload() >= ExceptionReplyBytes && (payloadBytes()[1] & ExceptionFlag) != 0
           && endsWithCrc(payloadBytes(), ExceptionReplyBytes);
}

TimePoint ReplyCollector::deadline() const
{
    if (m_replyBegun)
        return m_lastByte + m_timing.replyGap();
    return m_transaction->requestEnd + m_replyTimeout;
}

/** When the bytes that decide what comes next can be there at the earliest. */
TimePoint ReplyCollector::wakeUpTime() const
{
    const std::size_t expected = static_cast<std::size_t>(m_transaction->expectedReply);
    const bool mayBeException = payload() < ExceptionReplyBytes && m_timing.characters(expected) > ShortReply;
    const std::size_t wanted = mayBeException ? ExceptionReplyBytes : expected - std::min(expected, AwaitedBytes);
    return m_begin + m_timing.characters(wanted);
}

void ReplyCollector::sleepThroughReply()
{
    if (!m_replyBegun)
        return;
    const TimePoint wakeUp = wakeUpTime();
    if (wakeUp > m_lastByte)
        m_line.sleepUntil(wakeUp);
}

void ReplyCollector::finish(ReplyEnd end)
{
    m_transaction->end = end;
    m_transaction->finished = m_line.now();
    m_transaction->reply = QByteArray(reinterpret_cast<const char *>(payloadBytes()), static_cast<int>(payload()));
    if (m_replyBegun)
        m_transaction->firstByte = m_firstByte;
}

} // namespace rtu
