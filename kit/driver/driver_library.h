/**
 * @file
 * The driver as a panel runtime has it: a shared library loaded at run time and
 * eighteen resolved names. Nothing here links against the driver.
 */
#ifndef KIT_DRIVER_DRIVER_LIBRARY_H
#define KIT_DRIVER_DRIVER_LIBRARY_H

#include "driver/modbus_rtu_interface.h"
#include "kit/driver/change_callbacks.h"
#include "kit/driver/loaded_library.h"

#include <memory>
#include <string>

namespace rtu {

class DriverLibrary
{
public:
    /**
     * Loads the library and resolves the entry points.
     *
     * @param wanted a file or folder, or empty to search; see findDriver()
     * @throws std::runtime_error that says what is missing where
     */
    explicit DriverLibrary(const std::string &wanted = std::string(), LibraryUse use = LibraryUse::Shared);
    ~DriverLibrary();
    DriverLibrary(const DriverLibrary &) = delete;
    DriverLibrary &operator=(const DriverLibrary &) = delete;

    /** The file that was loaded, or that the copy was made of. */
    const std::string &path() const { return m_path; }

    /**
     * Sets who hears of value changes. It is called on whatever thread is inside the
     * driver. Of a driver that is shared, the last one to be set hears. Set it while
     * nothing polls.
     *
     * @throws std::runtime_error when too many drivers report in this process
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

    std::string m_path;
    LoadedLibrary m_library;
    std::unique_ptr<ChangeCallback> m_callback; ///< once somebody listens
};

} // namespace rtu

#endif
