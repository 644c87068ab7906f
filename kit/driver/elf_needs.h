/**
 * @file
 * Which libraries a shared library brings along, read from its file. The loader
 * would have loaded them by the time it could be asked.
 */
#ifndef KIT_DRIVER_ELF_NEEDS_H
#define KIT_DRIVER_ELF_NEEDS_H

#include <string>
#include <vector>

namespace rtu {

/**
 * The names in the library's list of needed libraries, such as "libQt5Core.so.5".
 *
 * @param content the whole file; anything may be in it
 * @return empty as well when it is no shared library of this machine's word size and byte order
 */
std::vector<std::string> neededLibraries(const std::string &content);

/**
 * The Qt core library among the needed ones that is another than this program's.
 *
 * @return its name; empty: there is none, loading brings no second Qt
 */
std::string foreignQt(const std::vector<std::string> &needed);

/** The Qt core library that this program uses, "libQt5Core.so.5". */
std::string ownQt();

} // namespace rtu

#endif
