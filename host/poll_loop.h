/**
 * @file
 * The poll loop: frames from the driver to the line, replies back to the driver.
 *
 * Use from a program of its own:
 * @code
 *   rtu::DriverLibrary driver(path);
 *   driver.initProperty(nullptr, 0, nullptr, &status, "1#0#0#3#120", nullptr);
 *   driver.addrMerge(&keys);
 *   rtu::SerialLine line("/dev/ttyUSB0", parameters);
 *   rtu::PollLoop loop(driver, line, settings);
 *   loop.addObserver([](const rtu::Transaction &t) { ... });
 *   loop.step();          // one frame, or
 *   loop.run();           // frames until stop() is called from another thread
 * @endcode
 */
#ifndef RTU_HOST_POLL_LOOP_H
#define RTU_HOST_POLL_LOOP_H

#include "kit/driver/driver_library.h"
#include <modbus_rtu_host/line.h>
#include "kit/line/line_timing.h"
#include "kit/line/reply_collector.h"
#include <modbus_rtu_host/transaction.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace rtu {

struct PollSettings
{
    LineTiming timing;
    Duration replyTimeout = std::chrono::milliseconds(1000);   ///< from the end of the request to the first byte
    Duration broadcastDelay = std::chrono::milliseconds(100);  ///< time that slaves get to act on a broadcast
    Duration lateReplyGuard = std::chrono::milliseconds(1000); ///< see PollLoop::awaitLateReply()
    Duration reopenInterval = std::chrono::milliseconds(500);  ///< pause between tries to open a lost port
    Duration roundInterval{0}; ///< run(): start of one round of the cyclic plan to the start of the next
    bool removeEcho = false;   ///< the adapter hears itself: drop the request in front of the reply
};

/** What a step did. */
enum class StepResult {
    Idle,   ///< the driver has nothing to send
    Done,   ///< one frame was sent and judged
    NoPort, ///< the port is not there; nothing was sent
    Stopped ///< stop() was called
};

class PollLoop
{
public:
    using Observer = std::function<void(const Transaction &)>;
    using PortObserver = std::function<void(bool open)>;

    PollLoop(DriverLibrary &driver, Line &line, const PollSettings &settings);

    /** Observers are called on the polling thread after each frame. Add them before polling. */
    void addObserver(Observer observer) { m_observers.push_back(std::move(observer)); }

    /** Frames in a round of run(): the result of intf_addrMerge(). Set it while nothing polls. */
    void setRoundLength(int frames) { m_roundLength = frames; }

    /** Called when the port is lost and when it is back. */
    void setPortObserver(PortObserver observer) { m_portObserver = std::move(observer); }

    /** Called by run() after each round of the cyclic plan; false ends run(). */
    void setRoundObserver(std::function<bool()> observer) { m_roundObserver = std::move(observer); }

    /** Sends one frame and hands its reply to the driver. */
    StepResult step();

    /** Steps until stop(); keeps to the cycle interval and waits while there is nothing to send. */
    void run();

    /** Steps until there is nothing left to send, the port is lost or stop() is called. */
    StepResult drain();

    /** From any thread: ends run() and the waits of a step. */
    void stop();

    /** After stop(): steps and runs are possible again. */
    void restart();

    /** From any thread: there is something new to send (after intf_setData() and the like). */
    void wake();

    const PollSettings &settings() const { return m_settings; }

private:
    bool nextFrame();
    bool openPort();
    void waitForSilence();
    void awaitLateReply();
    bool expectLateReply();
    bool send();
    void collectReply();
    void handOver();
    void notify();
    void rest(TimePoint until);
    bool endsCyclicRead() const;
    bool stopping() const { return m_stopping.load(std::memory_order_relaxed); }

    DriverLibrary &m_driver;
    Line &m_line;
    PollSettings m_settings;
    std::vector<Observer> m_observers;
    PortObserver m_portObserver;
    std::function<bool()> m_roundObserver;
    int m_roundLength = 1;
    ReplyCollector m_collector;
    FRAME_PRO m_frame;
    Transaction m_transaction;
    TimePoint m_quietSince;              ///< the line has been silent from here on
    bool m_resend = false;               ///< the driver asked for the same frame again
    bool m_unheard = false;              ///< an attempt of the frame in flight was neither answered nor listened for
    bool m_expectLate = false;           ///< the last attempt may still be answered
    std::map<int, int> m_listenedInVain; ///< by station, how often since it last made a sound
    bool m_portOpen = true;
    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_woken = false;
};

} // namespace rtu

#endif
