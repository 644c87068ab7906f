#include "bench/polled_blocks.h"

#include "bench/replies.h"
#include "tests/support/records.h"

namespace {

PolledBlock registers(int station, int startAddr, int count)
{
    return {support::key(station, "4x", startAddr, count),
            {support::wordsReply(station, 3, registerRun(0x1234 + startAddr, count))}};
}

} // namespace

PolledBlock steadyRegisters(int station)
{
    return registers(station, 0, 125);
}

PolledBlock fewRegisters(int station)
{
    return registers(station, 0, 25);
}

PolledBlock steadyRegistersAt(int station, int address)
{
    return registers(station, address, 125);
}

PolledBlock movingRegisters(int station)
{
    PolledBlock block = registers(station, 0, 125);
    block.replies.push_back(support::wordsReply(station, 3, registerRun(0x4321, 125)));
    return block;
}

PolledBlock oneMovingRegister(int station)
{
    PolledBlock block = registers(station, 0, 125);
    std::vector<int> values = registerRun(0x1234, 125);
    values[62] = 0x4321;
    block.replies.push_back(support::wordsReply(station, 3, values));
    return block;
}

PolledBlock steadyCoils(int station)
{
    return steadyCoilsAt(station, 0);
}

PolledBlock steadyCoilsAt(int station, int address)
{
    return {support::key(station, "0x", address, 2000), {support::bitsReply(station, 1, coilRun(2000, 0x5A))}};
}

PolledBlock movingCoils(int station)
{
    PolledBlock block = steadyCoils(station);
    block.replies.push_back(support::bitsReply(station, 1, coilRun(2000, 0xA5)));
    return block;
}
