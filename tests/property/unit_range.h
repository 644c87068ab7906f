/**
 * @file
 * A request unit without its payload, and the run of places that it covers.
 */
#ifndef PROPERTY_UNIT_RANGE_H
#define PROPERTY_UNIT_RANGE_H

#include "driver/modbus_rtu_records.h"

#include <QtCore/QList>

#include <vector>

namespace property {

struct UnitRange
{
    int userData;
    int station;
    QString regType;
    int startAddr;
    int count;

    explicit UnitRange(const VARIABLE &unit)
        : userData(unit.userData)
        , station(unit.station)
        , regType(unit.regType)
        , startAddr(unit.startAddr)
        , count(unit.count)
    {
    }
};

/** The queue as it stands; a shared copy of the list would make the driver copy all payloads. */
inline std::vector<UnitRange> rangesOf(const QList<VARIABLE> &units)
{
    std::vector<UnitRange> ranges;
    for (int i = 0; i < static_cast<int>(units.size()); ++i)
        ranges.push_back(UnitRange(units.at(i)));
    return ranges;
}

/** Coils, inputs or registers from first to last of one station; area is '0', '1', '3' or '4'. */
struct PlaceRun
{
    int station;
    char area;
    int first;
    int last;

    bool overlaps(const PlaceRun &other) const
    {
        return station == other.station && area == other.area && first <= other.last && other.first <= last;
    }

    bool holds(int index) const { return first <= index && index <= last; }
};

/** The places that a unit of this type touches in the cache. */
inline PlaceRun placesOf(int station, const QString &regType, int address, int count)
{
    PlaceRun run = {station, regType.isEmpty() ? '?' : regType.at(0).toLatin1(), address, address + count - 1};
    if (regType.endsWith(QLatin1String("_bit"))) {
        run.first = address / 16;
        run.last = (address + count - 1) / 16;
    } else if (regType.endsWith(QLatin1String("_double"))) {
        run.last = address + count / 2 * 2 - 1;
    }
    return run;
}

template <typename Unit>
PlaceRun placesOf(const Unit &unit)
{
    return placesOf(unit.station, unit.regType, unit.startAddr, unit.count);
}

} // namespace property

#endif
