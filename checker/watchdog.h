/**
 * @file
 * Looks from time to time whether a call or a callback has stalled. All threads
 * that could tell may be stuck by then, so it has a thread of its own.
 */
#ifndef CHECKER_WATCHDOG_H
#define CHECKER_WATCHDOG_H

#include "checker/clock.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include <sys/types.h>

namespace checker {

class Contract;

class Watchdog
{
public:
    /** Reads MODBUS_RTU_CHECK_STALL_MS: what counts as a stall, 2000 unless set, 0 for never. */
    explicit Watchdog(Contract &watched);

    /** Ends the thread. */
    ~Watchdog();

    /** Begins to look; later calls do nothing. */
    void start();

private:
    Watchdog(const Watchdog &);
    Watchdog &operator=(const Watchdog &);

    void startThread();
    void run();

    Contract &contract;
    Milliseconds patience;
    std::once_flag started;
    std::mutex mutex;
    std::condition_variable ending;
    bool ended;
    pid_t process; ///< that the thread runs in: a forked child has none
    std::thread thread;
};

} // namespace checker

#endif
