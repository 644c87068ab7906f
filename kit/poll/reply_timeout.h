/**
 * @file
 * How long a station is given to answer.
 */
#ifndef KIT_POLL_REPLY_TIMEOUT_H
#define KIT_POLL_REPLY_TIMEOUT_H

#include <modbus_rtu_host/link_settings.h>

namespace rtu {

/** From the end of a request to the first byte: the station's own time-out, where it has one. */
inline Duration replyTimeoutOf(const LinkSettings &settings, int station)
{
    const auto own = settings.stations.find(station);
    const bool set = own != settings.stations.end() && own->second.replyTimeout >= Duration(0);
    return set ? own->second.replyTimeout : settings.replyTimeout;
}

} // namespace rtu

#endif
