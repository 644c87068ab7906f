/**
 * @file
 * Tags of this program as a link knows them.
 */
#ifndef RTU_HOST_LINK_TAGS_H
#define RTU_HOST_LINK_TAGS_H

#include "host/tags/tag.h"

#include <modbus_rtu_host/tag_definition.h>

#include <vector>

namespace rtu {

/** The tag with its stored bits as numbers: formats and scales are this program's own. */
TagDefinition definitionOf(const TagRange &tag);

/** Stored bits as definitionOf() has them written. */
std::vector<double> numbersOf(const std::vector<std::uint32_t> &raw);

/** The one value of a tag as a tag of its own. @param value zero-based */
TagRange singleValue(const TagRange &tag, int value);

} // namespace rtu

#endif
