/**
 * @file
 * A copy of a library file that the loader takes for a library of its own.
 */
#ifndef CHECKER_PRIVATE_COPY_H
#define CHECKER_PRIVATE_COPY_H

#include <string>

namespace checker {

/**
 * The loader hands out one mapping for one file, and one mapping of the driver
 * is one line. A copy gives each checker a driver of its own.
 *
 * The copy is a memory file, or, where the kernel has none, a temporary file
 * that is gone from its folder as soon as it is loaded: nothing is left behind
 * however the process ends.
 */
class PrivateCopy
{
public:
    PrivateCopy();
    ~PrivateCopy();

    /**
     * Copies @p content and loads it, once in the life of the object.
     * @return the loader's handle, or null with the reason in error()
     */
    void *load(const std::string &content);

    const std::string &error() const { return reason; }

private:
    PrivateCopy(const PrivateCopy &);
    PrivateCopy &operator=(const PrivateCopy &);

    void *loadMemoryFile(const std::string &content);
    void *loadTemporaryFile(const std::string &content);
    void *open(const std::string &path);

    int memoryFile; ///< kept open while the library is loaded: its number is the name that the loader knows it by
    std::string reason;
};

} // namespace checker

#endif
