// Counts the calls of the driver at run time, which the linker leads through here
// (see CMakeLists.txt), and tells their number at the end: executions alone say
// little, since one may hold a single call or a hundred.

#include "driver/modbus_rtu_interface.h"

#include <cstdio>

namespace {

struct CallCounter
{
    ~CallCounter() { std::fprintf(stderr, "stat::driver_calls:             %lu\n", calls); }

    unsigned long calls = 0;
};

CallCounter counter;

} // namespace

extern "C" {

int __real_intf_getSendFrame(FRAME_PRO *out);
int __real_intf_dealRcvFrame(QByteArray *reply, QString *information);
int __real_intf_getData(int station, QString *regType, int address, int count, unsigned char *out);
int __real_intf_setData(int station, QString *regType, int address, int count, unsigned char *data, int userData);
int __real_intf_addConditionRead(KEY_ADDRESS *key, int userData);

int __wrap_intf_getSendFrame(FRAME_PRO *out)
{
    ++counter.calls;
    return __real_intf_getSendFrame(out);
}

int __wrap_intf_dealRcvFrame(QByteArray *reply, QString *information)
{
    ++counter.calls;
    return __real_intf_dealRcvFrame(reply, information);
}

int __wrap_intf_getData(int station, QString *regType, int address, int count, unsigned char *out)
{
    ++counter.calls;
    return __real_intf_getData(station, regType, address, count, out);
}

int __wrap_intf_setData(int station, QString *regType, int address, int count, unsigned char *data, int userData)
{
    ++counter.calls;
    return __real_intf_setData(station, regType, address, count, data, userData);
}

int __wrap_intf_addConditionRead(KEY_ADDRESS *key, int userData)
{
    ++counter.calls;
    return __real_intf_addConditionRead(key, userData);
}

} // extern "C"
