/**
 * @file
 * Listens to a line, and never sends.
 */
#ifndef RTU_HOST_LISTEN_LISTEN_LOOP_H
#define RTU_HOST_LISTEN_LISTEN_LOOP_H

#include "host/listen/traffic_reader.h"

#include <atomic>
#include <functional>

namespace rtu {

class ListenLoop
{
public:
    ListenLoop(Line &line, TrafficReader &reader) : m_line(line), m_reader(reader) {}

    /** Called between reads, ten times a second or more, with the time. */
    void onTick(std::function<void(TimePoint)> tick) { m_tick = std::move(tick); }
    /** The port went (false) or came back (true). */
    void onPort(std::function<void(bool open)> listener) { m_port = std::move(listener); }

    /** Until stop(). A port that is lost is tried again and again. */
    void run();
    /** From any thread. */
    void stop();

private:
    void awaitPort();

    Line &m_line;
    TrafficReader &m_reader;
    std::function<void(TimePoint)> m_tick;
    std::function<void(bool)> m_port;
    std::atomic<bool> m_stopping{false};
};

} // namespace rtu

#endif
