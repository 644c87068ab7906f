/**
 * @file
 * Something asked of a link that ends exactly once, and may be waited for.
 */
#ifndef KIT_LINK_JOB_H
#define KIT_LINK_JOB_H

#include "kit/link/link_lock.h"

#include <modbus_rtu_host/line.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace rtu {

/** Where a job is. Guarded by its link's mutex, as the result. */
enum class JobState {
    Waiting,   ///< nothing of it has reached the driver
    TakenBack, ///< cancelled while waiting; the link has not yet told the end
    Under,     ///< the driver has it, or had parts of it
    Ended,
};

template <typename Result>
struct Job
{
    std::shared_ptr<LinkLock> lock;
    JobState state = JobState::Waiting;
    Result result;
    std::function<void(const Result &)> done;

    bool ended() const
    {
        const Locked held(lock->mutex);
        return state == JobState::Ended;
    }

    Result outcome() const
    {
        const Locked held(lock->mutex);
        return result;
    }

    bool cancel()
    {
        {
            const Locked held(lock->mutex);
            if (state != JobState::Waiting)
                return false;
            state = JobState::TakenBack;
            lock->woken = true;
        }
        lock->changed.notify_all();
        return true;
    }

    bool wait(Duration time) const
    {
        const Duration bounded =
            std::min<Duration>(time, std::chrono::hours(24 * 365)); // Duration::max() is beyond the clock
        Locked held(lock->mutex);
        return lock->changed.wait_for(held, bounded, [this] { return state == JobState::Ended; });
    }

    /** From here on it cannot be cancelled. False: it has been. */
    bool take()
    {
        const Locked held(lock->mutex);
        if (state == JobState::TakenBack)
            return false;
        state = JobState::Under;
        return true;
    }

    /** It can be cancelled again. */
    void putBack()
    {
        const Locked held(lock->mutex);
        state = JobState::Waiting;
    }

    bool takenBack() const
    {
        const Locked held(lock->mutex);
        return state == JobState::TakenBack;
    }

    /** Fixes the end. The caller then tells it through done, once. */
    void end(const Result &how)
    {
        {
            const Locked held(lock->mutex);
            result = how;
            state = JobState::Ended;
        }
        lock->changed.notify_all();
    }
};

} // namespace rtu

#endif
