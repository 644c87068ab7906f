/**
 * @file
 * Finding out what one station takes.
 */
#ifndef RTU_HOST_PROBE_PROGRAM_H
#define RTU_HOST_PROBE_PROGRAM_H

#include "host/cli/options.h"
#include "host/commands/stop_target.h"
#include "host/tags/tag.h"
#include "kit/line/port_line.h"

#include <ostream>

namespace rtu {

/**
 * Asks until it is known how the station of --probe is best polled, and says so.
 *
 * @param range the elements that are looked for
 * @return exit status
 */
int probeStation(const Options &options, PortLine &line, const TagRange &range, StopTarget &stopTarget,
                 std::ostream &out, std::ostream &err);

} // namespace rtu

#endif
