/**
 * @file
 * The areas of one station and type.
 */
#ifndef TYPE_AREAS_H
#define TYPE_AREAS_H

#include "driver/modbus_rtu_master.h"

class TypeAreas
{
public:
    /** @param type type of the areas; outlives the object */
    TypeAreas(Modbus_rtu_master &driverObject, int areaStation, const QString &type)
        : master(driverObject)
        , station(areaStation)
        , areaType(type)
    {
    }

    /** The area at @p areaIndex, created if absent. Valid until the next look-up or callback. */
    _DATA_ &at(int areaIndex);

    /** Stores what a register was read as; what was known of replies about it is forgotten. */
    void storeReadRegister(int areaIndex, int value);

    /** The same for a coil. */
    void storeReadCoil(int areaIndex, int value);

    Modbus_rtu_master &master;
    const int station;
    const QString &areaType;

private:
    TypeAreas(const TypeAreas &);
    TypeAreas &operator=(const TypeAreas &);
};

#endif
