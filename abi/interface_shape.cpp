// What hosts are compiled with, in a form that a comparison of debug information
// reaches: each record as a parameter, each entry point's type as a member. The
// containers of the interface would hide their records from it.

#include "modbus_rtu_interface.h"

struct EntryPoints
{
    decltype(&intf_getProtocolType) getProtocolType;
    decltype(&intf_getDriverParameter) getDriverParameter;
    decltype(&intf_getDriverPropertyPage) getDriverPropertyPage;
    decltype(&intf_SetDriverPropertyPage) setDriverPropertyPage;
    decltype(&intf_setAddrValueChangeCallBack) setAddrValueChangeCallBack;
    decltype(&intf_initProperty) initProperty;
    decltype(&intf_checkAddrValidity) checkAddrValidity;
    decltype(&intf_checkAddr) checkAddr;
    decltype(&intf_getRegListByType) getRegListByType;
    decltype(&intf_getRegDiscription) getRegDiscription;
    decltype(&intf_multiCopy) multiCopy;
    decltype(&intf_setRcpAddress) setRcpAddress;
    decltype(&intf_addrMerge) addrMerge;
    decltype(&intf_addConditionRead) addConditionRead;
    decltype(&intf_getSendFrame) getSendFrame;
    decltype(&intf_dealRcvFrame) dealRcvFrame;
    decltype(&intf_getData) getData;
    decltype(&intf_setData) setData;
};

extern "C" MODBUS_RTU_EXPORT void interface_shape(VARIABLE *, _RCP_VAR_PRO *, KEY_ADDRESS *, _DATA_ *, FRAME_PRO *,
                                                  EntryPoints *)
{
}
