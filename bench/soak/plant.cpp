#include "plant.h"

namespace soak {

namespace {

/** All elements there are, so that none is made while the memory is watched. */
support::SlaveTables zeroed()
{
    support::SlaveTables tables;
    for (int address = 0; address < Coils; ++address)
        tables.coils[address] = 0;
    for (int address = 0; address < Inputs; ++address)
        tables.discreteInputs[address] = 0;
    for (int address = 0; address < InputRegisters; ++address)
        tables.inputRegisters[address] = 0;
    tables.setHolding(0, std::vector<int>(HoldingRegisters, 0));
    return tables;
}

void flipOne(std::map<int, int> &table, int limit, Random &random)
{
    table[random.below(limit)] ^= 1;
}

void moveOne(std::map<int, int> &table, int limit, Random &random)
{
    // Now and then any value, else a small step: bits, words and doubles all change.
    int &value = table[random.below(limit)];
    value = random.below(8) == 0 ? random.below(0x10000) : (value + 1) & 0xFFFF;
}

} // namespace

Plant::Plant(std::uint32_t seed) : slaves(Stations, zeroed()), random(seed) {}

void Plant::move()
{
    support::SlaveTables &one = slave(FirstStation + random.below(Stations));
    flipOne(one.discreteInputs, Inputs, random);
    moveOne(one.inputRegisters, InputRegisters, random);
    moveOne(one.holdingRegisters, MovingRegisters, random);
}

QByteArray Plant::answer(const QByteArray &request)
{
    const int station = byteAt(request, 0);
    if (!support::hasRightCrc(request) || station < FirstStation || station >= FirstStation + Stations)
        return QByteArray();
    return slave(station).carryOut(request);
}

QByteArray Plant::answerOfOther(const QByteArray &request)
{
    const int station = byteAt(request, 0);
    const int other = station == FirstStation ? station + 1 : station - 1;
    QByteArray misread = request.left(static_cast<int>(request.size()) - 2);
    misread[0] = static_cast<char>(other);
    if (byteAt(request, 1) <= 4)
        return slave(other).carryOut(support::withCrc(misread));
    return support::writeEcho(misread);
}

} // namespace soak
