/**
 * @file
 * The one checker of a loaded library, and the driver it forwards to.
 */
#ifndef CHECKER_INSTANCE_H
#define CHECKER_INSTANCE_H

#include "checker/contract.h"
#include "checker/entry_point.h"
#include "checker/watchdog.h"

namespace checker {

class Instance
{
public:
    Instance() : watchdog(contract) {}

    Contract contract;
    Watchdog watchdog;
};

extern Instance instance;

/** The functions that calls are forwarded to. */
const DriverCalls &driverCalls();

} // namespace checker

#endif
