#include "host/text/output_path.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <stdexcept>

namespace rtu {

namespace {

const unsigned MemoryDevices = 1; ///< major number
const unsigned NullDevice = 3;
const unsigned FullDevice = 7;

bool takesAnything(const struct stat &info)
{
    const unsigned device = minor(info.st_rdev);
    return major(info.st_rdev) == MemoryDevices && (device == NullDevice || device == FullDevice);
}

bool isOwnTerminal(const struct stat &info)
{
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        struct stat own;
        if (::fstat(stream, &own) == 0 && S_ISCHR(own.st_mode) && own.st_rdev == info.st_rdev)
            return true;
    }
    return false;
}

} // namespace

bool hasEnding(const std::string &name, const std::string &ending)
{
    if (name.size() <= ending.size())
        return false;
    return std::equal(ending.begin(), ending.end(), name.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [](char wanted, char c) { return wanted == std::tolower(static_cast<unsigned char>(c)); });
}

void refuseDevice(const std::string &path)
{
    struct stat info;
    if (path.empty() || ::stat(path.c_str(), &info) != 0)
        return;
    const bool device = S_ISBLK(info.st_mode) || S_ISCHR(info.st_mode);
    if (!device || (S_ISCHR(info.st_mode) && (takesAnything(info) || isOwnTerminal(info))))
        return;
    throw std::invalid_argument(path + " is a device, and no place for a file");
}

std::string replaceablePath(const std::string &path)
{
    char resolved[PATH_MAX];
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0)
        return path;
    if (!::realpath(path.c_str(), resolved) || ::stat(resolved, &info) != 0)
        return std::string();
    return S_ISREG(info.st_mode) ? std::string(resolved) : std::string();
}

} // namespace rtu
