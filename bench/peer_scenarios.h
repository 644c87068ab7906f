/**
 * @file
 * The same reads done by libmodbus, over its own receive path on a socket pair.
 */
#ifndef PEER_SCENARIOS_H
#define PEER_SCENARIOS_H

#include "bench/poll_scenarios.h"

std::unique_ptr<Scenario> libmodbusRegisters();
std::unique_ptr<Scenario> libmodbusCoils();

#endif
