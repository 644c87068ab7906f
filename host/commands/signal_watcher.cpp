#include "host/commands/signal_watcher.h"

#include <pthread.h>

namespace rtu {

SignalWatcher::SignalWatcher(std::function<void(int)> receiver) : m_receiver(std::move(receiver))
{
    sigemptyset(&m_signals);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&m_signals, signal);
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
    m_thread = std::thread([this] { watch(); });
}

SignalWatcher::~SignalWatcher()
{
    m_ending = true;
    pthread_kill(m_thread.native_handle(), SIGTERM); // held back in every thread, so only the wait sees it
    m_thread.join();
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void SignalWatcher::watch()
{
    int signal = 0;
    while (sigwait(&m_signals, &signal) == 0) {
        if (m_ending)
            return;
        m_receiver(signal);
    }
}

} // namespace rtu
