#include "cache/request_queue.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

#include <climits>

namespace {

/** How far @p to lies beyond @p from on a circle of 32-bit addresses, going up or down. */
long long distance(long long from, long long to, bool upward)
{
    return static_cast<unsigned int>(upward ? to - from : from - to);
}

} // namespace

bool isRange(const VARIABLE &unit, int station, const QString &regType, int startAddr, int count)
{
    return unit.station == station && unit.startAddr == startAddr && unit.count == count
           && (sharesText(unit.regType, regType) || unit.regType == regType);
}

void addVarToList(QList<VARIABLE> &list, const VARIABLE &var)
{
    for (int i = sizeOf(list) - 1; i >= 1; --i) {
        if (isSameRange(list.at(i), var)) {
            copyUnit(list[i], var);
            return;
        }
    }
    if (sizeOf(list) > LastQueuePlace)
        copyUnit(list[LastQueuePlace], var);
    else
        list.append(var);
}

int queuedBetween(const QList<VARIABLE> &list, const VARIABLE &unit)
{
    for (int i = LastQueuePlace - 1; i >= 1; --i) {
        if (isSameRange(list.at(i), unit))
            return i;
    }
    return -1;
}

RequestPieces::RequestPieces(int startAddr, int count, int limit, Unit asUnit)
    : start(startAddr)
    , unit(asUnit)
    , pieces(count > 0 ? 1 : 0)
    , each(count)
    , last(count)
{
    if (limit == 0)
        return;
    // 64 bits: the lowest number divided by -1 is no 32-bit number, and then none is queued.
    const int rest = static_cast<int>(static_cast<long long>(count) % limit);
    const long long number = static_cast<long long>(count) / limit + (rest != 0 ? 1 : 0);
    pieces = number > INT_MAX ? 0 : static_cast<int>(number);
    each = limit;
    last = rest != 0 ? rest : limit;
}

RequestPieces RequestPieces::uncut(int startAddr, int count, Unit asUnit)
{
    RequestPieces whole(startAddr, count, 0, asUnit);
    whole.pieces = 1;
    return whole;
}

int RequestPieces::offset(int k) const
{
    return wrapMul(k, each);
}

int RequestPieces::startOf(int k) const
{
    const int first = wrapAdd(start, offset(k));
    return unit == BitsAsRegisters ? first / RegisterBits : first;
}

int RequestPieces::countOf(int k) const
{
    return unit == BitsAsRegisters ? registersOf(lengthOf(k)) : lengthOf(k);
}

int RequestPieces::lastWith(int startAddr, int count, int from) const
{
    const int final = pieces - 1;
    if (final >= from && startOf(final) == startAddr && countOf(final) == count)
        return final;
    if (final <= from || countOf(from) != count)
        return -1;
    if (unit == Elements)
        return lastStartingWithin(startAddr, startAddr, from);
    // The bits that divide to this register; toward zero, so that there are more around 0.
    const long long bit = static_cast<long long>(startAddr) * RegisterBits;
    const int beside = RegisterBits - 1;
    return lastStartingWithin(startAddr > 0 ? bit : bit - beside, startAddr < 0 ? bit : bit + beside, from);
}

/** The last request between @p from and the one before the last whose first element lies within these bounds, or -1. */
int RequestPieces::lastStartingWithin(long long lowest, long long highest, int from) const
{
    if (lowest < INT_MIN)
        lowest = INT_MIN;
    if (highest > INT_MAX || highest < lowest)
        return -1;
    const bool upward = each > 0;
    const bool begunWithin = start >= lowest && start <= highest;
    const long long step = upward ? each : -static_cast<long long>(each);
    const long long nearest = begunWithin ? 0 : distance(start, upward ? lowest : highest, upward);
    const long long farthest = distance(start, upward ? highest : lowest, upward);
    long long k = farthest / step;
    if (k > pieces - 2)
        k = pieces - 2;
    return k >= from && k * step >= nearest ? static_cast<int>(k) : -1;
}
