/**
 * @file
 * The areas of one station and type.
 */
#ifndef STATION_AREAS_H
#define STATION_AREAS_H

#include "driver/modbus_rtu_master.h"

class StationAreas
{
public:
    /** @param type type of the areas; outlives the object */
    StationAreas(Modbus_rtu_master &driverObject, int areaStation, const QString &type)
        : master(driverObject)
        , station(areaStation)
        , areaType(type)
    {
    }

    /** The area of the element at @p address, created if absent. Valid until the next look-up or callback. */
    _DATA_ &at(int address);

    /** Stores what a register was read as; what was known of replies about it is forgotten. */
    void storeReadRegister(int address, int value);

    /** The same for a coil. */
    void storeReadCoil(int address, int value);

    /** Reports the element at @p address, monitored or not. */
    void report(int address);

    Modbus_rtu_master &master;
    const int station;
    const QString &areaType;

private:
    StationAreas(const StationAreas &);
    StationAreas &operator=(const StationAreas &);
};

#endif
