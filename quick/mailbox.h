/**
 * @file
 * What a link's thread has for the screens, until their thread comes for it.
 */
#ifndef QUICK_MAILBOX_H
#define QUICK_MAILBOX_H

#include <modbus_rtu_host/tag.h>

#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace quick {

/**
 * Of each tag only the newest value waits, so what waits is bounded by the number of
 * tags, however slow the screens are.
 *
 * Threads: every call from any thread.
 */
class Mailbox
{
public:
    using Message = std::function<void()>;

    struct Content
    {
        std::map<rtu::Tag, rtu::TagValue> values;
        std::vector<Message> messages; ///< in the order in which they came; they belong behind the values
    };

    /** @param wakeUp called once for the first thing after each take(), on the thread that brings it */
    explicit Mailbox(std::function<void()> wakeUp);

    void put(const rtu::Tag &tag, const rtu::TagValue &value);
    void put(Message message);
    /** Everything that waits; the next thing wakes up again. */
    Content take();
    bool hasMail();

private:
    void wake();

    std::function<void()> m_wakeUp;
    std::mutex m_mutex; ///< over what follows
    Content m_content;
    bool m_woken = false;
};

} // namespace quick

#endif
