/**
 * @file
 * The eighteen calls of the interface: their names, and the functions of one driver.
 */
#ifndef CHECKER_ENTRY_POINT_H
#define CHECKER_ENTRY_POINT_H

#include "driver/modbus_rtu_interface.h"

/** X(name) for each call, the name without its "intf_". */
#define MODBUS_RTU_ENTRY_POINTS(X)                                                                                     \
    X(getProtocolType)                                                                                                 \
    X(getDriverParameter)                                                                                              \
    X(getDriverPropertyPage)                                                                                           \
    X(SetDriverPropertyPage)                                                                                           \
    X(setAddrValueChangeCallBack)                                                                                      \
    X(initProperty)                                                                                                    \
    X(checkAddrValidity)                                                                                               \
    X(checkAddr)                                                                                                       \
    X(getRegListByType)                                                                                                \
    X(getRegDiscription)                                                                                               \
    X(multiCopy)                                                                                                       \
    X(setRcpAddress)                                                                                                   \
    X(addrMerge)                                                                                                       \
    X(addConditionRead)                                                                                                \
    X(getSendFrame)                                                                                                    \
    X(dealRcvFrame)                                                                                                    \
    X(getData)                                                                                                         \
    X(setData)

namespace checker {

/** A call of the interface. */
enum EntryPoint {
#define CHECKER_CALL(name) name##Call,
    MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
        EntryPointCount,
    LoadingCall = EntryPointCount, ///< not a call of the interface: findings about the checker itself
    UnloadingCall,
    CallCount
};

/** "intf_" and the name of the call. */
const char *entryPointName(EntryPoint call);

/** The functions of one driver. */
struct DriverCalls
{
#define CHECKER_CALL(name) decltype(&::intf_##name) name; // NOLINT(bugprone-macro-parentheses): it names a member
    MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
};

} // namespace checker

#endif
