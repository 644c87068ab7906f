#include "cache/type_areas.h"

#include "cache/data_areas.h"

_DATA_ &TypeAreas::at(int areaIndex)
{
    return master.dataAreas[master.getIndexOfDataArea(station, areaType, areaIndex, master.dataAreas)];
}

void TypeAreas::storeReadRegister(int areaIndex, int value)
{
    storeRegister(at(areaIndex).readValue, value);
    master.lastReplies.forget(station, areaType, areaIndex, 1);
}

void TypeAreas::storeReadCoil(int areaIndex, int value)
{
    storeCoil(at(areaIndex).readValue, value);
    master.lastReplies.forget(station, areaType, areaIndex, 1);
}
