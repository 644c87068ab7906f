#include "cache/data_areas.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

// The walk over unchanged registers is unrolled by hand-set pragma: a fifth fewer
// instructions a register, measured with gcc 12 on amd64.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 8
#define UNROLL_4 _Pragma("GCC unroll 4")
#else
#define UNROLL_4
#endif

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
    , otherPosition(-1)
{
}

_DATA_ &AreaWalker::locate(int areaIndex)
{
    if (isAt(position + 1, areaIndex)) {
        ++position;
    } else {
        const int next = otherPosition + 1;
        otherPosition = position;
        position = isAt(next, areaIndex)
            ? next
            : owner.getIndexOfDataArea(station, areaType, areaIndex, owner.dataAreas);
    }
    return owner.dataAreas[position];
}

// The walk below is the driver's busiest loop: in a steady plant nearly every
// register of nearly every reply is what it was. It steps along the list itself,
// so that a register costs a comparison of its keys and its value and no
// look-up; whatever does not fit the pattern ends the walk and is handled one by
// one by the caller.
template <typename SameValue>
int AreaWalker::passUnchanged(int areaIndex, int count, SameValue sameValue)
{
    at(areaIndex);
    QList<_DATA_> &areas = owner.dataAreas;
    const QList<_DATA_>::iterator first = areas.begin();
    int next = position;
    int otherNext = otherPosition + 1;
    int passed = 0;
    while (passed < count) {
        if (!isAt(next, areaIndex + passed)) {
            if (!isAt(otherNext, areaIndex + passed))
                break;
            qSwap(next, otherNext);
        }
        const int inList = sizeOf(areas) - next;
        const int limit = count - passed < inList ? count - passed : inList;
        const int run = passRun(first + next, areaIndex + passed, limit, passed, sameValue);
        passed += run;
        next += run;
        if (run == 0)
            break;
    }
    // The next look-up starts at the area that ended the walk.
    position = next;
    otherPosition = otherNext - 1;
    return passed;
}

/** Along areas that lie beside each other, as long as keys and values fit; result: how many. */
template <typename SameValue>
int AreaWalker::passRun(QList<_DATA_>::iterator area, int areaIndex, int limit, int firstElement,
                        SameValue sameValue) const
{
    const int wantedStation = station; // copies: the flags written below could alias the members
    const QString wantedType = areaType;
    int passed = 0;
    UNROLL_4
    for (; passed < limit; ++passed, ++area) {
        _DATA_ &candidate = *area;
        if (candidate.areaIndex != areaIndex + passed || candidate.station != wantedStation
            || !sharesText(candidate.regType, wantedType))
            break;
        if (!sameValue(candidate, firstElement + passed))
            break;
        candidate.errorFlag = 0;
    }
    return passed;
}

namespace {

struct SameRegister
{
    const unsigned char *wire;

    bool operator()(const _DATA_ &area, int i) const
    {
        const unsigned char *bytes = wire + 2 * i;
        return static_cast<quint16>(area.readValue) == static_cast<quint16>(bytes[0] << 8 | bytes[1]);
    }
};

struct SameCoil
{
    const unsigned char *packed;
    int firstBit;

    bool operator()(const _DATA_ &area, int i) const
    {
        const int bit = firstBit + i;
        return coilOf(area.readValue) == (packed[bit / 8] >> bit % 8 & 1);
    }
};

} // namespace

int AreaWalker::passUnchangedRegisters(int areaIndex, const unsigned char *wire, int count)
{
    const SameRegister same = {wire};
    return passUnchanged(areaIndex, count, same);
}

int AreaWalker::passUnchangedCoils(int areaIndex, const unsigned char *packed, int firstBit, int count)
{
    const SameCoil same = {packed, firstBit};
    return passUnchanged(areaIndex, count, same);
}
