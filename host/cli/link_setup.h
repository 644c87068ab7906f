/**
 * @file
 * What the options are to the link that does the polling.
 */
#ifndef RTU_HOST_LINK_SETUP_H
#define RTU_HOST_LINK_SETUP_H

#include "host/cli/options.h"

#include "kit/line/line_timing.h"

#include <modbus_rtu_host/link_settings.h>

namespace rtu {

/**
 * The settings of the link that polls as the options say.
 *
 * @param timing of the open port
 * @param driver the file of the driver
 */
LinkSettings linkSettings(const Options &options, const LineParameters &line, const LineTiming &timing,
                          const std::string &driver);

} // namespace rtu

#endif
