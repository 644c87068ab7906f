/**
 * @file
 * What registers of so many bits can hold.
 */
#ifndef KIT_TAGS_VALUE_RANGE_H
#define KIT_TAGS_VALUE_RANGE_H

#include <cmath>
#include <cstdint>

namespace rtu {

struct ValueRange
{
    double lowest;
    double highest;

    /** False for what is no number. */
    bool holds(double value) const { return value >= lowest && value <= highest; }
};

/** Unsigned registers take negative numbers as well: everybody writes -1 for 0xFFFF. */
inline ValueRange registerRange(int bits, bool isSigned)
{
    const ValueRange range = {-std::ldexp(1.0, bits - 1), std::ldexp(1.0, isSigned ? bits - 1 : bits) - 1};
    return range;
}

/** The lowest @p bits, 1 to 32. */
inline std::uint32_t valueMask(int bits)
{
    return 0xFFFFFFFFu >> (32 - bits);
}

} // namespace rtu

#endif
