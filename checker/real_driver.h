/**
 * @file
 * The driver behind the checker.
 */
#ifndef CHECKER_REAL_DRIVER_H
#define CHECKER_REAL_DRIVER_H

#include "checker/entry_point.h"
#include "kit/driver/loaded_file.h"

#include <string>

namespace checker {

/** Loads a driver of its own and unloads it again. */
class RealDriver
{
public:
    RealDriver();

    /** The driver's functions. Those of a driver that could not be loaded do nothing and return 0. */
    const DriverCalls &calls() const { return functions; }

    /** Why there is no driver; empty when there is one. */
    const std::string &error() const { return reason; }

private:
    RealDriver(const RealDriver &);
    RealDriver &operator=(const RealDriver &);

    void load(const std::string &path);
    void resolve();

    rtu::LoadedFile copy; ///< one mapping of the driver is one line: each checker has one of its own
    DriverCalls functions;
    std::string reason;
};

/**
 * Where the driver is: the file that MODBUS_RTU_DRIVER names, else beside this
 * checker, else beside another checker that is loaded (a copy may be anywhere),
 * else where the system looks for libraries.
 *
 * @return an absolute path, empty when there is no such file
 */
std::string driverPath();

} // namespace checker

#endif
