/**
 * @file
 * What can be told of a port from its name alone.
 */
#ifndef RTU_HOST_PORT_NAME_H
#define RTU_HOST_PORT_NAME_H

#include <string>

namespace rtu {

/**
 * Files that are there are let through, and so is what may yet be plugged in.
 *
 * @throws std::invalid_argument for a name that can be no port, with the one that is likely meant
 */
void judgePortName(const std::string &name);

} // namespace rtu

#endif
