/**
 * @file
 * Whom a poller works for.
 */
#ifndef KIT_POLL_POLL_CLIENT_H
#define KIT_POLL_POLL_CLIENT_H

#include "kit/poll/request_end.h"

namespace rtu {

class PollClient
{
public:
    virtual ~PollClient() = default;

    /**
     * The driver is between two requests: time to hand it something, and to change
     * its plan.
     *
     * @return true when it now has more than its cyclic plan
     */
    virtual bool feed() = 0;

    /** When feed() may have something new without being asked by anybody; TimePoint::max() for never. */
    virtual TimePoint nextFeed() = 0;

    /** The driver has been handed something that has not ended. */
    virtual bool handed() const = 0;

    /** True while a block transfer is requested: the next new request is its. */
    virtual bool transferring() const = 0;

    /** A frame went over the line. */
    virtual void frameDone(const Transaction &transaction) = 0;
    virtual void requestDone(const RequestEnd &end) = 0;
    /** A write was taken out of the driver before anything of it was sent: it is to be handed again. */
    virtual void writeWithdrawn(const Area &area) = 0;
    /** Every request of the plan had its turn. */
    virtual void roundDone() = 0;

    /** A station was silent for a whole request: what else waits for it ends. */
    virtual void stationSilent(int station) = 0;
    /** A station that was silent made itself heard, be it by an exception. */
    virtual void stationBack(int station) = 0;
    virtual void portChanged(bool open) = 0;
    /** The port was lost, or has been away until now: what may not wait for it ends. */
    virtual void portAway() = 0;
};

} // namespace rtu

#endif
