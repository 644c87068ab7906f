/**
 * @file
 * A file of a library's bytes that no other program and no other copy shares, so
 * that the loader takes it for a library of its own.
 *
 * The loader knows a library by its path and by its file. A memory file or a file
 * without a name is another file each time, and so is its path: it spells out which
 * file it is, as a descriptor's number may stand for another one later.
 */
#ifndef KIT_DRIVER_PRIVATE_COPY_H
#define KIT_DRIVER_PRIVATE_COPY_H

#include "kit/line/descriptor.h"

#include <string>
#include <vector>

namespace rtu {

/** The whole file. @throws std::runtime_error that says why not */
std::string fileContent(const std::string &path);

/** A file in memory alone; closed when the kernel has none. */
int openMemoryFile();

/**
 * A file without a name: nothing is left of it when it is closed, whatever becomes
 * of this program.
 *
 * @return a descriptor; below 0, errno set: not in this folder
 */
int openUnnamedFile(const std::string &folder);

/** Folders for openUnnamedFile(), the best first: those for temporary files, and memory file systems. */
std::vector<std::string> temporaryFolders();

/** Writes all of it. False: the place is full, or not to be written to. */
bool writeContent(int descriptor, const std::string &content);

/**
 * A path by which the file of an open descriptor can be opened once more. While a file is
 * open or in use as a library, no other file is given its path.
 */
std::string descriptorPath(int descriptor);

} // namespace rtu

#endif
