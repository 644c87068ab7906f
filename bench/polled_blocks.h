/**
 * @file
 * Blocks to poll, and the replies of the slaves that have them.
 */
#ifndef POLLED_BLOCKS_H
#define POLLED_BLOCKS_H

#include "driver/modbus_rtu_interface.h"

#include <vector>

/** One request of the plan, and what its slave answers, in turns. */
struct PolledBlock
{
    KEY_ADDRESS key;
    std::vector<QByteArray> replies;
};

/** 125 registers that never change. */
PolledBlock steadyRegisters(int station);

/** 25 of them. */
PolledBlock fewRegisters(int station);

/** 125 of the same registers from this address on; other blocks of them agree about what they share. */
PolledBlock steadyRegistersAt(int station, int address);

/** 125 registers of which each is another in every reply. */
PolledBlock movingRegisters(int station);

/** 125 registers of which the one in the middle is another in every reply. */
PolledBlock oneMovingRegister(int station);

/** 2000 coils that never change. */
PolledBlock steadyCoils(int station);

/** 2000 of the same coils from this address on, a multiple of 8; other blocks agree about what they share. */
PolledBlock steadyCoilsAt(int station, int address);

/** 2000 coils of which each is another in every reply. */
PolledBlock movingCoils(int station);

#endif
