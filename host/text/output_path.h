/**
 * @file
 * What may be written to at all: files, pipes, and devices that are there to be written to.
 */
#ifndef RTU_HOST_OUTPUT_PATH_H
#define RTU_HOST_OUTPUT_PATH_H

#include <string>

namespace rtu {

/** Whether a file's name has this ending, in whatever case; the ending alone is no name. */
bool hasEnding(const std::string &name, const std::string &ending);

/**
 * Rows in a disk or in a serial port would do harm: taken are files, pipes, the devices
 * null and full, and the terminal of the program itself.
 *
 * @throws std::invalid_argument with the reason
 */
void refuseDevice(const std::string &path);

/**
 * Where a new file can take the place of the one at this path: the path itself, or where a
 * link leads to. Empty where nothing may be replaced: a pipe, a device, a link to nothing yet.
 */
std::string replaceablePath(const std::string &path);

} // namespace rtu

#endif
