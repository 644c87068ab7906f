#include "kit/driver/loaded_file.h"

#include "kit/driver/private_copy.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <mutex>

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

} // namespace

CopyPlaces::CopyPlaces() : folders(temporaryFolders()) {}

LoadedFile::~LoadedFile()
{
    if (!m_handle)
        return;
    const std::lock_guard<std::mutex> alone(loader());
    ::dlclose(m_handle);
}

bool LoadedFile::load(const std::string &path)
{
    const std::lock_guard<std::mutex> alone(loader());
    m_handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle)
        return true;
    const char *reason = ::dlerror();
    m_reason = reason ? reason : "unknown reason";
    return false;
}

bool LoadedFile::loadCopy(const std::string &content, const CopyPlaces &places)
{
    if (places.memory && loadFrom(openMemoryFile(), content))
        return true;
    for (const std::string &folder : places.folders) {
        if (loadFrom(openUnnamedFile(folder), content))
            return true;
    }
    return false;
}

bool LoadedFile::loadFrom(int descriptor, const std::string &content)
{
    m_copy.reset(descriptor);
    if (m_copy.isOpen() && writeContent(descriptor, content))
        return load(descriptorPath(descriptor));
    m_reason = std::string("there is no place for a copy of it: ") + std::strerror(errno);
    return false;
}

void *LoadedFile::symbol(const char *name) const
{
    return ::dlsym(m_handle, name);
}

} // namespace rtu
