/**
 * @file
 * The one mutex of a link: over what its own thread shares with its callers.
 *
 * It is never held while the driver, the line or a callback runs. Handles keep it
 * alive, so that they work beyond the life of their link.
 */
#ifndef KIT_LINK_LINK_LOCK_H
#define KIT_LINK_LINK_LOCK_H

#include <condition_variable>
#include <mutex>

namespace rtu {

struct LinkLock
{
    std::mutex mutex;
    std::condition_variable changed; ///< something was asked for, or something ended
    bool woken = false;              ///< something was asked for since the link last looked
};

using Locked = std::unique_lock<std::mutex>;

} // namespace rtu

#endif
