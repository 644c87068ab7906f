#include "kit/poll/poller.h"

#include "kit/poll/reply_timeout.h"

#include <algorithm>

namespace rtu {

namespace {

/** Exceptions that tell the master to try again later. */
bool asksForPatience(int exceptionCode)
{
    return exceptionCode == 5 || exceptionCode == 6;
}

} // namespace

Poller::Poller(DriverLibrary &driver, Line &line, const LinkSettings &settings, PollClient &client)
    : m_driver(driver)
    , m_line(line)
    , m_settings(settings)
    , m_client(client)
    , m_health(settings)
    , m_exchange(line, settings, m_stopping)
{
}

void Poller::setPlan(int roundLength, const std::set<int> &stations)
{
    m_roundLength = roundLength;
    beginRound();
    m_health.setPolled(stations);
}

/** From wherever the driver is in its plan. */
void Poller::beginRound()
{
    forgetRound();
    m_restUntil = TimePoint();
    m_roundStart = m_line.now();
}

void Poller::forgetRound()
{
    m_cyclicDone = 0;
    m_askedInRound = false;
    m_missedInRound.clear();
    m_readAgain = false;
}

PollStep Poller::step()
{
    if (m_stopping.load(std::memory_order_relaxed))
        return PollStep::Stopped;
    if (!openPort())
        return noPort();
    withdrawStale();
    m_inRequest = m_inRequest && nextFrame();
    bool putOff = false;
    while (!m_inRequest) {
        const bool fed = m_client.feed();
        if (!fed && (m_roundLength == 0 || m_line.now() < m_restUntil))
            return idle(m_roundLength == 0 ? TimePoint::max() : m_restUntil);
        if (!nextFrame())
            return idle(TimePoint::max());
        beginRequest();
        if (!putOff && disturbsRest()) {
            passOver();
            putOff = true; // next is what is to be sent now
            continue;
        }
        if (!skipped())
            break;
        if (m_cyclicDone == 0) // a round is over, and told before the next one begins
            return idle(fed ? TimePoint() : m_restUntil);
    }
    return send();
}

/** Among other requests the driver gives the plan a turn now and then, also where it rests between two rounds. */
bool Poller::disturbsRest() const
{
    return m_request.source == Source::Cyclic && m_cyclicDone == 0 && m_line.now() < m_restUntil;
}

/** The driver goes on to its next request; this one has its turn again in the next round. */
void Poller::passOver()
{
    giveUp();
    m_inRequest = false;
}

void Poller::goOn()
{
    m_stopping = false;
    m_wentOn = true;
}

/** What a bit write read before a stop may hold other bits by now, which its write half would undo. */
void Poller::withdrawStale()
{
    const bool stale = m_wentOn && m_inRequest && m_halfRead && !m_request.written;
    m_wentOn = false;
    if (!stale)
        return;
    passOver();
    m_client.writeWithdrawn(m_request.area);
}

PollStep Poller::noPort()
{
    dropHanded();
    return awaitPort();
}

PollStep Poller::awaitPort()
{
    m_nextStep = std::min(m_nextOpen, m_client.nextFeed());
    return PollStep::NoPort;
}

/** A port that is back at once was lost all the same: another device may be at its end by now. */
void Poller::portLost()
{
    dropHanded();
    setPort(false);
    openPort();
}

/** What the driver has been handed must not go out to whatever is plugged in next. */
void Poller::dropHanded()
{
    if (m_inRequest)
        drop();
    while (m_client.handed() && nextFrame()) {
        beginRequest();
        drop();
    }
    m_client.portAway();
}

void Poller::drop()
{
    m_request.kind = ReplyKind::PortLost;
    m_request.time = m_line.now();
    giveUp();
    endRequest();
}

PollStep Poller::idle(TimePoint until)
{
    m_nextStep = std::min(until, m_client.nextFeed());
    return PollStep::Idle;
}

bool Poller::openPort()
{
    if (!m_portOpen && m_line.now() < m_nextOpen)
        return false;
    endWaits();
    const bool open = m_line.ensureOpen();
    if (!open)
        m_nextOpen = m_line.now() + m_settings.reopenInterval;
    setPort(open);
    return open;
}

void Poller::portOpened()
{
    endWaits();
    setPort(true);
}

/** However long nobody stepped: what has waited too long for a port that was away does not go out when it is back. */
void Poller::endWaits()
{
    if (portAway())
        m_client.portAway();
}

void Poller::setPort(bool open)
{
    if (m_portKnown && open == m_portOpen)
        return;
    m_portKnown = true;
    m_portOpen = open;
    if (open) // what has been read in this round was lost with the port
        beginRound();
    m_client.portChanged(open);
}

/** What is back is read in a round that begins now. */
void Poller::endRest()
{
    m_restUntil = TimePoint();
    m_roundStart = std::min(m_roundStart, m_line.now());
}

/**
 * Without a cyclic plan the driver says "nothing" once after a burst of queued
 * requests, where a cyclic read would have its turn; only twice is nothing left.
 */
bool Poller::nextFrame()
{
    m_frameOut = m_driver.getSendFrame(&m_frame) == 1 || m_driver.getSendFrame(&m_frame) == 1;
    return m_frameOut;
}

void Poller::beginRequest()
{
    const VARIABLE &var = m_frame.var;
    m_request = RequestEnd();
    m_request.source = m_client.transferring() ? Source::Transfer : static_cast<Source>(var.userData);
    m_request.area = areaOf(var.station, var.regType, var.startAddr, var.count);
    m_resend = false;
    m_heard = false;
    m_halfRead = false;
    m_wasDead = m_health.dead(var.station);
    m_inRequest = true;
}

/** The cyclic reads of dead stations are answered with silence, unless it is time to ask. */
bool Poller::skipped()
{
    const int station = m_request.area.station;
    if (m_request.source != Source::Cyclic || !m_wasDead || m_health.mayAsk(station, m_line.now()))
        return false;
    passOver();
    m_missedInRound.insert(station);
    countCyclic(false);
    return true;
}

bool Poller::isWriteFrame() const
{
    const unsigned char function = m_frame.frame[1];
    return function == 5 || function == 6 || function == 15 || function == 16;
}

bool Poller::question() const
{
    return m_wasDead && (m_request.source == Source::Cyclic || m_request.source == Source::Paced);
}

PollStep Poller::send()
{
    Sending sending;
    sending.resend = m_resend;
    sending.question = m_wasDead;
    const int station = m_request.area.station;
    sending.timeout = question() ? m_health.questionTime(station) : replyTimeoutOf(m_settings, station);
    m_exchangeStart = m_line.now();
    const ExchangeEnd end = m_exchange.exchange(m_frame, sending, m_transaction);
    if (end == ExchangeEnd::Stopped)
        return PollStep::Stopped;
    if (end == ExchangeEnd::NotSent) {
        portLost();
        return awaitPort();
    }
    m_request.lineTime += m_line.now() - m_exchangeStart;
    m_request.written = m_request.written || isWriteFrame();
    if (end == ExchangeEnd::CutShort) {
        m_request.writtenUnheard = m_request.writtenUnheard || isWriteFrame();
        return PollStep::Stopped;
    }
    handOver();
    return PollStep::Done;
}

void Poller::handOver()
{
    Transaction &t = m_transaction;
    m_request.kind = t.kind;
    m_request.exceptionCode = t.exceptionCode;
    m_request.time = t.finished;
    if (isWriteFrame() && !m_request.good() && !m_request.refused())
        m_request.writtenUnheard = true;
    if (t.kind != ReplyKind::Silent && t.kind != ReplyKind::Foreign && !m_request.gatewaySilence())
        m_heard = true;
    deal(t.kind == ReplyKind::Foreign ? QByteArray() : t.reply);
    const bool lastAttempt = answersOnce() && t.verdict == VerdictSendAgain;
    if (lastAttempt)
        giveUp();
    m_client.frameDone(t);
    m_resend = t.verdict == VerdictSendAgain;
    const bool readHalf = t.verdict == VerdictGood && m_request.source == Source::Write && t.isRead;
    m_halfRead = m_halfRead || readHalf;
    if (!m_resend && !readHalf)
        endRequest();
    if (t.end == ReplyEnd::PortLost)
        portLost();
}

/** No further attempt would bring anything: a dead station gets one, and a refusal is an answer. */
bool Poller::answersOnce() const
{
    const Transaction &t = m_transaction;
    if (t.kind == ReplyKind::PortLost || (m_wasDead && !m_heard))
        return true;
    return m_request.refused() && !asksForPatience(t.exceptionCode);
}

/** @param reply a copy: the driver may work on these bytes in place */
void Poller::deal(const QByteArray &reply)
{
    QByteArray bytes(reply.constData(), reply.size());
    m_frameOut = false;
    m_transaction.information.clear();
    m_transaction.verdict = m_driver.dealRcvFrame(&bytes, &m_transaction.information);
}

void Poller::settle()
{
    if (m_frameOut && nextFrame()) // on this thread, which may be another one
        deal(QByteArray());
}

/** Answers the driver until it gives the request up, without the line. It is asked for a frame before each reply. */
void Poller::giveUp()
{
    const QByteArray last = m_request.kind == ReplyKind::Exception ? m_transaction.reply : QByteArray();
    do {
        if (!m_frameOut)
            nextFrame();
        deal(last);
    } while (m_transaction.verdict == VerdictSendAgain);
}

void Poller::endRequest()
{
    m_inRequest = false;
    m_request.text = m_transaction.information;
    if (!m_request.good())
        m_exchange.giveUp();
    noteHealth();
    m_client.requestDone(m_request);
    if (m_request.source == Source::Cyclic)
        countCyclic(true);
}

void Poller::noteHealth()
{
    if (m_request.kind == ReplyKind::PortLost || m_request.area.station == 0)
        return;
    const int station = m_request.area.station;
    const TimePoint now = m_line.now();
    if (question()) // what callers want of a dead station is no question, and may cost more of the line
        m_health.asked(station, now, now - m_exchangeStart);
    if (m_heard) {
        if (!m_health.heard(station, m_transaction.firstByte - m_transaction.requestEnd))
            return;
        endRest();
        m_readAgain = m_readAgain || m_missedInRound.count(station) != 0;
        m_client.stationBack(station);
        return;
    }
    m_health.silent(station, now);
    if (m_request.source == Source::Cyclic)
        m_missedInRound.insert(station);
    m_client.stationSilent(station);
}

/**
 * A round is over when every request of the plan had its turn; with nobody to ask, the plan rests. It
 * does not where a station has come back since its turn in this round.
 */
void Poller::countCyclic(bool asked)
{
    m_askedInRound = m_askedInRound || asked;
    if (++m_cyclicDone < m_roundLength)
        return;
    const TimePoint now = m_line.now();
    m_restUntil = m_readAgain ? now : m_roundStart + m_settings.roundInterval;
    if (!m_askedInRound)
        m_restUntil = std::max(m_restUntil, m_health.nextQuestion(now));
    m_roundStart = std::max(m_restUntil, now);
    forgetRound();
    m_client.roundDone();
}

} // namespace rtu
