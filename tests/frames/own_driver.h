/**
 * @file
 * A driver object of a test's own, with a host around it.
 */
#ifndef OWN_DRIVER_H
#define OWN_DRIVER_H

#include "support/driver_fixture.h"

#include <gtest/gtest.h>

namespace support {

/** A driver object with a host around it. */
class OwnDriver : public ::testing::Test, protected HostMemory
{
protected:
    OwnDriver() : HostMemory(8)
    {
        master.valueChangeCallBack = &support::ChangeRecorder::callBack;
        master.initProperty(hostArea.data(), 0, hostWords.data(), "1#0#0#3#100", &hostMutex);
        for (size_t i = 0; i < hostWords.size(); ++i)
            hostWords[i] = static_cast<unsigned short>(0x1110 * (i + 1) + i + 1); // 1111, 2222, ...
    }

    Modbus_rtu_master master;
    support::ChangeRecorder recorder;
};

} // namespace support

#endif
