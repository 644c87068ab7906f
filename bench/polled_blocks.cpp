#include "bench/polled_blocks.h"

#include "bench/plant_keys.h"
#include "bench/replies.h"

namespace {

PolledBlock registers(int station, int startAddr, int count)
{
    return {planKey(station, "4x", startAddr, count), {registerReply(station, 3, registerRun(0x1234, count))}};
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

PolledBlock firstRegister(int station)
{
    return registers(station, 0, 1);
}

PolledBlock steadyRegister(int station, int address)
{
    return registers(station, address, 1);
}

PolledBlock movingRegisters(int station)
{
    PolledBlock block = registers(station, 0, 125);
    block.replies.push_back(registerReply(station, 3, registerRun(0x4321, 125)));
    return block;
}

PolledBlock oneMovingRegister(int station)
{
    PolledBlock block = registers(station, 0, 125);
    std::vector<int> values = registerRun(0x1234, 125);
    values[62] = 0x4321;
    block.replies.push_back(registerReply(station, 3, values));
    return block;
}

PolledBlock steadyCoils(int station)
{
    return {planKey(station, "0x", 0, 2000), {coilReply(station, 1, 2000, 0x5A)}};
}

PolledBlock movingCoils(int station)
{
    PolledBlock block = steadyCoils(station);
    block.replies.push_back(coilReply(station, 1, 2000, 0xA5));
    return block;
}
