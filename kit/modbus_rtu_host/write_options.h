/**
 * @file
 * What can be asked of a write.
 */
#ifndef MODBUS_RTU_HOST_WRITE_OPTIONS_H
#define MODBUS_RTU_HOST_WRITE_OPTIONS_H

#include <modbus_rtu_host/write_result.h>

#include <functional>

namespace rtu {

struct WriteOptions
{
    /** Never replaced by a newer write to the same tag: for pulses, where on and off must both go out. */
    bool keep = false;
    /** Reads the values after the acknowledgement and compares. Also shows up an adapter that hears itself. */
    bool readBack = false;
    /** Called once with the end, on the link's thread, no lock held. It may throw. */
    std::function<void(const WriteResult &)> done;
};

} // namespace rtu

#endif
