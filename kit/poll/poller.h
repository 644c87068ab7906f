/**
 * @file
 * Takes requests from the driver to the line, one frame a step, and judges for the
 * driver what came back.
 */
#ifndef KIT_POLL_POLLER_H
#define KIT_POLL_POLLER_H

#include "kit/poll/frame_exchange.h"
#include "kit/poll/poll_client.h"
#include "kit/poll/station_health.h"

#include <set>

namespace rtu {

/** What a step of the poller did; as LinkStep. */
enum class PollStep { Idle, Done, NoPort, Stopped };

class Poller
{
public:
    Poller(DriverLibrary &driver, Line &line, const LinkSettings &settings, PollClient &client);

    PollStep step();

    /** After PollStep::Idle or NoPort. */
    TimePoint nextStep() const { return m_nextStep; }

    /** The plan has changed. @param roundLength frames of a round; the result of intf_addrMerge() */
    void setPlan(int roundLength, const std::set<int> &stations);

    StationHealth &health() { return m_health; }
    /** Of the port that has been opened. */
    void setTiming(const LineTiming &timing) { m_exchange.setTiming(timing); }
    /** Quiet time before a frame to this station. */
    Duration silence(int station) const { return m_exchange.silence(station); }
    bool portOpen() const { return m_portOpen; }
    /** Somebody else has opened it: what is asked for from now on has its port. */
    void portOpened();
    /** It was tried, and is not there. */
    bool portAway() const { return m_portKnown && !m_portOpen; }
    /** Leaves no frame in the driver that waits for its reply: it may be set up anew then. */
    void settle();
    /** A request is on its way through the driver, and some of it may have been sent. */
    bool inRequest() const { return m_inRequest; }
    const RequestEnd &request() const { return m_request; }
    /** No request of the plan has had its turn since the last round, or there is no plan. */
    bool betweenRounds() const { return m_cyclicDone == 0; }

    std::atomic<bool> &stopping() { return m_stopping; }
    /** After a stop, with no step under way. */
    void goOn();

private:
    PollStep idle(TimePoint until);
    PollStep noPort();
    PollStep awaitPort();
    void portLost();
    void dropHanded();
    void drop();
    bool openPort();
    void setPort(bool open);
    void endWaits();
    void beginRound();
    void forgetRound();
    void endRest();
    bool nextFrame();
    void beginRequest();
    bool disturbsRest() const;
    void passOver();
    void withdrawStale();
    bool skipped();
    PollStep send();
    void handOver();
    void deal(const QByteArray &reply);
    void giveUp();
    void endRequest();
    void noteHealth();
    void countCyclic(bool asked);
    bool isWriteFrame() const;
    bool answersOnce() const;
    bool question() const;

    DriverLibrary &m_driver;
    Line &m_line;
    LinkSettings m_settings;
    PollClient &m_client;
    std::atomic<bool> m_stopping{false};
    StationHealth m_health;
    FrameExchange m_exchange;
    FRAME_PRO m_frame;
    Transaction m_transaction;
    RequestEnd m_request;
    bool m_frameOut = false; ///< given by the driver, and not answered yet
    bool m_inRequest = false;
    bool m_resend = false;
    bool m_heard = false; ///< something came back during this request
    bool m_wasDead = false;
    bool m_halfRead = false; ///< of a bit write: the read half has its reply
    bool m_wentOn = false;   ///< after a stop, and nothing was sent since
    bool m_portOpen = false;
    bool m_portKnown = false;
    TimePoint m_nextOpen;
    TimePoint m_nextStep;
    TimePoint m_exchangeStart;
    int m_roundLength = 0;
    int m_cyclicDone = 0;
    bool m_askedInRound = false;
    std::set<int> m_missedInRound; ///< stations that were silent, or not asked
    bool m_readAgain = false;      ///< one of them is back: the next round begins at once
    TimePoint m_roundStart;
    TimePoint m_restUntil; ///< the plan rests until then
};

} // namespace rtu

#endif
