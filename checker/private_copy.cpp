#include "checker/private_copy.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <vector>

namespace checker {

namespace {

/** MFD_CLOEXEC, which the headers of older C libraries do not have. */
const unsigned int CloseOnExec = 1;

int newMemoryFile()
{
#ifdef SYS_memfd_create
    return static_cast<int>(::syscall(SYS_memfd_create, "libmodbus_rtu_master.so.1", CloseOnExec));
#else
    return -1;
#endif
}

bool writeWhole(int file, const std::string &content)
{
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t count = ::write(file, content.data() + done, content.size() - done);
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::string temporaryFolder()
{
    const char *folder = ::getenv("TMPDIR");
    return folder && *folder ? folder : "/tmp";
}

} // namespace

PrivateCopy::PrivateCopy() : memoryFile(-1) {}

PrivateCopy::~PrivateCopy()
{
    if (memoryFile >= 0)
        ::close(memoryFile);
}

void *PrivateCopy::load(const std::string &content)
{
    void *handle = loadMemoryFile(content);
    return handle ? handle : loadTemporaryFile(content);
}

void *PrivateCopy::loadMemoryFile(const std::string &content)
{
    memoryFile = newMemoryFile();
    if (memoryFile < 0 || !writeWhole(memoryFile, content))
        return nullptr;
    return open("/proc/self/fd/" + std::to_string(memoryFile));
}

void *PrivateCopy::loadTemporaryFile(const std::string &content)
{
    const std::string pattern = temporaryFolder() + "/libmodbus_rtu_master.XXXXXX";
    std::vector<char> path(pattern.begin(), pattern.end());
    path.push_back('\0');
    const int file = ::mkstemp(path.data());
    if (file < 0) {
        reason = "cannot make a file in " + temporaryFolder();
        return nullptr;
    }
    const bool written = writeWhole(file, content);
    ::close(file);
    void *handle = written ? open(path.data()) : nullptr;
    ::unlink(path.data());
    return handle;
}

void *PrivateCopy::open(const std::string &path)
{
    void *handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char *words = ::dlerror();
        reason = words ? words : "unknown reason";
    }
    return handle;
}

} // namespace checker
