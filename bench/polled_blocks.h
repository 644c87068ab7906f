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

/** The register at address 0, which never changes. */
PolledBlock firstRegister(int station);

/** A register that never changes. */
PolledBlock steadyRegister(int station, int address);

/** 125 registers of which each is another in every reply. */
PolledBlock movingRegisters(int station);

/** 125 registers of which the one in the middle is another in every reply. */
PolledBlock oneMovingRegister(int station);

/** 2000 coils that never change. */
PolledBlock steadyCoils(int station);

/** 2000 coils of which each is another in every reply. */
PolledBlock movingCoils(int station);

#endif
