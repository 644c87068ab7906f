#include "cache/data_areas.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

#include <climits>

namespace {

enum { AreaCoils = 8 };

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

    makeRoomForOne(areas);
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
    // What is monitored is looked up once: a callback may change the plan or empty the cache.
    const _DATA_ &area = dataArea(station, regType, address);
    const int words = area.wordMonitor;
    const int changed = *oldValue ^ *newValue;
    const int changedBits = noBits == 0 ? area.bitMonitor & changed : 0;
    if (changed == 0)
        return;

    if (changedBits != 0) {
        const QString bitType = bitTypeOf(regType);
        for (int bit = 0; bit < RegisterBits; ++bit) {
            if (changedBits >> bit & 1)
                reportChange(linkId, station, bitType, wrapAdd(wrapMul(address, RegisterBits), bit));
        }
    }
    if (words & 1)
        reportChange(linkId, station, regType, address);
    for (int half = 0; half < 2; ++half) {
        const int lower = wrapSub(address, half);
        if (lower < 0)
            return;
        if (words >> (half + 1) & 1)
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
    , areas(master.dataAreas)
    , position(-1)
    , otherPosition(-1)
{
}

_DATA_ &AreaWalker::locate(int areaIndex)
{
    int found = otherPosition;
    if (isAt(found, areaIndex)) {
        otherPosition = position; // the run that is left for now is taken up again here
    } else if (isAt(position + 1, areaIndex)) {
        found = position + 1;
    } else {
        found = otherPosition + 1;
        otherPosition = position;
        if (!isAt(found, areaIndex))
            found = owner.getIndexOfDataArea(station, areaType, areaIndex, areas);
    }
    position = found;
    return areas[position];
}

// The walk below is the driver's busiest loop: in a steady plant nearly every
// register of nearly every reply is what it was. It steps along the list itself,
// so that a register costs a comparison of its keys and its value and no
// look-up; whatever does not fit the pattern ends the walk and is handled one by
// one by the caller.

namespace {

/** Areas beside each other that hold what a reply says. */
template <typename SameValue>
class UnchangedRun
{
public:
    UnchangedRun(int walkedStation, const QString &walkedType, SameValue value)
        : station(walkedStation)
        , regType(walkedType)
        , sameValue(value)
    {
    }

    /** Along the areas from @p area on, as long as keys and values fit; result: how many. */
    int pass(QList<_DATA_>::iterator area, int areaIndex, std::size_t element, int limit) const
    {
        int passed = 0;
        // In fours: the counting is a fifth of the work on one area.
        for (; limit - passed >= 4; passed += 4, areaIndex += 4, element += 4, area += 4) {
            if (!passOne(area[0], areaIndex, element))
                return passed;
            if (!passOne(area[1], areaIndex + 1, element + 1))
                return passed + 1;
            if (!passOne(area[2], areaIndex + 2, element + 2))
                return passed + 2;
            if (!passOne(area[3], areaIndex + 3, element + 3))
                return passed + 3;
        }
        for (; passed < limit && passOne(*area, areaIndex, element); ++passed, ++areaIndex, ++element)
            ++area;
        return passed;
    }

private:
    bool passOne(_DATA_ &area, int areaIndex, std::size_t element) const
    {
        if (area.areaIndex != areaIndex || area.station != station || !sharesText(area.regType, regType)
            || !sameValue(area, element))
            return false;
        area.errorFlag = 0;
        return true;
    }

    const int station;
    const QString regType;
    const SameValue sameValue;
};

struct SameRegister
{
    const unsigned char *wire;

    bool operator()(const _DATA_ &area, std::size_t element) const
    {
        const unsigned char *bytes = wire + 2 * element;
        return static_cast<quint16>(area.readValue) == static_cast<quint16>(bytes[0] << 8 | bytes[1]);
    }
};

struct SameCoil
{
    const unsigned char *packed;

    bool operator()(const _DATA_ &area, std::size_t element) const
    {
        return static_cast<quint8>(area.readValue) == (packed[element / 8] >> element % 8 & 1);
    }
};

} // namespace

template <typename SameValue>
int AreaWalker::passUnchanged(int areaIndex, std::size_t firstElement, int count, SameValue sameValue)
{
    if (count > 0 && areaIndex > INT_MAX - count)
        return 0; // such a run wraps around; the caller takes its elements one by one
    at(areaIndex);
    const UnchangedRun<SameValue> run(station, areaType, sameValue);
    const QList<_DATA_>::iterator first = areas.begin();
    const int known = sizeOf(areas);
    int passed = 0;
    while (passed < count) {
        const int left = count - passed;
        const int limit = left < known - position ? left : known - position;
        const int along =
            run.pass(first + position, areaIndex + passed, firstElement + static_cast<std::size_t>(passed), limit);
        passed += along;
        position += along;
        if (passed == count || isAt(position, areaIndex + passed))
            break; // all passed, or the next one has another value
        if (!isAt(otherPosition, areaIndex + passed))
            break;
        qSwap(position, otherPosition);
    }
    return passed;
}

int AreaWalker::passUnchangedRegisters(int areaIndex, const unsigned char *wire, int count)
{
    const SameRegister same = {wire};
    return passUnchanged(areaIndex, 0, count, same);
}

int AreaWalker::passUnchangedCoils(int areaIndex, const unsigned char *packed, int firstBit, int count)
{
    const SameCoil same = {packed};
    return passUnchanged(areaIndex, static_cast<std::size_t>(firstBit), count, same);
}
