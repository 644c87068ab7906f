/**
 * @file
 * Where the driver is looked for.
 */
#ifndef KIT_DRIVER_DRIVER_SEARCH_H
#define KIT_DRIVER_DRIVER_SEARCH_H

#include <string>
#include <vector>

namespace rtu {

/** The places beside the program where the driver is looked for when no path is given, in order. */
std::vector<std::string> driverSearchPath(const std::string &executableFolder);

/** The folders that the system's loader searches: those of LD_LIBRARY_PATH, of its settings, and the usual ones. */
std::vector<std::string> systemLibraryFolders();

/**
 * The file to load.
 *
 * @param wanted a file or folder, or empty to search: beside the program, in the lib
 *        folders next to it, then where the system looks
 * @return a path; the bare name of the driver's file when it was found nowhere
 */
std::string findDriver(const std::string &wanted);

} // namespace rtu

#endif
