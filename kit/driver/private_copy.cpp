#include "kit/driver/private_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#ifndef MFD_CLOEXEC
#define MFD_CLOEXEC 0x0001U
#endif
#ifndef MFD_EXEC
#define MFD_EXEC 0x0010U
#endif
#ifndef O_TMPFILE
#define O_TMPFILE (020000000 | O_DIRECTORY)
#endif

namespace rtu {

namespace {

/** A number as steps on a path that lead nowhere. */
std::string stepsOf(unsigned long long number)
{
    std::string steps;
    for (; number != 0; number /= 2)
        steps += number % 2 ? "./" : "/";
    return steps;
}

} // namespace

std::string fileContent(const std::string &path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content;
    char piece[65536];
    ssize_t count = file.isOpen() ? 1 : -1;
    while (count > 0) {
        count = ::read(file.number(), piece, sizeof(piece));
        if (count > 0)
            content.append(piece, static_cast<std::size_t>(count));
    }
    if (count < 0)
        throw std::runtime_error("cannot load the driver " + path + ": " + std::strerror(errno));
    return content;
}

int openMemoryFile()
{
#ifdef SYS_memfd_create
    // By number: C libraries of panels are older than their kernels. Newer kernels can be
    // set up to want to hear that the file will be executed, older ones do not know the word.
    const char *name = "libmodbus_rtu_master.so.1";
    const long descriptor = ::syscall(SYS_memfd_create, name, MFD_CLOEXEC | MFD_EXEC);
    return static_cast<int>(descriptor >= 0 ? descriptor : ::syscall(SYS_memfd_create, name, MFD_CLOEXEC));
#else
    return -1;
#endif
}

int openUnnamedFile(const std::string &folder)
{
    const int descriptor = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0700);
    if (descriptor >= 0)
        return descriptor;
    // Not every file system has files that never had a name; this one has it for a moment, while empty.
    std::string path = folder + "/libmodbus_rtu_master.XXXXXX";
    const int named = ::mkostemp(&path[0], O_CLOEXEC);
    if (named >= 0)
        (void)::unlink(path.c_str());
    return named;
}

std::vector<std::string> temporaryFolders()
{
    std::vector<std::string> folders;
    for (const char *variable : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        const char *folder = std::getenv(variable);
        if (folder && folder[0] == '/')
            folders.push_back(folder);
    }
    for (const char *folder : {"/tmp", "/var/tmp", "/dev/shm", "/run"})
        folders.push_back(folder);
    return folders;
}

bool writeContent(int descriptor, const std::string &content)
{
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = ::write(descriptor, content.data() + done, content.size() - done);
        if (count <= 0) // no file takes nothing without an error; were there one, this would never end
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::string descriptorPath(int descriptor)
{
    struct stat file = {};
    (void)::fstat(descriptor, &file);
    return "/proc/self/fd/" + stepsOf(file.st_dev) + "../fd/" + stepsOf(file.st_ino) + std::to_string(descriptor);
}

} // namespace rtu
