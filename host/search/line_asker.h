/**
 * @file
 * Asks one read at a time, with nothing of the driver in between.
 */
#ifndef RTU_HOST_SEARCH_LINE_ASKER_H
#define RTU_HOST_SEARCH_LINE_ASKER_H

#include "kit/line/line_timing.h"
#include "kit/line/reply_collector.h"

namespace rtu {

/** Functions that read, by the table that they read. */
enum ReadFunction { ReadCoils = 1, ReadDiscreteInputs = 2, ReadHoldingRegisters = 3, ReadInputRegisters = 4 };

struct ReadRequest
{
    int station = 1;
    ReadFunction function = ReadHoldingRegisters;
    int address = 0; ///< zero-based
    int count = 1;

    /** What the request takes on the line. */
    enum { Bytes = 8 };
    QByteArray bytes() const;
    int replyBytes() const;
};

class LineAsker
{
public:
    LineAsker(Line &line, const LineTiming &timing, Duration replyTimeout);

    /** For the requests from now on: quiet time between the end of one reply and the next request. */
    void setSilence(Duration silence) { m_timing.setSilence(silence); }

    /** For the requests from now on. */
    void setReplyTimeout(Duration timeout) { m_collector.setReplyTimeout(timeout); }

    /**
     * For the requests from now on: how long the line is listened to behind a time-out. A reply that
     * comes too late would be taken for that to the next request; it is dropped and counted as stray.
     */
    void setLatePatience(Duration patience) { m_latePatience = patience; }

    /** Sends the request and waits for the reply, which is judged. */
    Transaction ask(const ReadRequest &request);

    Line &line() { return m_line; }

private:
    void dropLateReply(Transaction &transaction);

    Line &m_line;
    LineTiming m_timing;
    ReplyCollector m_collector;
    Duration m_latePatience{0};
    TimePoint m_quietSince;
};

} // namespace rtu

#endif
