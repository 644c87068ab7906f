#include "cache/station_areas.h"

#include "cache/data_areas.h"

_DATA_ &StationAreas::at(int address)
{
    return master.dataAreas[master.getIndexOfDataArea(station, areaType, address, master.dataAreas)];
}

void StationAreas::report(int address)
{
    master.reportChange(master.linkId, station, areaType, address);
}

void StationAreas::storeReadRegister(int address, int value)
{
    storeRegister(at(address).readValue, value);
    master.lastReplies.forget(station, areaType, address, 1);
}

void StationAreas::storeReadCoil(int address, int value)
{
    storeCoil(at(address).readValue, value);
    master.lastReplies.forget(station, areaType, address, 1);
}
