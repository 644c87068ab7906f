/**
 * @file
 * A library file in the hands of the loader: the file itself, or a copy that the loader
 * takes for a library of its own.
 */
#ifndef KIT_DRIVER_LOADED_FILE_H
#define KIT_DRIVER_LOADED_FILE_H

#include "kit/line/descriptor.h"

#include <string>
#include <vector>

namespace rtu {

/** Where copies are put; for all but tests, as made. */
struct CopyPlaces
{
    CopyPlaces();

    bool memory = true;               ///< tried first
    std::vector<std::string> folders; ///< tried in turn where there are no memory files, or none to execute
};

/** Loads once in its life, and unloads at the end of it. Nothing of a copy is left on any disk, not even after a crash. */
class LoadedFile
{
public:
    LoadedFile() = default;
    ~LoadedFile();
    LoadedFile(const LoadedFile &) = delete;
    LoadedFile &operator=(const LoadedFile &) = delete;

    /** The file that all share who load it. False: not loaded, see reason(). */
    bool load(const std::string &path);
    /** A library of these bytes with variables of its own. False: as above. */
    bool loadCopy(const std::string &content, const CopyPlaces &places = CopyPlaces());

    /** Why the last try failed. */
    const std::string &reason() const { return m_reason; }

    /** The address of an exported name of what is loaded; null when there is none. */
    void *symbol(const char *name) const;

private:
    bool loadFrom(int descriptor, const std::string &content);

    std::string m_reason;
    Descriptor m_copy; ///< debuggers find the library by its path as long as it is open
    void *m_handle = nullptr;
};

} // namespace rtu

#endif
