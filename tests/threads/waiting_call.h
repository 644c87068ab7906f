/**
 * @file
 * A call on a thread of its own that a test expects to wait for a mutex. No time
 * is waited: the kernel says whether the thread sleeps.
 */
#ifndef THREADS_WAITING_CALL_H
#define THREADS_WAITING_CALL_H

#include <atomic>
#include <functional>
#include <thread>

namespace threads {

class WaitingCall
{
public:
    explicit WaitingCall(std::function<void()> call);
    ~WaitingCall();

    WaitingCall(const WaitingCall &) = delete;
    WaitingCall &operator=(const WaitingCall &) = delete;

    /** Waits until the call sleeps or has returned; true when it sleeps. */
    bool waits() const;

    /** Waits for the return of the call. */
    void finish();

private:
    void run();

    const std::function<void()> work;
    std::atomic<long> kernelId; ///< 0 until the thread runs
    std::atomic<bool> returned;
    std::thread thread;
};

} // namespace threads

#endif
