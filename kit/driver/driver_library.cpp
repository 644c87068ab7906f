#include "kit/driver/driver_library.h"

#include "kit/driver/driver_search.h"

#include <stdexcept>

namespace rtu {

DriverLibrary::DriverLibrary(const std::string &wanted, LibraryUse use)
    : m_path(findDriver(wanted))
    , m_library(m_path, use)
{
    resolveAll();
}

DriverLibrary::~DriverLibrary()
{
    setAddrValueChangeCallBack(nullptr);
}

void DriverLibrary::setChangeListener(ChangeListener listener)
{
    if (!m_callback)
        m_callback.reset(new ChangeCallback);
    m_callback->setListener(std::move(listener));
    setAddrValueChangeCallBack(m_callback->function());
}

template <typename Function>
void DriverLibrary::resolve(Function &function, const char *name)
{
    void *symbol = m_library.symbol(name);
    if (!symbol)
        throw std::runtime_error(m_path + " is not a driver: it has no entry point " + name);
    function = reinterpret_cast<Function>(symbol);
}

void DriverLibrary::resolveAll()
{
    resolve(getProtocolType, "intf_getProtocolType");
    resolve(getDriverParameter, "intf_getDriverParameter");
    resolve(getDriverPropertyPage, "intf_getDriverPropertyPage");
    resolve(setDriverPropertyPage, "intf_SetDriverPropertyPage");
    resolve(setAddrValueChangeCallBack, "intf_setAddrValueChangeCallBack");
    resolve(initProperty, "intf_initProperty");
    resolve(checkAddrValidity, "intf_checkAddrValidity");
    resolve(checkAddr, "intf_checkAddr");
    resolve(getRegListByType, "intf_getRegListByType");
    resolve(getRegDiscription, "intf_getRegDiscription");
    resolve(multiCopy, "intf_multiCopy");
    resolve(setRcpAddress, "intf_setRcpAddress");
    resolve(addrMerge, "intf_addrMerge");
    resolve(addConditionRead, "intf_addConditionRead");
    resolve(getSendFrame, "intf_getSendFrame");
    resolve(dealRcvFrame, "intf_dealRcvFrame");
    resolve(getData, "intf_getData");
    resolve(setData, "intf_setData");
}

} // namespace rtu
