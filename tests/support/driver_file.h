/**
 * @file
 * What hosts under test load.
 */
#ifndef TESTS_SUPPORT_DRIVER_FILE_H
#define TESTS_SUPPORT_DRIVER_FILE_H

#include <cstdlib>
#include <string>

namespace support {

/** The built driver, or what MODBUS_TEST_DRIVER names in its place, such as the contract checker. */
inline std::string driverFile()
{
    const char *other = std::getenv("MODBUS_TEST_DRIVER");
    return other ? other : TEST_DRIVER;
}

} // namespace support

#endif
