#include "kit/driver/driver_library.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <mutex>
#include <stdexcept>

namespace rtu {

namespace {

const char *const LibraryName = "libmodbus_rtu_master.so.1";

std::mutex listenerMutex;
DriverLibrary::ChangeListener changeListener;

/** The one callback that the driver gets; its result is ignored. */
int reportChange(int linkId, int station, QString *regType, int address)
{
    DriverLibrary::ChangeListener listener;
    {
        // The listener runs outside the mutex: it may call the driver, and the driver may report again.
        const std::lock_guard<std::mutex> lock(listenerMutex);
        listener = changeListener;
    }
    if (listener)
        listener(ValueChange{linkId, station, regType ? *regType : QString(), address});
    return 0;
}

std::string executableFolder()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path));
    if (length <= 0 || length >= static_cast<ssize_t>(sizeof(path)))
        return std::string();
    const std::string text(path, static_cast<std::size_t>(length));
    return text.substr(0, text.rfind('/'));
}

bool isFolder(const std::string &path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string &path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

std::string choosePath(const std::string &wanted)
{
    if (!wanted.empty())
        return isFolder(wanted) ? wanted + "/" + LibraryName : wanted;
    for (const std::string &candidate : driverSearchPath(executableFolder())) {
        if (exists(candidate))
            return candidate;
    }
    return LibraryName; // without a slash the system's own search applies
}

} // namespace

std::vector<std::string> driverSearchPath(const std::string &executableFolder)
{
    std::vector<std::string> paths;
    for (const char *folder : {"/", "/lib/", "/../lib/", "/../" MODBUS_LIBDIR "/", "/../../lib/"})
        paths.push_back(executableFolder + folder + LibraryName);
    return paths;
}

DriverLibrary::DriverLibrary(const std::string &wanted) : m_path(choosePath(wanted))
{
    m_handle = ::dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        const char *reason = ::dlerror();
        throw std::runtime_error("cannot load the driver " + m_path + ": " + (reason ? reason : "unknown reason")
                                 + "; name the library with --driver PATH");
    }
    try {
        resolveAll();
    } catch (...) {
        ::dlclose(m_handle);
        throw;
    }
}

DriverLibrary::~DriverLibrary()
{
    setAddrValueChangeCallBack(nullptr);
    {
        const std::lock_guard<std::mutex> lock(listenerMutex);
        changeListener = nullptr;
    }
    ::dlclose(m_handle);
}

void DriverLibrary::setChangeListener(ChangeListener listener)
{
    {
        const std::lock_guard<std::mutex> lock(listenerMutex);
        changeListener = std::move(listener);
    }
    setAddrValueChangeCallBack(&reportChange);
}

template <typename Function>
void DriverLibrary::resolve(Function &function, const char *name)
{
    void *symbol = ::dlsym(m_handle, name);
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
