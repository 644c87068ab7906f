/**
 * @file
 * 32-bit arithmetic on addresses and counts. Whatever a host hands over, sums
 * and products wrap as the panel's processor would have them; in C++ a signed
 * overflow would be undefined.
 */
#ifndef MODBUS_RTU_ARITHMETIC_H
#define MODBUS_RTU_ARITHMETIC_H

inline int wrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}

inline int wrapSub(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}

inline int wrapMul(int a, int b)
{
    return static_cast<int>(static_cast<unsigned int>(a) * static_cast<unsigned int>(b));
}

enum {
    ByteBits = 8,           ///< of a byte: coils travel packed, eight to a byte
    RegisterBits = 16,      ///< of a register: a bit address is register x 16 + bit
    StationElements = 65536 ///< coils, or registers, that addresses of a station reach
};

/** a / b rounded up (toward positive infinity), for b > 0. */
inline int divideUp(int a, int b)
{
    return a / b + (a % b > 0 ? 1 : 0);
}

/**
 * Elements that one call walks at most: every bit of every register of one
 * station (65536 x 16). A larger count reaches past any address there is; it is
 * cut here so that no call runs for minutes or eats the memory of the panel.
 */
enum { MaxElements = StationElements * RegisterBits };

inline int boundedCount(int count)
{
    return count < static_cast<int>(MaxElements) ? count : static_cast<int>(MaxElements);
}

#endif
