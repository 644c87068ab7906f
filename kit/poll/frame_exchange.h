/**
 * @file
 * One frame over the line and what comes back: silences, late replies, echoes.
 */
#ifndef KIT_POLL_FRAME_EXCHANGE_H
#define KIT_POLL_FRAME_EXCHANGE_H

#include "kit/driver/driver_library.h"
#include "kit/line/line_timing.h"
#include "kit/line/reply_collector.h"

#include <modbus_rtu_host/link_settings.h>
#include <modbus_rtu_host/transaction.h>

#include <atomic>
#include <map>

namespace rtu {

enum class ExchangeEnd {
    Judged,  ///< sent; the transaction says what came
    NotSent, ///< the port is gone
    Stopped, ///< before it was sent
    CutShort ///< sent, and stopped before it was known what came
};

/** How one frame is to be sent. */
struct Sending
{
    bool resend = false;   ///< the frame before, again
    bool question = false; ///< to a dead station: the line is not kept waiting for a late reply
    Duration timeout{0};   ///< from the end of the request to the first byte
};

class FrameExchange
{
public:
    FrameExchange(Line &line, const LinkSettings &settings, const std::atomic<bool> &stopping);

    ExchangeEnd exchange(const FRAME_PRO &frame, const Sending &sending, Transaction &transaction);

    /** The request was given up: a reply that is still missing is listened for before its station is asked again. */
    void giveUp();

    /** Quiet time before a frame to this station. */
    Duration silence(int station) const;
    /** How long characters last from now on; what the settings say of it holds whatever the line has. */
    void setTiming(const LineTiming &timing);

private:
    void begin(const FRAME_PRO &frame, const Sending &sending);
    void awaitLateReplies(int station);
    void listen(TimePoint deadline, int station);
    void waitForSilence(int station);
    void collect();
    void detectEcho();
    bool beginsAsAnswer() const;
    bool expectLate(const Sending &sending);
    void expectCutShort(Duration timeout);
    bool stopping() const { return m_stopping.load(std::memory_order_relaxed); }

    Line &m_line;
    LinkSettings m_settings;
    const std::atomic<bool> &m_stopping;
    LineTiming m_timing;
    ReplyCollector m_collector;
    Transaction *m_transaction = nullptr;
    TimePoint m_quietSince;               ///< the line has been silent from here on
    bool m_unheard = false;               ///< an attempt of this frame was neither answered nor listened for
    bool m_expectLate = false;            ///< the last attempt may still be answered
    bool m_damaged = false;               ///< the last reply
    int m_lateStation = 0;                ///< by this station
    TimePoint m_lateDeadline;             ///< until then
    std::map<int, TimePoint> m_lateUntil; ///< by station: answers to questions and given-up requests may come
    std::map<int, int> m_listenedInVain;  ///< by station, how often since it last made a sound
    bool m_echoes = false;                ///< the adapter hears itself
    int m_echoesMissed = 0;               ///< good replies since the last echo
};

} // namespace rtu

#endif
