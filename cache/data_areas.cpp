#include "cache/data_areas.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

namespace {

enum { RegisterBits = 16, AreaCoils = 8 };

/** The text of a type that the table knows, so that its areas share one buffer; else the text itself. */
QString sharedTypeText(const QString &regType)
{
    const RegisterType *type = findRegisterType(regType);
    return type ? registerTypeText(*type) : regType;
}

_DATA_ newArea(int station, const QString &regType, int areaIndex)
{
    _DATA_ area = _DATA_();
    area.station = station;
    area.regType = sharedTypeText(regType);
    area.areaIndex = areaIndex;
    return area;
}

} // namespace

int _setBitValue(int value, int bit, int on)
{
    const unsigned int number = static_cast<unsigned int>(bit) & 0xFFu;
    const unsigned int mask = number < 32 ? 1u << number : 0u;
    const unsigned int bits = static_cast<unsigned int>(value);
    return static_cast<int>(on != 0 ? bits | mask : bits & ~mask);
}

int Modbus_rtu_master::getIndexOfDataArea(int station, const QString &regType, int areaIndex, QList<_DATA_> &areas)
{
    const bool ownCache = &areas == &dataAreas;
    const int found = ownCache ? areaPositions.find(areas, station, regType, areaIndex)
                               : scanForArea(areas, station, regType, areaIndex);
    if (found >= 0)
        return found;

    areas.append(newArea(station, regType, areaIndex));
    if (ownCache)
        areaPositions.appended(areas);
    return sizeOf(areas) - 1;
}

_DATA_ &Modbus_rtu_master::dataArea(int station, const QString &regType, int areaIndex)
{
    return dataAreas[getIndexOfDataArea(station, regType, areaIndex, dataAreas)];
}

void Modbus_rtu_master::_wordDataChange(const int *oldValue, const int *newValue, int station, const QString &regType,
                                        int address, int noBits)
{
    const MonitorRoles roles(dataArea(station, regType, address));
    reportWordChange(roles, *oldValue, *newValue, station, regType, address, noBits);
}

void Modbus_rtu_master::reportWordChange(const MonitorRoles &roles, int oldValue, int newValue, int station,
                                         const QString &regType, int address, int noBits)
{
    if (oldValue == newValue)
        return;

    if (noBits == 0 && roles.bits != 0) {
        const int changed = roles.bits & (oldValue ^ newValue);
        const QString bitType = bitTypeOf(regType);
        for (int bit = 0; bit < RegisterBits; ++bit) {
            if (changed >> bit & 1)
                reportChange(linkId, station, bitType, wrapAdd(wrapMul(address, RegisterBits), bit));
        }
    }
    if (roles.words & 1)
        reportChange(linkId, station, regType, address);
    for (int half = 0; half < 2; ++half) {
        const int lower = wrapSub(address, half);
        if (lower < 0)
            return;
        if (roles.words >> (half + 1) & 1)
            reportChange(linkId, station, doubleTypeOf(regType), lower);
    }
}

void Modbus_rtu_master::_byteDataChange(const unsigned char *oldValue, const unsigned char *newValue, int station,
                                        const QString &regType, int address, int noBits)
{
    const int monitored = dataArea(station, regType, address).bitMonitor;
    if (noBits != 0)
        return;
    const int changed = monitored & (*oldValue ^ *newValue);
    for (int bit = 0; bit < AreaCoils; ++bit) {
        if (changed >> bit & 1)
            reportChange(linkId, station, regType, wrapAdd(address, bit));
    }
}

AreaWalker::AreaWalker(Modbus_rtu_master &master, int walkedStation, const QString &walkedType)
    : station(walkedStation)
    , areaType(walkedType)
    , owner(master)
    , position(-1)
{
}

bool AreaWalker::isAt(int candidate, int areaIndex) const
{
    const QList<_DATA_> &areas = owner.dataAreas;
    return candidate >= 0 && candidate < sizeOf(areas) && hasKeys(areas.at(candidate), station, areaType, areaIndex);
}

_DATA_ &AreaWalker::at(int areaIndex)
{
    if (isAt(position, areaIndex))
        return owner.dataAreas[position];
    if (isAt(position + 1, areaIndex))
        ++position;
    else
        position = owner.getIndexOfDataArea(station, areaType, areaIndex, owner.dataAreas);
    return owner.dataAreas[position];
}

// The two walks below are the driver's busiest loops: in a steady plant nearly
// every register of nearly every reply is what it was. They step along the list
// itself, so that a register costs a comparison of its keys and its value and no
// look-up; whatever does not fit the pattern ends the walk and is handled one by
// one by the caller.

int AreaWalker::passUnchangedRegisters(int areaIndex, const unsigned char *wire, int count)
{
    at(areaIndex);
    QList<_DATA_> &areas = owner.dataAreas;
    const int inList = sizeOf(areas) - position;
    const int limit = count < inList ? count : inList;
    QList<_DATA_>::iterator area = areas.begin() + position;
    int passed = 0;
    for (; passed < limit; ++passed, ++area, wire += 2) {
        if (area->areaIndex != wrapAdd(areaIndex, passed) || area->station != station
            || !sharesText(area->regType, areaType))
            break;
        if (registerOf(area->readValue) != (wire[0] << 8 | wire[1]))
            break;
        area->errorFlag = 0;
    }
    position += passed;
    return passed;
}

int AreaWalker::passUnchangedCoils(int areaIndex, const unsigned char *packed, int firstBit, int count)
{
    at(areaIndex);
    QList<_DATA_> &areas = owner.dataAreas;
    const int inList = sizeOf(areas) - position;
    const int limit = count < inList ? count : inList;
    QList<_DATA_>::iterator area = areas.begin() + position;
    int passed = 0;
    for (; passed < limit; ++passed, ++area) {
        if (area->areaIndex != wrapAdd(areaIndex, passed) || area->station != station
            || !sharesText(area->regType, areaType))
            break;
        const int bit = firstBit + passed;
        if (coilOf(area->readValue) != (packed[bit / 8] >> bit % 8 & 1))
            break;
        area->errorFlag = 0;
    }
    position += passed;
    return passed;
}
