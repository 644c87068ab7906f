/**
 * @file
 * How one request of the driver ended: read or write, with all its frames and attempts.
 */
#ifndef KIT_POLL_REQUEST_END_H
#define KIT_POLL_REQUEST_END_H

#include "kit/line/frame_check.h"
#include "kit/tags/area.h"

#include <modbus_rtu_host/transaction.h>

namespace rtu {

/** Who asked for a request; also the tag that it carries through the driver. */
enum class Source {
    Cyclic = CyclicTag,
    Write = 1001,
    OneOff = 1002,
    Paced = 1003, ///< one-off reads of the link's own
    Transfer = 1004
};

struct RequestEnd
{
    Source source = Source::Cyclic;
    Area area;
    ReplyKind kind = ReplyKind::Good; ///< of the last attempt
    int exceptionCode = 0;
    /** A frame that writes was handed to the port. */
    bool written = false;
    /** An attempt of it got no answer that says whether the slave acted on it. */
    bool writtenUnheard = false;
    TimePoint time;
    Duration lineTime{0}; ///< its attempts took of the line
    QString text;         ///< the driver's error text

    bool good() const { return kind == ReplyKind::Good; }
    bool refused() const { return kind == ReplyKind::Exception && !gatewaySilence(); }
    /** Refused, and no earlier attempt can have been carried out. */
    bool changedNothing() const { return refused() && !writtenUnheard; }
    bool gatewaySilence() const { return isGatewaySilence(exceptionCode); }
};

} // namespace rtu

#endif
