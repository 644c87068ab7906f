/**
 * @file
 * What a signal is to end, for as long as it is there.
 */
#ifndef RTU_HOST_STOP_TARGET_H
#define RTU_HOST_STOP_TARGET_H

#include <functional>
#include <mutex>

namespace rtu {

class StopTarget
{
public:
    /** Says how to end what is running, as long as it runs. Asked before that, it ends at once. */
    class Scope
    {
    public:
        Scope(StopTarget &target, std::function<void()> stop) : m_target(target) { m_target.set(std::move(stop)); }
        ~Scope() { m_target.set(nullptr); }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        StopTarget &m_target;
    };

    /** From any thread. False: it has been asked before, or there is nothing that can end in good order. */
    bool stop()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool first = !m_asked;
        m_asked = true;
        if (first && m_stop)
            m_stop();
        return first && m_stop;
    }

    bool asked() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_asked;
    }

private:
    void set(std::function<void()> stop)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = std::move(stop);
        if (m_stop && m_asked)
            m_stop();
    }

    mutable std::mutex m_mutex;
    std::function<void()> m_stop;
    bool m_asked = false;
};

} // namespace rtu

#endif
