/**
 * @file
 * The one way back to a driver that has just been loaded.
 */
#ifndef TESTS_SUPPORT_DRIVER_RESET_H
#define TESTS_SUPPORT_DRIVER_RESET_H

#include "driver/modbus_rtu_master.h"

#include <new>

namespace support {

/** Puts the linked driver into the state it has after loading, as unloading and loading it would. */
inline void resetDriver()
{
    driver.~Modbus_rtu_master();
    new (&driver) Modbus_rtu_master();
}

} // namespace support

#endif
