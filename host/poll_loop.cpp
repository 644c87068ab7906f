#include "poll_loop.h"

#include "kit/line/frame_check.h"
#include "kit/line/reply_collector.h"

#include <algorithm>

namespace rtu {

namespace {

const Duration IdlePause = std::chrono::milliseconds(200);

/** So many time-outs that nothing followed make a station dead: one or two requests may be lost on a bad line. */
const int DeadAfter = 3;

bool isReadFunction(const FRAME_PRO &frame)
{
    return frame.frame[1] >= 1 && frame.frame[1] <= 4;
}

} // namespace

PollLoop::PollLoop(DriverLibrary &driver, Line &line, const PollSettings &settings)
    : m_driver(driver)
    , m_line(line)
    , m_settings(settings)
    , m_collector(line, settings.timing, settings.replyTimeout, settings.removeEcho)
{
}

StepResult PollLoop::step()
{
    if (stopping())
        return StepResult::Stopped;
    if (!nextFrame())
        return StepResult::Idle;
    if (!openPort())
        return StepResult::NoPort;
    m_transaction.strayBytes = 0;
    awaitLateReply();
    waitForSilence();
    if (stopping())
        return StepResult::Stopped;
    if (!send())
        return StepResult::NoPort;
    collectReply();
    if (m_transaction.end == ReplyEnd::Interrupted)
        return StepResult::Stopped;
    handOver();
    notify();
    return StepResult::Done;
}

/**
 * Without a cyclic plan the driver says "nothing" once after a burst of queued
 * requests, where a cyclic read would have its turn; only twice is nothing left.
 */
bool PollLoop::nextFrame()
{
    return m_driver.getSendFrame(&m_frame) == 1 || m_driver.getSendFrame(&m_frame) == 1;
}

bool PollLoop::openPort()
{
    const bool open = m_line.ensureOpen();
    const bool changed = open != m_portOpen;
    m_portOpen = open;
    if (changed && m_portObserver)
        m_portObserver(open);
    return open;
}

/**
 * Lets the line fall silent for long enough that slaves take what follows as a
 * new frame. What arrives meanwhile belongs to nobody and is dropped; a line that
 * never falls silent is given up on after a reply time-out.
 */
void PollLoop::waitForSilence()
{
    const TimePoint patience = m_line.now() + m_settings.replyTimeout;
    Duration silence = m_settings.timing.silence();
    for (;;) {
        const TimePoint quiet = m_quietSince + silence;
        if (quiet > m_line.now())
            m_line.sleepUntil(quiet);
        const std::size_t stray = m_line.discardInput();
        if (stray == 0 || m_line.now() > patience || stopping())
            return;
        m_transaction.strayBytes += stray;
        m_quietSince = m_line.now();
        if (m_unheard) // a late reply is coming in; it may come in lumps
            silence = std::max(silence, m_settings.timing.replyGap());
    }
}

/**
 * After a time-out the missing reply may still come. It would be taken for the
 * answer to whatever is sent next, and since a reply carries no address, nobody
 * could tell. Sent the same frame again it would be the right answer, but then
 * the answer to that second sending would be the one too many. So the line is
 * listened to for a while first. A station that lets this time pass without a
 * sound several times running is dead, not late, and is not waited for again
 * until it has answered.
 */
void PollLoop::awaitLateReply()
{
    if (!m_expectLate)
        return;
    m_expectLate = false;
    const TimePoint deadline = m_transaction.finished + m_settings.lateReplyGuard;
    unsigned char dropped[512];
    int count = m_line.read(dropped, sizeof(dropped), deadline);
    if (count == DeadlinePassed)
        ++m_listenedInVain[m_transaction.station];
    if (count <= 0) // a lost port says nothing about the station
        return;
    m_listenedInVain.erase(m_transaction.station);
    for (; count > 0; count = m_line.read(dropped, sizeof(dropped), m_line.now() + m_settings.timing.replyGap())) {
        m_transaction.strayBytes += static_cast<std::size_t>(count);
        m_quietSince = m_line.now();
    }
}

/** Whether to listen before the next frame for a reply that is still missing. */
bool PollLoop::expectLateReply()
{
    const Transaction &t = m_transaction;
    if (t.end == ReplyEnd::PortLost || t.end == ReplyEnd::NoneExpected || m_settings.lateReplyGuard <= Duration(0))
        return false;
    if (t.end != ReplyEnd::TimedOut) {
        m_listenedInVain.erase(t.station);
        return m_unheard && !m_resend; // this may have been the answer to an earlier attempt
    }
    const auto vain = m_listenedInVain.find(t.station);
    return vain == m_listenedInVain.end() || vain->second < DeadAfter;
}

bool PollLoop::send()
{
    Transaction &t = m_transaction;
    const std::size_t size = static_cast<std::size_t>(m_frame.frameLen);
    ++t.number;
    t.attempt = m_resend ? t.attempt + 1 : 1;
    t.station = m_frame.var.station;
    t.regType = m_frame.var.regType;
    t.startAddr = m_frame.var.startAddr;
    t.count = m_frame.var.count;
    t.tag = m_frame.var.userData;
    t.isRead = isReadFunction(m_frame);
    t.request = QByteArray(reinterpret_cast<const char *>(m_frame.frame), m_frame.frameLen);
    t.expectedReply = m_frame.replyLen;
    if (!m_resend)
        m_unheard = false;
    t.sent = m_line.now();
    if (!m_line.write(m_frame.frame, size)) {
        openPort();
        return false;
    }
    t.requestEnd = t.sent + m_settings.timing.characters(size);
    return true;
}

void PollLoop::collectReply()
{
    Transaction &t = m_transaction;
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

void PollLoop::handOver()
{
    Transaction &t = m_transaction;
    QByteArray reply = t.reply; // the driver may work on these bytes in place
    t.information.clear();
    t.verdict = m_driver.dealRcvFrame(&reply, &t.information);
    const bool compared = t.verdict == VerdictGood && t.expectedReply > 0;
    t.warning = compared ? QString::fromStdString(describeMismatch(t.request, t.reply)) : QString();
    m_resend = t.verdict == VerdictSendAgain;
    m_expectLate = expectLateReply();
    if (t.end == ReplyEnd::TimedOut && !m_expectLate)
        m_unheard = true;
}

void PollLoop::notify()
{
    for (const Observer &observer : m_observers)
        observer(m_transaction);
    if (m_transaction.end == ReplyEnd::PortLost)
        openPort();
}

void PollLoop::run()
{
    int sent = 0;
    TimePoint roundStart = m_line.now();
    while (!stopping()) {
        const StepResult result = step();
        if (result == StepResult::Idle)
            rest(m_line.now() + IdlePause);
        if (result == StepResult::NoPort)
            rest(m_line.now() + m_settings.reopenInterval);
        if (result != StepResult::Done || !endsCyclicRead() || ++sent < m_roundLength)
            continue;
        sent = 0;
        if (m_roundObserver && !m_roundObserver())
            return;
        rest(roundStart + m_settings.roundInterval);
        roundStart = std::max(roundStart + m_settings.roundInterval, m_line.now());
    }
}

StepResult PollLoop::drain()
{
    StepResult result = step();
    while (result == StepResult::Done)
        result = step();
    return result;
}

bool PollLoop::endsCyclicRead() const
{
    return m_transaction.tag == CyclicTag && m_transaction.isRead && m_transaction.verdict != VerdictSendAgain;
}

/** Waits until the time has come, or there is something new to send. */
void PollLoop::rest(TimePoint until)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const Duration time = until - m_line.now();
    if (time > Duration(0))
        m_wakeUp.wait_for(lock, time, [this] { return m_woken || stopping(); });
    m_woken = false;
}

void PollLoop::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping.store(true, std::memory_order_relaxed);
    }
    m_wakeUp.notify_all();
    m_line.interrupt();
}

void PollLoop::restart()
{
    m_stopping.store(false, std::memory_order_relaxed);
    m_line.clearInterrupt();
}

void PollLoop::wake()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_woken = true;
    }
    m_wakeUp.notify_all();
}

} // namespace rtu
