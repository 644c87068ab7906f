#include "kit/driver/driver_search.h"

#include <glob.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace rtu {

namespace {

const char *const LibraryName = "libmodbus_rtu_master.so.1";

bool isFolder(const std::string &path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
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

std::string executableFolder()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path));
    const std::string text(path, static_cast<std::size_t>(std::max<ssize_t>(0, length)));
    return text.substr(0, text.rfind('/'));
}

std::vector<std::string> foldersBeside(const std::string &programFolder)
{
    std::vector<std::string> folders;
    for (const char *folder : {"", "/lib", "/../lib", "/../" MODBUS_LIBDIR, "/../../lib"})
        folders.push_back(programFolder + folder);
    return folders;
}

std::vector<std::string> systemLibraryFolders(const std::string &settings)
{
    std::vector<std::string> folders;
    const char *given = std::getenv("LD_LIBRARY_PATH");
    std::istringstream parts(given ? given : "");
    for (std::string folder; std::getline(parts, folder, ':');) {
        if (!folder.empty())
            folders.push_back(folder);
    }
    glob_t files;
    if (::glob((settings + ".d/*.conf").c_str(), 0, nullptr, &files) == 0) {
        for (std::size_t i = 0; i < files.gl_pathc; ++i)
            addFoldersIn(files.gl_pathv[i], &folders);
        ::globfree(&files);
    }
    addFoldersIn(settings, &folders);
    for (const char *folder : {"/usr/local/lib", "/lib", "/usr/lib", "/usr/" MODBUS_LIBDIR})
        folders.push_back(folder);
    return folders;
}

std::string findDriver(const std::string &wanted, const std::string &programFolder)
{
    if (!wanted.empty())
        return isFolder(wanted) ? wanted + "/" + LibraryName : wanted;
    std::vector<std::string> folders = foldersBeside(programFolder);
    for (const std::string &folder : systemLibraryFolders())
        folders.push_back(folder);
    for (const std::string &folder : folders) {
        const std::string candidate = folder + "/" + LibraryName;
        if (::access(candidate.c_str(), F_OK) == 0)
            return candidate;
    }
    return LibraryName;
}

} // namespace rtu
