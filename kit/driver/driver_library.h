/**
 * @file
 * The driver as a panel runtime has it: a shared library loaded at run time and
 * eighteen resolved names. Nothing here links against the driver.
 */
#ifndef KIT_DRIVER_DRIVER_LIBRARY_H
#define KIT_DRIVER_DRIVER_LIBRARY_H

#include "driver/modbus_rtu_interface.h"

#include <functional>
#include <string>
#include <vector>

namespace rtu {

/** A value change as the driver reports it; see ValueChangeCallBack. */
struct ValueChange
{
    int linkId;
    int station;
    QString regType;
    int address;
};

class DriverLibrary
{
public:
    using ChangeListener = std::function<void(const ValueChange &)>;

    /**
     * Loads the library and resolves the entry points.
     *
     * @param wanted a file or folder, or empty to search: beside the executable,
     *        in the lib folders next to it, then where the system looks
     * @throws std::runtime_error that says what is missing where
     */
    explicit DriverLibrary(const std::string &wanted = std::string());
    ~DriverLibrary();
    DriverLibrary(const DriverLibrary &) = delete;
    DriverLibrary &operator=(const DriverLibrary &) = delete;

    /** The file that was loaded. */
    const std::string &path() const { return m_path; }

    /**
     * Sets who hears of value changes. The driver's callback has no room for a
     * receiver, so there is one listener for the one driver of the process. It is
     * called on whatever thread is inside the driver. Set it while nothing polls.
     */
    void setChangeListener(ChangeListener listener);

    decltype(&intf_getProtocolType) getProtocolType = nullptr;
    decltype(&intf_getDriverParameter) getDriverParameter = nullptr;
    decltype(&intf_getDriverPropertyPage) getDriverPropertyPage = nullptr;
    decltype(&intf_SetDriverPropertyPage) setDriverPropertyPage = nullptr;
    decltype(&intf_setAddrValueChangeCallBack) setAddrValueChangeCallBack = nullptr;
    decltype(&intf_initProperty) initProperty = nullptr;
    decltype(&intf_checkAddrValidity) checkAddrValidity = nullptr;
    decltype(&intf_checkAddr) checkAddr = nullptr;
    decltype(&intf_getRegListByType) getRegListByType = nullptr;
    decltype(&intf_getRegDiscription) getRegDiscription = nullptr;
    decltype(&intf_multiCopy) multiCopy = nullptr;
    decltype(&intf_setRcpAddress) setRcpAddress = nullptr;
    decltype(&intf_addrMerge) addrMerge = nullptr;
    decltype(&intf_addConditionRead) addConditionRead = nullptr;
    decltype(&intf_getSendFrame) getSendFrame = nullptr;
    decltype(&intf_dealRcvFrame) dealRcvFrame = nullptr;
    decltype(&intf_getData) getData = nullptr;
    decltype(&intf_setData) setData = nullptr;

private:
    void resolveAll();
    template <typename Function>
    void resolve(Function &function, const char *name);

    void *m_handle = nullptr;
    std::string m_path;
};

/** The places where the driver is looked for when no path is given, in order. */
std::vector<std::string> driverSearchPath(const std::string &executableFolder);

} // namespace rtu

#endif
