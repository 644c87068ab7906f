#include "kit/driver/loaded_library.h"

#include "kit/driver/elf_needs.h"
#include "kit/driver/private_copy.h"

#include <dlfcn.h>

#include <stdexcept>

namespace rtu {

namespace {

/** A second Qt in the process would have objects of its own where the driver and its user share them. */
void refuseForeignQt(const std::string &path, const std::string &content)
{
    const std::string foreign = foreignQt(neededLibraries(content));
    if (!foreign.empty())
        throw std::runtime_error("the driver " + path + " was built for " + foreign + ", this program for " + ownQt()
                                 + ": take the driver that was built for " + ownQt());
}

/**
 * A contract checker, which is loaded in the place of the driver and looks for the driver
 * beside itself. Beside a copy there is none; a copy looks beside the original, if that is loaded.
 */
class LoadedChecker
{
public:
    LoadedChecker(const std::string &path, const std::string &content)
        : m_handle(content.find("@(#)modbus_rtu_master_check") == std::string::npos
                       ? nullptr
                       : ::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL))
    {
    }

    ~LoadedChecker()
    {
        if (m_handle)
            ::dlclose(m_handle);
    }

    LoadedChecker(const LoadedChecker &) = delete;
    LoadedChecker &operator=(const LoadedChecker &) = delete;

private:
    void *m_handle;
};

} // namespace

LoadedLibrary::LoadedLibrary(const std::string &path, LibraryUse use, const CopyPlaces &places)
{
    bool loaded = false;
    if (use == LibraryUse::OwnCopy) {
        const std::string content = fileContent(path);
        refuseForeignQt(path, content);
        const LoadedChecker original(path, content);
        loaded = m_file.loadCopy(content, places);
    } else {
        // Without a slash the system looks for it, and only that knows where.
        if (path.find('/') != std::string::npos)
            refuseForeignQt(path, fileContent(path));
        loaded = m_file.load(path);
    }
    if (!loaded)
        throw std::runtime_error("cannot load the driver " + path + ": " + m_file.reason());
}

} // namespace rtu
