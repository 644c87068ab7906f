/**
 * @file
 * The same reads done by peers. libmodbus works over its own receive path on a
 * socket pair; the system calls of that alone are a scenario of their own. Qt's
 * serial-bus module is driven from the reply's PDU on, without its line handling
 * and without a CRC check, which it keeps to itself.
 */
#ifndef PEER_SCENARIOS_H
#define PEER_SCENARIOS_H

#include "bench/poll_scenarios.h"

std::unique_ptr<Scenario> libmodbusRegisters();
std::unique_ptr<Scenario> libmodbusCoils();

/** What libmodbus asks of the system for 125 registers, with no Modbus in it. */
std::unique_ptr<Scenario> socketPairAlone();

#ifdef MODBUS_BENCH_QT_SERIALBUS
std::unique_ptr<Scenario> qtSerialBusRegisters();
#endif

#endif
