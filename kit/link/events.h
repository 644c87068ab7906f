/**
 * @file
 * Calls back that wait until the link holds no lock and is done with the frame.
 */
#ifndef KIT_LINK_EVENTS_H
#define KIT_LINK_EVENTS_H

#include <deque>
#include <functional>

namespace rtu {

using Event = std::function<void()>;

class Events
{
public:
    void add(Event event) { m_waiting.push_back(std::move(event)); }

    /**
     * Runs what waits, in order, what is added meanwhile included.
     *
     * @return how many of them threw
     */
    int run()
    {
        int failed = 0;
        while (!m_waiting.empty()) {
            // Taken out first: the event may end the link, which runs the rest before it goes.
            const Event event = std::move(m_waiting.front());
            m_waiting.pop_front();
            try {
                event();
            } catch (...) {
                ++failed;
            }
        }
        return failed;
    }

private:
    std::deque<Event> m_waiting;
};

} // namespace rtu

#endif
