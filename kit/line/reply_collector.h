/**
 * @file
 * Takes one reply off the line and knows when it has ended.
 *
 * The expected length is known, so the usual reply costs three wake-ups, however
 * long it is: its first byte, the moment an exception reply would be complete,
 * and its end. In between the collector sleeps. Once it knows how long a station
 * takes to begin its replies, it sleeps through the first byte as well.
 */
#ifndef KIT_LINE_REPLY_COLLECTOR_H
#define KIT_LINE_REPLY_COLLECTOR_H

#include "kit/line/line_timing.h"
#include <modbus_rtu_host/transaction.h>

#include <cstddef>
#include <map>

namespace rtu {

class ReplyCollector
{
public:
    ReplyCollector(Line &line, const LineTiming &timing, Duration replyTimeout, bool removeEcho);

    /** For the replies from now on: how long characters last, and the pause that ends a reply. */
    void setTiming(const LineTiming &timing) { m_timing = timing; }
    /** For the replies from now on: time from the end of the request to the first byte. */
    void setReplyTimeout(Duration timeout) { m_replyTimeout = timeout; }
    /** For the replies from now on: the request comes back in front of them. */
    void setRemoveEcho(bool remove) { m_removeEcho = remove; }

    /**
     * Collects the reply to @p transaction.request, of which expectedReply and
     * requestEnd are set. Fills reply, end, firstByte, finished, echoRemoved.
     */
    void collect(Transaction &transaction);

private:
    enum { Capacity = 2048 };

    std::size_t payload() const { return m_size - m_skip; }
    const unsigned char *payloadBytes() const { return m_bytes + m_skip; }
    bool longReply() const;
    bool complete() const;
    bool exceptionReply() const;
    TimePoint deadline() const;
    Duration timeToSleepThrough() const;
    void sleepUntilReply();
    void sleepThroughReply();
    void learnDelay();
    void matchEcho();
    void noteProgress();
    void finish(ReplyEnd end);
    ReplyEnd take();

    Line &m_line;
    LineTiming m_timing;
    Duration m_replyTimeout;
    bool m_removeEcho;

    std::map<int, Duration> m_delays; ///< of each station: end of request to begin of reply

    Transaction *m_transaction = nullptr;
    unsigned char m_bytes[Capacity]; ///< as received, the echo in front
    std::size_t m_size = 0;
    std::size_t m_skip = 0;     ///< length of the echo in m_bytes
    bool m_echoPending = false; ///< the echo is not complete yet
    bool m_replyBegun = false;
    int m_reads = 0;           ///< that brought bytes
    TimePoint m_firstByte;     ///< when the first bytes of the reply were read
    TimePoint m_expectedBegin; ///< when the reply usually begins; never, where that is not known
    TimePoint m_begin;         ///< latest time at which the reply can have begun
    TimePoint m_lastByte;
};

} // namespace rtu

#endif
