#include "cache/data_areas.h"

int _setBitValue(int value, int bit, int on)
{
    const unsigned int number = static_cast<unsigned int>(bit) & 0xFFu;
    const unsigned int mask = number < 32 ? 1u << number : 0u;
    const unsigned int bits = static_cast<unsigned int>(value);
    return static_cast<int>(on != 0 ? bits | mask : bits & ~mask);
}
