/**
 * @file
 * What a change call brings.
 */
#ifndef MODBUS_RTU_HOST_TAG_CHANGE_H
#define MODBUS_RTU_HOST_TAG_CHANGE_H

#include <modbus_rtu_host/tag.h>

namespace rtu {

/** The value or the quality of a tag is another one now; a newer time alone is no change. */
struct TagChange
{
    Tag tag;
    TagValue before;
    TagValue after;
};

} // namespace rtu

#endif
