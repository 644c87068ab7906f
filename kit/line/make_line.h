/**
 * @file
 * The line that a port's name means.
 */
#ifndef KIT_LINE_MAKE_LINE_H
#define KIT_LINE_MAKE_LINE_H

#include "kit/line/port_line.h"

#include <memory>
#include <string>

namespace rtu {

/**
 * Opens nothing yet.
 *
 * @param port "/dev/ttyUSB0", a pseudo-terminal, or "tcp:HOST:PORT"
 * @param parameters of a serial port; a device server has its own
 * @throws Error when the name cannot be understood
 */
std::unique_ptr<PortLine> makeLine(const std::string &port, const LineParameters &parameters);

} // namespace rtu

#endif
