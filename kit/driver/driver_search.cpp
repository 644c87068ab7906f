#include "kit/driver/driver_search.h"

#include <glob.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace rtu {

namespace {

const char *const LibraryName = "libmodbus_rtu_master.so.1";

std::string executableFolder()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path));
    if (length <= 0 || length >= static_cast<ssize_t>(sizeof(path)))
        return std::string();
    const std::string text(path, static_cast<std::size_t>(length));
    return text.substr(0, text.rfind('/'));
}

bool isFolder(const std::string &path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string &path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

/** The lines that are paths; others of these files begin with a word or with '#'. */
void addFoldersIn(const std::string &file, std::vector<std::string> *folders)
{
    std::ifstream lines(file);
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] == '/')
            folders->push_back(line);
    }
}

} // namespace

std::vector<std::string> driverSearchPath(const std::string &executableFolder)
{
    std::vector<std::string> paths;
    for (const char *folder : {"/", "/lib/", "/../lib/", "/../" MODBUS_LIBDIR "/", "/../../lib/"})
        paths.push_back(executableFolder + folder + LibraryName);
    return paths;
}

std::vector<std::string> systemLibraryFolders()
{
    std::vector<std::string> folders;
    const char *given = std::getenv("LD_LIBRARY_PATH");
    std::istringstream parts(given ? given : "");
    for (std::string folder; std::getline(parts, folder, ':');) {
        if (!folder.empty())
            folders.push_back(folder);
    }
    glob_t files;
    if (::glob("/etc/ld.so.conf.d/*.conf", 0, nullptr, &files) == 0) {
        for (std::size_t i = 0; i < files.gl_pathc; ++i)
            addFoldersIn(files.gl_pathv[i], &folders);
        ::globfree(&files);
    }
    addFoldersIn("/etc/ld.so.conf", &folders);
    for (const char *folder : {"/usr/local/lib", "/lib", "/usr/lib", "/usr/" MODBUS_LIBDIR})
        folders.push_back(folder);
    return folders;
}

std::string findDriver(const std::string &wanted)
{
    if (!wanted.empty())
        return isFolder(wanted) ? wanted + "/" + LibraryName : wanted;
    for (const std::string &candidate : driverSearchPath(executableFolder())) {
        if (exists(candidate))
            return candidate;
    }
    for (const std::string &folder : systemLibraryFolders()) {
        if (exists(folder + "/" + LibraryName))
            return folder + "/" + LibraryName;
    }
    return LibraryName;
}

} // namespace rtu
