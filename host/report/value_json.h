/**
 * @file
 * Values in JSON, as numbers wherever they are shown as such.
 */
#ifndef RTU_HOST_VALUE_JSON_H
#define RTU_HOST_VALUE_JSON_H

#include "host/tags/value_format.h"
#include "host/text/json.h"

#include <cstdint>

namespace rtu {

/** 42, -1.5, "0x1234" */
Json jsonValue(std::uint32_t raw, const ValueFormat &format);

} // namespace rtu

#endif
