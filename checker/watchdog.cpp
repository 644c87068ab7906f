#include "checker/watchdog.h"

#include "checker/contract.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace checker {

namespace {

const int UsualPatience = 2000;

int patienceWanted()
{
    const char *text = std::getenv("MODBUS_RTU_CHECK_STALL_MS");
    return text && *text ? std::atoi(text) : UsualPatience;
}

} // namespace

Watchdog::Watchdog(Contract &watched) : contract(watched), patience(patienceWanted()), ended(false), process(0) {}

Watchdog::~Watchdog()
{
    if (!thread.joinable())
        return;
    if (process != ::getpid()) {
        thread.detach();
        return;
    }
    {
        std::lock_guard<std::mutex> locked(mutex);
        ended = true;
    }
    ending.notify_one();
    thread.join();
}

void Watchdog::start()
{
    if (patience <= Milliseconds(0))
        return;
    std::call_once(started, [this] { startThread(); });
}

/** The host's signals are for the host's threads: the new one inherits a mask without any. */
void Watchdog::startThread()
{
    sigset_t every;
    sigset_t before;
    ::sigfillset(&every);
    ::pthread_sigmask(SIG_SETMASK, &every, &before);
    try {
        process = ::getpid();
        thread = std::thread(&Watchdog::run, this);
    } catch (const std::system_error &) {
        process = 0; // then stalls are not told
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Watchdog::run()
{
    std::unique_lock<std::mutex> locked(mutex);
    while (!ended) {
        ending.wait_for(locked, patience / 4 + Milliseconds(1));
        locked.unlock();
        contract.checkStalls(patience);
        locked.lock();
    }
}

} // namespace checker
