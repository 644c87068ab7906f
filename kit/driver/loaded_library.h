/**
 * @file
 * A shared library in this process: the one that all share, or a copy of its own.
 */
#ifndef KIT_DRIVER_LOADED_LIBRARY_H
#define KIT_DRIVER_LOADED_LIBRARY_H

#include "kit/driver/loaded_file.h"

#include <string>

namespace rtu {

enum class LibraryUse {
    Shared, ///< all who load this file have the same variables
    OwnCopy ///< variables of its own; nothing of the copy is left on any disk, not even after a crash
};

class LoadedLibrary
{
public:
    /** @throws std::runtime_error that says why it cannot be loaded */
    LoadedLibrary(const std::string &path, LibraryUse use, const CopyPlaces &places = CopyPlaces());

    /** The address of an exported name; null when there is none. */
    void *symbol(const char *name) const { return m_file.symbol(name); }

private:
    LoadedFile m_file;
};

} // namespace rtu

#endif
