#include "host/cli/port_name.h"

#include "kit/line/tcp_line.h"

#include <arpa/inet.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace rtu {

namespace {

const char *const TcpExample = "such as tcp:192.168.1.5:4001";

[[noreturn]] void refusePort(const std::string &text)
{
    throw std::invalid_argument(text);
}

bool exists(const std::string &path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

bool isAllDigits(const std::string &text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/** What is missing in "tcp:HOST:PORT". */
void judgeTcpPort(const std::string &name)
{
    const std::string rest = name.substr(std::string("tcp:").size());
    if (rest.compare(0, 2, "//") == 0)
        refusePort(name + " has slashes: write tcp:" + rest.substr(2));
    const std::size_t colons = static_cast<std::size_t>(std::count(rest.begin(), rest.end(), ':'));
    const std::size_t colon = rest.rfind(':');
    if (rest.empty() || colon == 0)
        refusePort(name + " names no host: it is written tcp:HOST:PORT, " + TcpExample);
    if (rest[0] != '[' && colons > 1)
        refusePort(name + ": brackets go around a host with colons, as in tcp:[fe80::1]:4001");
    const bool open = colon == std::string::npos || (rest[0] == '[' && rest.back() == ']');
    if (open || colon + 1 == rest.size())
        refusePort(name + " names no port of the host: it is written tcp:HOST:PORT, " + TcpExample);
    try {
        parseTcpPort(name);
    } catch (const std::exception &error) {
        refusePort("\"" + rest.substr(colon + 1)
                   + "\" is no port of a host, which is from 1 to 65535: " + error.what());
    }
}

bool startsWith(const std::string &text, const char *start)
{
    return text.rfind(start, 0) == 0;
}

/** "COM3" */
bool isPortElsewhere(const std::string &name)
{
    return (startsWith(name, "COM") || startsWith(name, "com")) && isAllDigits(name.substr(3));
}

/** "gateway.example:4001" */
bool isHostAndPort(const std::string &name)
{
    const std::size_t colon = name.rfind(':');
    if (colon == std::string::npos || colon == 0 || !isAllDigits(name.substr(colon + 1)))
        return false;
    return std::all_of(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-';
    });
}

bool isInternetAddress(const std::string &name)
{
    in_addr address;
    return ::inet_pton(AF_INET, name.c_str(), &address) == 1;
}

} // namespace

void judgePortName(const std::string &name)
{
    if (isTcpPort(name))
        return judgeTcpPort(name);
    if (name.find('/') != std::string::npos || exists(name))
        return;
    if (isAllDigits(name))
        refusePort("\"" + name + "\" is a number, and stands where the port is named");
    if (startsWith(name, "tty") || exists("/dev/" + name))
        refusePort("there is no " + name + " in this folder; did you mean /dev/" + name + "?");
    if (isPortElsewhere(name))
        refusePort(name + " is a port's name elsewhere; here they are called /dev/ttyUSB0, /dev/ttyS0 and so on");
    if (isHostAndPort(name))
        refusePort(name + " is no file; did you mean tcp:" + name + "?");
    if (isInternetAddress(name))
        refusePort(name + " is no file; did you mean tcp:" + name + ":PORT, " + TcpExample + "?");
}

} // namespace rtu
