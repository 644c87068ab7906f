/**
 * @file
 * Where the driver is looked for.
 */
#ifndef KIT_DRIVER_DRIVER_SEARCH_H
#define KIT_DRIVER_DRIVER_SEARCH_H

#include <string>
#include <vector>

namespace rtu {

/** Of this program; empty when the system does not say. */
std::string executableFolder();

/** Where the driver is looked for beside a program when no path is given, in order. */
std::vector<std::string> foldersBeside(const std::string &programFolder);

/**
 * The folders that the system's loader searches: those of LD_LIBRARY_PATH, of its settings, and the usual ones.
 *
 * @param settings the file of its settings; beside it there may be a folder of further ones
 */
std::vector<std::string> systemLibraryFolders(const std::string &settings = "/etc/ld.so.conf");

/**
 * The file to load.
 *
 * @param wanted a file or folder, or empty to search: beside the program, in the lib
 *        folders next to it, then where the system looks
 * @return a path; the bare name of the driver's file when it was found nowhere
 */
std::string findDriver(const std::string &wanted, const std::string &programFolder = executableFolder());

} // namespace rtu

#endif
