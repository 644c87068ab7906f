#include "cache/data_areas.h"

#include "driver/modbus_rtu_master.h"

int _setBitValue(int value, int bit, int on)
{
    const unsigned int number = static_cast<unsigned int>(bit) & 0xFFu;
    const unsigned int mask = number < 32 ? 1u << number : 0u;
    const unsigned int bits = static_cast<unsigned int>(value);
    return static_cast<int>(on != 0 ? bits | mask : bits & ~mask);
}

int Modbus_rtu_master::getIndexOfDataArea(int station, const QString &regType, int areaIndex, QList<_DATA_> &areas)
{
    if (&areas != &dataAreas)
        return scanOrAppend(areas, station, regType, areaIndex);
    const int beside = areaPositions.findBeside(areas, station, regType, areaIndex);
    return beside >= 0 ? beside : areaPositions.findOrAppend(areas, station, regType, areaIndex);
}
