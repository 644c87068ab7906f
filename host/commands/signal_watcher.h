/**
 * @file
 * Turns the signals that ask a program to end into a call on a thread of its own,
 * where, unlike in a signal handler, anything may be done.
 */
#ifndef RTU_HOST_SIGNAL_WATCHER_H
#define RTU_HOST_SIGNAL_WATCHER_H

#include <csignal>

#include <atomic>
#include <functional>
#include <thread>

namespace rtu {

class SignalWatcher
{
public:
    /** Make it before any other thread: threads inherit which signals are held back. */
    explicit SignalWatcher(std::function<void(int signal)> receiver);
    ~SignalWatcher();
    SignalWatcher(const SignalWatcher &) = delete;
    SignalWatcher &operator=(const SignalWatcher &) = delete;

private:
    void watch();

    std::function<void(int)> m_receiver;
    sigset_t m_signals;
    sigset_t m_before;
    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};

} // namespace rtu

#endif
