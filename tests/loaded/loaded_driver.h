/**
 * @file
 * The built library, loaded as a host loads it: by dlopen, with nothing linked.
 */
#ifndef LOADED_DRIVER_H
#define LOADED_DRIVER_H

#include "modbus_rtu_interface.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

/** The type of an entry point comes from the public header, its address from the library. */
#define ENTRY(driver, name) (driver).entry<decltype(&name)>(#name)

class LoadedDriver
{
public:
    explicit LoadedDriver(const std::string &path = DRIVER_LIBRARY_FILE)
        : handle(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!handle)
            throw std::runtime_error(::dlerror());
    }
    ~LoadedDriver() { ::dlclose(handle); }
    LoadedDriver(const LoadedDriver &) = delete;
    LoadedDriver &operator=(const LoadedDriver &) = delete;

    template <typename Function>
    Function entry(const char *name) const
    {
        void *address = ::dlsym(handle, name);
        if (!address)
            throw std::runtime_error(std::string("no entry point ") + name);
        return reinterpret_cast<Function>(address);
    }

    /** True while the library is mapped into this process. */
    static bool isLoaded()
    {
        void *mapped = ::dlopen(DRIVER_LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD);
        if (mapped)
            ::dlclose(mapped);
        return mapped != nullptr;
    }

private:
    void *handle;
};

#endif
