#include "checker/real_driver.h"

#include "kit/driver/private_copy.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <stdlib.h>

#include <cstring>
#include <stdexcept>

namespace checker {

namespace {

const char DriverName[] = "libmodbus_rtu_master.so.1";
const char CheckerName[] = "libmodbus_rtu_master_check.so.1";

/** In the file of every checker and in no driver's. */
__attribute__((used)) const char Mark[] = "@(#)modbus_rtu_master_check";

/** Stands in for a function of a driver that is not there. */
template <typename Function>
struct Absent;

template <typename Result, typename... Arguments>
struct Absent<Result (*)(Arguments...)>
{
    static Result call(Arguments...) { return Result(); }
};

/** The file with its links followed, empty when there is none. */
std::string existingFile(const std::string &path)
{
    char real[PATH_MAX];
    return ::realpath(path.c_str(), real) ? real : "";
}

std::string beside(const std::string &path)
{
    return existingFile(path.substr(0, path.rfind('/') + 1) + DriverName);
}

std::string ownPath()
{
    Dl_info info;
    return ::dladdr(static_cast<const void *>(Mark), &info) && info.dli_fname ? info.dli_fname : "";
}

/** A callback of dl_iterate_phdr(): leaves the driver beside a loaded checker in @p found. */
int lookBesideChecker(dl_phdr_info *info, std::size_t, void *found)
{
    const char *slash = std::strrchr(info->dlpi_name, '/');
    if (!slash || std::strncmp(slash + 1, CheckerName, std::strlen(CheckerName)) != 0)
        return 0;
    *static_cast<std::string *>(found) = beside(info->dlpi_name);
    return static_cast<std::string *>(found)->empty() ? 0 : 1;
}

/** Where the system's own search finds the driver. */
std::string installedDriver()
{
    void *handle = ::dlopen(DriverName, RTLD_LAZY | RTLD_LOCAL);
    if (!handle)
        return "";
    link_map *map = nullptr;
    const bool known = ::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map;
    const std::string path = known ? existingFile(map->l_name) : "";
    ::dlclose(handle);
    return path;
}

} // namespace

std::string driverPath()
{
    const char *wanted = ::getenv("MODBUS_RTU_DRIVER");
    if (wanted && *wanted)
        return existingFile(wanted);
    std::string path = beside(ownPath());
    if (path.empty())
        ::dl_iterate_phdr(&lookBesideChecker, &path);
    return path.empty() ? installedDriver() : path;
}

RealDriver::RealDriver()
{
#define CHECKER_CALL(name) functions.name = &Absent<decltype(functions.name)>::call;
    MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
    const std::string path = driverPath();
    if (path.empty())
        reason = std::string("there is no ") + DriverName;
    else
        load(path);
}

void RealDriver::load(const std::string &path)
{
    std::string content;
    try {
        content = rtu::fileContent(path);
    } catch (const std::runtime_error &error) {
        reason = error.what();
        return;
    }
    if (content.find(Mark) != std::string::npos) {
        reason = path + " is a checker, not a driver";
        return;
    }
    if (copy.loadCopy(content))
        resolve();
    else
        reason = "cannot load " + path + ": " + copy.reason();
}

void RealDriver::resolve()
{
#define CHECKER_CALL(name)                                                                                             \
    if (void *symbol = copy.symbol("intf_" #name))                                                                     \
        functions.name = reinterpret_cast<decltype(functions.name)>(symbol);                                           \
    else                                                                                                               \
        reason = "the driver has no entry point intf_" #name;
    MODBUS_RTU_ENTRY_POINTS(CHECKER_CALL)
#undef CHECKER_CALL
}

} // namespace checker
