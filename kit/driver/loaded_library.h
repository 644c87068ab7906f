/**
 * @file
 * A shared library in this process: the one that all share, or a copy of its own.
 */
#ifndef KIT_DRIVER_LOADED_LIBRARY_H
#define KIT_DRIVER_LOADED_LIBRARY_H

#include "kit/line/descriptor.h"

#include <string>
#include <vector>

namespace rtu {

enum class LibraryUse {
    Shared, ///< all who load this file have the same variables
    OwnCopy ///< variables of its own; nothing of the copy is left on any disk, not even after a crash
};

/** Where copies are put; for all but tests, as made. */
struct CopyPlaces
{
    CopyPlaces();

    bool memory = true;               ///< tried first
    std::vector<std::string> folders; ///< tried in turn where there are no memory files, or none to execute
};

class LoadedLibrary
{
public:
    /** @throws std::runtime_error that says why it cannot be loaded */
    LoadedLibrary(const std::string &path, LibraryUse use, const CopyPlaces &places = CopyPlaces());
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary &) = delete;
    LoadedLibrary &operator=(const LoadedLibrary &) = delete;

    /** The address of an exported name; null when there is none. */
    void *symbol(const char *name) const;

private:
    bool loadCopy(const std::string &content, const CopyPlaces &places);
    bool loadFrom(int descriptor, const std::string &content);
    bool load(const std::string &path);

    std::string m_path;
    std::string m_reason; ///< why the last try failed
    Descriptor m_file;    ///< of the copy; open, so that no other copy gets its path
    void *m_handle = nullptr;
};

} // namespace rtu

#endif
