/**
 * @file
 * The values in a data area: their bits and bytes, and the one that is shown.
 */
#ifndef DATA_AREAS_H
#define DATA_AREAS_H

#include "driver/modbus_rtu_records.h"

/** What a register is monitored as: bits of _DATA_::wordMonitor. */
enum { PlainWord = 0, FirstOfDouble = 1, SecondOfDouble = 2 };

/** Bits of _DATA_::bitWriteState for the bit at @p position of a register: a write is pending, and a second one. */
inline int pendingBit(int position)
{
    return 2 * position;
}

inline int secondPendingBit(int position)
{
    return 2 * position + 1;
}

/** Coil areas at multiples of this say which of as many coils are monitored. */
enum { AreaCoils = 8 };

/**
 * @p value with bit @p bit set (@p on nonzero) or cleared. Only the low 8 bits
 * of the bit number are looked at; numbers from 32 on leave the value unchanged.
 */
int _setBitValue(int value, int bit, int on);

/** The 16 bits of an area value that hold a register. */
inline int registerOf(int areaValue)
{
    return areaValue & 0xFFFF;
}

/** The 8 bits of an area value that hold a coil. */
inline int coilOf(int areaValue)
{
    return areaValue & 0xFF;
}

/** Stores a register in an area value; only bytes 0 and 1 are the cache's. */
inline void storeRegister(int &areaValue, int registerValue)
{
    areaValue = (areaValue & ~0xFFFF) | (registerValue & 0xFFFF);
}

/** Stores a coil in an area value. */
inline void storeCoil(int &areaValue, int coilValue)
{
    areaValue = (areaValue & ~0xFF) | (coilValue & 0xFF);
}

/** The value that the host sees: the written one while the area is flagged so, else the one read. */
inline int shownValue(const _DATA_ &area)
{
    return area.writtenFlag ? area.writtenValue : area.readValue;
}

#endif
