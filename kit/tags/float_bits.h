/**
 * @file
 * A 32-bit float and the 32 bits it is stored in (IEC 60559), both ways.
 */
#ifndef KIT_TAGS_FLOAT_BITS_H
#define KIT_TAGS_FLOAT_BITS_H

#include <cstdint>
#include <cstring>

namespace rtu {

inline float floatOf(std::uint32_t raw)
{
    float value;
    std::memcpy(&value, &raw, sizeof(value));
    return value;
}

inline std::uint32_t bitsOfFloat(float value)
{
    std::uint32_t raw;
    std::memcpy(&raw, &value, sizeof(raw));
    return raw;
}

} // namespace rtu

#endif
