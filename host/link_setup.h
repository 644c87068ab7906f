/**
 * @file
 * What the options and tags are to the link that does the polling.
 */
#ifndef RTU_HOST_LINK_SETUP_H
#define RTU_HOST_LINK_SETUP_H

#include "options.h"
#include "tag.h"

#include <modbus_rtu_host/link_settings.h>
#include <modbus_rtu_host/tag_spec.h>

#include <vector>

namespace rtu {

/**
 * The settings of the link that polls as the options say.
 *
 * @param timing of the open port
 * @param driver the file of the driver
 */
LinkSettings linkSettings(const Options &options, const LineParameters &line, const LineTiming &timing,
                          const std::string &driver);

/** The tag with its stored bits as numbers: formats and scales are this program's own. */
TagSpec specOf(const TagRange &tag);

/** Stored bits as specOf() has them written. */
std::vector<double> numbersOf(const std::vector<std::uint32_t> &raw);

/** The one value of a tag as a tag of its own. @param value zero-based */
TagRange singleValue(const TagRange &tag, int value);

} // namespace rtu

#endif
