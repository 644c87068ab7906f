/**
 * @file
 * The thread that listens on a port and puts answers on it in time.
 */
#ifndef RTU_PLANT_LINE_THREAD_H
#define RTU_PLANT_LINE_THREAD_H

#include "kit/line/wake_up.h"
#include "plant/frame_bytes.h"
#include "plant/port.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace plant {

using Clock = std::chrono::steady_clock;

/** Bytes that wait for their time. */
class Transmitter
{
public:
    /** @param character time of a character, 0 for all bytes at once */
    void schedule(const Bytes &bytes, Clock::time_point start, std::chrono::nanoseconds character, const Line &line);
    bool empty() const { return m_lumps.empty(); }
    Clock::time_point nextDue() const { return m_lumps.begin()->first; }
    void handOver(int descriptor, Clock::time_point now);
    unsigned long sent() const { return m_sent; }
    unsigned long waiting() const;

private:
    std::multimap<Clock::time_point, Bytes> m_lumps;
    unsigned long m_sent = 0;
};

class LineThread
{
public:
    using Handler = std::function<std::vector<Outgoing>(const Bytes &request)>;
    using LineSource = std::function<Line()>;

    LineThread(const Port &port, LineSource line, Handler handler);
    ~LineThread();
    LineThread(const LineThread &) = delete;
    LineThread &operator=(const LineThread &) = delete;

    /** False once the port went away. */
    bool alive() const { return m_alive; }

    Traffic traffic() const;
    void sendWaiting();

private:
    void run();
    void waitForEvent();
    Clock::time_point nextEvent() const;
    bool serve();
    bool receive();
    void answerRequests(bool lineIsQuiet);
    void answer(const Bytes &request);
    Clock::time_point quietAt() const;

    const Port &m_port;
    LineSource m_lineSource;
    Handler m_handler;
    mutable std::mutex m_mutex; ///< over what stands from here to m_heard
    Line m_line;                ///< as it was at the last request
    RequestReader m_reader;
    Transmitter m_transmitter;
    Clock::time_point m_firstByte; ///< of the request being received
    Clock::time_point m_lastByte;
    unsigned long m_heard = 0;
    std::atomic<bool> m_alive{true};
    rtu::WakeUp m_wakeUp; ///< ends the waiting
    std::thread m_thread;
};

} // namespace plant

#endif
