/**
 * @file
 * Threads without signals.
 */
#ifndef KIT_LINE_SIGNALS_HELD_H
#define KIT_LINE_SIGNALS_HELD_H

#include <pthread.h>
#include <signal.h>

namespace rtu {

/** Threads that this one begins meanwhile get no signals: those are for the program's own threads. */
class SignalsHeld
{
public:
    SignalsHeld()
    {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &m_before);
    }

    ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

private:
    sigset_t m_before;
};

} // namespace rtu

#endif
