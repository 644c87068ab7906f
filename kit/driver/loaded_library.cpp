#include "kit/driver/loaded_library.h"

#include "kit/driver/elf_needs.h"
#include "kit/driver/private_copy.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace rtu {

namespace {

/**
 * Where a copy went on one thread, the next may come on another. The system's loader keeps
 * these apart by itself, unseen by sanitizers, which would call its variables shared.
 */
std::mutex &loader()
{
    static std::mutex mutex;
    return mutex;
}

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

CopyPlaces::CopyPlaces() : folders(temporaryFolders()) {}

LoadedLibrary::LoadedLibrary(const std::string &path, LibraryUse use, const CopyPlaces &places) : m_path(path)
{
    bool loaded = false;
    if (use == LibraryUse::OwnCopy) {
        const std::string content = fileContent(path);
        refuseForeignQt(path, content);
        const LoadedChecker original(path, content);
        loaded = loadCopy(content, places);
    } else {
        // Without a slash the system looks for it, and only that knows where.
        if (path.find('/') != std::string::npos)
            refuseForeignQt(path, fileContent(path));
        loaded = load(path);
    }
    if (!loaded)
        throw std::runtime_error("cannot load the driver " + path + ": " + m_reason);
}

LoadedLibrary::~LoadedLibrary()
{
    const std::lock_guard<std::mutex> alone(loader());
    ::dlclose(m_handle);
    if (!m_file.isOpen())
        return;
    // A library may refuse to go. Its path must not become that of another copy then: the
    // loader would hand the old one out again.
    void *still = ::dlopen(descriptorPath(m_file.number()).c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (!still)
        return;
    ::dlclose(still);
    (void)m_file.release();
}

void *LoadedLibrary::symbol(const char *name) const
{
    return ::dlsym(m_handle, name);
}

bool LoadedLibrary::loadCopy(const std::string &content, const CopyPlaces &places)
{
    if (places.memory && loadFrom(openMemoryFile(), content))
        return true;
    for (const std::string &folder : places.folders) {
        if (loadFrom(openUnnamedFile(folder), content))
            return true;
    }
    return false;
}

bool LoadedLibrary::loadFrom(int descriptor, const std::string &content)
{
    m_file.reset(descriptor);
    if (m_file.isOpen() && writeContent(descriptor, content))
        return load(descriptorPath(descriptor));
    m_reason = std::string("there is no place for a copy of it: ") + std::strerror(errno);
    return false;
}

bool LoadedLibrary::load(const std::string &path)
{
    const std::lock_guard<std::mutex> alone(loader());
    m_handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle)
        return true;
    const char *reason = ::dlerror();
    m_reason = reason ? reason : "unknown reason";
    return false;
}

} // namespace rtu
