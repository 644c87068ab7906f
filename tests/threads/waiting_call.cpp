#include "threads/waiting_call.h"

#include <fstream>
#include <string>
#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace threads {

namespace {

/** True when the kernel lists the thread as sleeping: "4711 (name) S ...", see proc(5). */
bool sleeps(long kernelId)
{
    std::ifstream status("/proc/self/task/" + std::to_string(kernelId) + "/stat");
    std::string line;
    std::getline(status, line);
    const size_t name = line.rfind(')');
    return name != std::string::npos && line.compare(name, 3, ") S") == 0;
}

} // namespace

WaitingCall::WaitingCall(std::function<void()> call)
    : work(std::move(call))
    , kernelId(0)
    , returned(false)
    , thread(&WaitingCall::run, this)
{
}

WaitingCall::~WaitingCall()
{
    finish();
}

bool WaitingCall::waits() const
{
    while (!returned) {
        if (kernelId != 0 && sleeps(kernelId))
            return !returned;
        std::this_thread::yield();
    }
    return false;
}

void WaitingCall::finish()
{
    if (thread.joinable())
        thread.join();
}

void WaitingCall::run()
{
    kernelId = syscall(SYS_gettid);
    work();
    returned = true;
}

} // namespace threads
