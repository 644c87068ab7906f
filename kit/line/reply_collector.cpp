#include "kit/line/reply_collector.h"

#include "kit/line/frame_bytes.h"
#include "kit/line/frame_check.h"

#include <algorithm>
#include <cstring>

namespace rtu {

namespace {

// How far is slept and what is awaited costs or saves a wake-up: no reply is lost by a little more or less.

/**
 * The end of a reply is awaited instead of slept for, at least its last byte: its
 * own arrival ends the wait, so that late wake-ups do not add up. Brief replies,
 * where lateness is a greater share, are met a little earlier.
 */
const Duration AwaitedEnd = std::chrono::microseconds(250);
const Duration BriefReply = std::chrono::milliseconds(5);

/**
 * Replies shorter than this are slept through whole. An exception in their place
 * is noticed that much later, which is little beside a time-out, and every good
 * reply is spared a wake-up.
 */
const Duration ShortReply = std::chrono::milliseconds(30);

/** How much earlier the next reply is looked for after one was slept through. */
const std::size_t EarlierBytes = 3;

/** Longer delays are awaited: a slave that is suddenly quicker should not lose much of the line. */
const Duration LongestLearntDelay = std::chrono::milliseconds(20);

} // namespace

ReplyCollector::ReplyCollector(Line &line, const LineTiming &timing, Duration replyTimeout, bool removeEcho)
    : m_line(line)
    , m_timing(timing)
    , m_replyTimeout(replyTimeout)
    , m_removeEcho(removeEcho)
{
}

void ReplyCollector::collect(Transaction &transaction)
{
    m_transaction = &transaction;
    m_size = 0;
    m_skip = 0;
    m_echoPending = m_removeEcho;
    m_replyBegun = false;
    m_reads = 0;
    m_expectedBegin = TimePoint::max();
    transaction.firstByte = transaction.requestEnd;
    transaction.echoRemoved = false;
    sleepUntilReply();
    finish(take());
    learnDelay();
}

bool ReplyCollector::longReply() const
{
    return m_timing.characters(static_cast<std::size_t>(m_transaction->expectedReply)) > ShortReply;
}

/** Sleeps through the begin of the reply as well, where the station's usual delay is known. */
void ReplyCollector::sleepUntilReply()
{
    const auto known = m_delays.find(m_transaction->station);
    if (known == m_delays.end() || known->second > LongestLearntDelay || m_removeEcho)
        return;
    m_expectedBegin = m_transaction->requestEnd + known->second;
    m_line.sleepUntil(m_expectedBegin + timeToSleepThrough());
}

/**
 * Follows shorter delays at once and longer ones slowly: to wake up early costs
 * little. A reply that was whole at the first look says only that it was slept
 * through too long.
 */
void ReplyCollector::learnDelay()
{
    if (m_transaction->end != ReplyEnd::Complete || m_timing.characters(1) == Duration(0))
        return;
    const Duration delay = std::max(Duration(0), m_begin - m_transaction->requestEnd);
    Duration &known = m_delays.emplace(m_transaction->station, delay).first->second;
    if (m_reads == 1)
        known = std::max(Duration(0), std::min(delay, known) - m_timing.characters(EarlierBytes));
    else
        known = delay < known ? delay : known + (delay - known) / 8;
}

ReplyEnd ReplyCollector::take()
{
    for (;;) {
        if (complete())
            return ReplyEnd::Complete;
        if (exceptionReply())
            return ReplyEnd::Exception;
        sleepThroughReply();
        const int count = m_line.read(m_bytes + m_size, Capacity - m_size, deadline());
        if (count == LineLost)
            return ReplyEnd::PortLost;
        if (count == Interrupted)
            return ReplyEnd::Interrupted;
        if (count == DeadlinePassed)
            return payload() > 0 ? ReplyEnd::Silence : ReplyEnd::TimedOut;
        ++m_reads;
        if (count == 1) // bytes come one by one: what was read tells exactly when the reply began
            m_expectedBegin = TimePoint::max();
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
    const std::size_t expected = std::min(static_cast<std::size_t>(m_transaction->expectedReply), Capacity - m_skip);
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

/** From the begin of the reply until the bytes that decide what comes next are near. */
Duration ReplyCollector::timeToSleepThrough() const
{
    const Duration whole = m_timing.characters(static_cast<std::size_t>(m_transaction->expectedReply));
    const Duration character = m_timing.characters(1);
    if (longReply() && payload() < ExceptionReplyBytes)
        return m_timing.characters(ExceptionReplyBytes);
    return whole - (whole < BriefReply ? std::max(character, AwaitedEnd) : character);
}

void ReplyCollector::sleepThroughReply()
{
    if (!m_replyBegun)
        return;
    // What was read may have waited in an adapter; what the station usually does tells more then.
    const TimePoint wakeUp = std::min(m_begin, m_expectedBegin) + timeToSleepThrough();
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
