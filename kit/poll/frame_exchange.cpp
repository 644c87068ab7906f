#include "kit/poll/frame_exchange.h"

#include "kit/line/frame_check.h"
#include "kit/poll/reply_timeout.h"

#include <algorithm>

namespace rtu {

namespace {

/** So many time-outs that nothing followed make a station dead, not late: one or two requests may be lost. */
const int DeadAfter = 3;

/** So much of a request in front of a reply is no accident. */
const int EchoBytes = 5;

/** So many good replies in a row without their echo: the adapter does not hear itself. */
const int EchoGone = 3;

/** The driver's functions are 1 to 6, 15 and 16. */
bool isReadFunction(const FRAME_PRO &frame)
{
    return frame.frame[1] <= 4;
}

} // namespace

FrameExchange::FrameExchange(Line &line, const LinkSettings &settings, const std::atomic<bool> &stopping)
    : m_line(line)
    , m_settings(settings)
    , m_stopping(stopping)
    , m_collector(line, m_timing, settings.replyTimeout, settings.echo == Echo::Always)
    , m_echoes(settings.echo == Echo::Always)
{
    setTiming(LineTiming(settings.parameters));
}

void FrameExchange::setTiming(const LineTiming &timing)
{
    m_timing = timing;
    if (m_settings.silence >= Duration(0))
        m_timing.setSilence(m_settings.silence);
    if (m_settings.replyGap >= Duration(0))
        m_timing.setReplyGap(m_settings.replyGap);
    m_collector.setTiming(m_timing);
}

Duration FrameExchange::silence(int station) const
{
    const auto own = m_settings.stations.find(station);
    const bool set = own != m_settings.stations.end() && own->second.silence >= Duration(0);
    return set ? own->second.silence : m_timing.silence();
}

ExchangeEnd FrameExchange::exchange(const FRAME_PRO &frame, const Sending &sending, Transaction &transaction)
{
    m_transaction = &transaction;
    transaction.strayBytes = 0;
    awaitLateReplies(frame.var.station);
    waitForSilence(frame.var.station);
    if (stopping())
        return ExchangeEnd::Stopped;
    begin(frame, sending);
    if (!m_line.write(frame.frame, static_cast<std::size_t>(frame.frameLen)))
        return ExchangeEnd::NotSent;
    m_collector.setReplyTimeout(sending.timeout);
    m_collector.setRemoveEcho(m_echoes);
    collect();
    if (transaction.end == ReplyEnd::Interrupted) {
        expectCutShort(sending.timeout);
        return ExchangeEnd::CutShort;
    }
    judgeReply(transaction, m_settings.checkReplies);
    detectEcho();
    m_expectLate = expectLate(sending);
    if (transaction.kind == ReplyKind::Silent && !m_expectLate)
        m_unheard = true;
    return ExchangeEnd::Judged;
}

void FrameExchange::begin(const FRAME_PRO &frame, const Sending &sending)
{
    Transaction &t = *m_transaction;
    ++t.number;
    t.attempt = sending.resend ? t.attempt + 1 : 1;
    t.station = frame.var.station;
    t.regType = frame.var.regType;
    t.startAddr = frame.var.startAddr;
    t.count = frame.var.count;
    t.tag = frame.var.userData;
    t.isRead = isReadFunction(frame);
    t.request = QByteArray(reinterpret_cast<const char *>(frame.frame), frame.frameLen);
    t.expectedReply = frame.replyLen;
    t.information.clear();
    t.warning.clear();
    t.echoRemoved = false;
    if (!sending.resend)
        m_unheard = false;
    t.sent = m_line.now();
    t.requestEnd = t.sent + m_timing.characters(static_cast<std::size_t>(frame.frameLen));
}

void FrameExchange::collect()
{
    Transaction &t = *m_transaction;
    if (t.expectedReply > 0) {
        m_collector.collect(t);
    } else {
        m_line.sleepUntil(t.requestEnd + m_settings.broadcastDelay);
        m_line.discardInput(); // the echo, where the adapter has one
        t.reply.clear();
        t.end = ReplyEnd::NoneExpected;
        t.firstByte = t.requestEnd;
        t.finished = m_line.now();
    }
    m_quietSince = std::max(t.requestEnd, t.finished);
}

/**
 * Only reads tell: the acknowledgement of a write of one value looks like its echo.
 * What was received in front of the true reply spoils this one; it is asked for again.
 */
void FrameExchange::detectEcho()
{
    const Transaction &t = *m_transaction;
    if (m_settings.echo != Echo::Detect || !t.isRead || t.reply.isEmpty())
        return;
    if (m_echoes) {
        // One good reply without an echo may be a late one that came in front of it.
        if (t.kind == ReplyKind::Good)
            m_echoesMissed = t.echoRemoved ? 0 : m_echoesMissed + 1;
        m_echoes = m_echoesMissed < EchoGone;
        return;
    }
    m_echoesMissed = 0;
    const int common = std::min(static_cast<int>(t.reply.size()), static_cast<int>(t.request.size()));
    m_echoes = t.kind != ReplyKind::Good && common >= EchoBytes && t.reply.left(common) == t.request.left(common);
    if (m_echoes)
        m_transaction->kind = ReplyKind::Foreign;
}

/** A damaged reply that begins otherwise is something in front of the true one. */
bool FrameExchange::beginsAsAnswer() const
{
    const Transaction &t = *m_transaction;
    const bool sameFunction = t.reply.size() < 2 || ((t.reply.at(1) ^ t.request.at(1)) & 0x7F) == 0;
    return t.reply.at(0) == t.request.at(0) && sameFunction && (t.echoRemoved || !m_echoes);
}

/** Whether to listen before the next frame, of whatever station, for a reply that is still missing. */
bool FrameExchange::expectLate(const Sending &sending)
{
    const Transaction &t = *m_transaction;
    m_damaged = t.kind == ReplyKind::Damaged;
    m_lateStation = t.station;
    m_lateDeadline = t.finished + m_settings.lateReplyGuard;
    if (t.kind == ReplyKind::PortLost || m_settings.lateReplyGuard <= Duration(0))
        return false;
    if (t.kind == ReplyKind::Foreign || (m_damaged && !beginsAsAnswer()))
        return true; // the true one has not come yet
    if (t.kind != ReplyKind::Silent) {
        m_listenedInVain.erase(t.station);
        return m_unheard && t.kind != ReplyKind::Damaged; // this may have been the answer to an earlier attempt
    }
    if (sending.question) {
        m_lateUntil[t.station] = t.requestEnd + replyTimeoutOf(m_settings, t.station) + m_settings.lateReplyGuard;
        return false;
    }
    const auto vain = m_listenedInVain.find(t.station);
    return vain == m_listenedInVain.end() || vain->second < DeadAfter;
}

/** The frame is sent again when polling goes on; the answer to this sending would be taken for that to a later one. */
void FrameExchange::expectCutShort(Duration timeout)
{
    m_expectLate = m_settings.lateReplyGuard > Duration(0);
    m_lateStation = m_transaction->station;
    m_lateDeadline = m_transaction->requestEnd + timeout + m_settings.lateReplyGuard;
}

void FrameExchange::giveUp()
{
    if (!m_expectLate || m_transaction->kind != ReplyKind::Silent)
        return;
    m_expectLate = false;
    m_lateUntil[m_lateStation] = m_lateDeadline;
}

/**
 * After a time-out the missing reply may still come, and would be taken for the answer
 * to what is sent next to that station. So the line is listened to for a while first;
 * what is left of that when polling stops is listened for when it goes on.
 */
void FrameExchange::awaitLateReplies(int station)
{
    if (m_expectLate) {
        listen(m_lateDeadline, m_lateStation);
        m_expectLate = stopping();
    }
    const auto late = m_lateUntil.find(station);
    if (late == m_lateUntil.end())
        return;
    if (late->second > m_line.now())
        listen(late->second, station);
    if (!stopping())
        m_lateUntil.erase(late);
}

/** Drops what comes up to the deadline, and then until the line is quiet. */
void FrameExchange::listen(TimePoint deadline, int station)
{
    unsigned char dropped[512];
    int count = m_line.read(dropped, sizeof(dropped), deadline);
    if (count == DeadlinePassed)
        ++m_listenedInVain[station];
    if (count <= 0) // a lost port says nothing about the station
        return;
    m_listenedInVain.erase(station);
    const TimePoint patience = m_line.now() + m_settings.replyTimeout + m_settings.lateReplyGuard;
    while (count > 0) {
        m_transaction->strayBytes += static_cast<std::size_t>(count);
        m_quietSince = m_line.now();
        if (m_quietSince >= patience)
            return;
        count = m_line.read(dropped, sizeof(dropped), m_line.now() + m_timing.replyGap());
    }
}

/**
 * Lets the line fall silent for long enough that slaves take what follows as a new
 * frame. What arrives meanwhile belongs to nobody; a line that never falls silent is
 * given up on after a reply time-out.
 */
void FrameExchange::waitForSilence(int station)
{
    const TimePoint patience = m_line.now() + m_settings.replyTimeout;
    // Behind a damaged reply more may come, of which it was the first part.
    Duration quietTime = m_damaged ? std::max(silence(station), m_timing.replyGap()) : silence(station);
    for (;;) {
        const TimePoint quiet = m_quietSince + quietTime;
        if (quiet > m_line.now())
            m_line.sleepUntil(quiet);
        const std::size_t stray = m_line.discardInput();
        m_transaction->strayBytes += stray;
        if (stray == 0 || m_line.now() > patience || stopping())
            return;
        m_quietSince = m_line.now();
        if (m_unheard) // a late reply is coming in; it may come in lumps
            quietTime = std::max(quietTime, m_timing.replyGap());
    }
}

} // namespace rtu
