/**
 * @file
 * Why a port cannot be opened: who has it, who may open it, which ports there are.
 */
#ifndef RTU_HOST_SEARCH_PORT_TROUBLE_H
#define RTU_HOST_SEARCH_PORT_TROUBLE_H

#include "host/search/line_cause.h"

#include <sys/stat.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace rtu {

/** Where the system tells about its ports and programs. */
struct SystemFolders
{
    std::string devices = "/dev";
    std::string terminals = "/sys/class/tty";
    std::string processes = "/proc";
};

/** "/dev/ttyUSB0 (usb-1a86_USB_Serial-if00)": serial ports behind which there is hardware. */
std::vector<std::string> presentPorts(const SystemFolders &folders);

/** "minicom (process 4711)": programs that have the port open, as far as they can be seen. */
std::vector<std::string> holdersOf(const std::string &port, const SystemFolders &folders);

/** Who is asking to open a port. */
struct Asker
{
    unsigned int user = 0;
    std::string name;
    std::vector<unsigned int> groups; ///< of this process
    bool member = false;              ///< of the port's group, according to the system's list of groups
};

/** Who may open a port of this mode, and how to become one who may. @param group the name of the port's group */
std::string permissionAdvice(const struct stat &port, const std::string &group, const Asker &asker);

/** A port that cannot be opened; what() has the advice in it. */
class PortTrouble : public std::runtime_error
{
public:
    PortTrouble(Cause cause, const std::string &text);

    const Diagnosis &diagnosis() const { return m_diagnosis; }

private:
    Diagnosis m_diagnosis;
};

/** Opens the port. @throws PortTrouble, or std::runtime_error where what() says it all */
void openPort(PortLine &line, const SystemFolders &folders = SystemFolders());

} // namespace rtu

#endif
