/**
 * @file
 * Put before everything else of a source, this lets it call the checker where it
 * says the driver, while the driver itself is linked as well.
 */
#ifndef CHECKED_NAMES_H
#define CHECKED_NAMES_H

#define intf_getProtocolType checked_intf_getProtocolType
#define intf_getDriverParameter checked_intf_getDriverParameter
#define intf_getDriverPropertyPage checked_intf_getDriverPropertyPage
#define intf_SetDriverPropertyPage checked_intf_SetDriverPropertyPage
#define intf_setAddrValueChangeCallBack checked_intf_setAddrValueChangeCallBack
#define intf_initProperty checked_intf_initProperty
#define intf_checkAddrValidity checked_intf_checkAddrValidity
#define intf_checkAddr checked_intf_checkAddr
#define intf_getRegListByType checked_intf_getRegListByType
#define intf_getRegDiscription checked_intf_getRegDiscription
#define intf_multiCopy checked_intf_multiCopy
#define intf_setRcpAddress checked_intf_setRcpAddress
#define intf_addrMerge checked_intf_addrMerge
#define intf_addConditionRead checked_intf_addConditionRead
#define intf_getSendFrame checked_intf_getSendFrame
#define intf_dealRcvFrame checked_intf_dealRcvFrame
#define intf_getData checked_intf_getData
#define intf_setData checked_intf_setData

#endif
