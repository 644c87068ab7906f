/**
 * @file
 * A line on virtual time: nothing ever waits, the clock jumps to what would be
 * waited for.
 */
#ifndef TESTS_SUPPORT_VIRTUAL_LINE_H
#define TESTS_SUPPORT_VIRTUAL_LINE_H

#include <modbus_rtu_host/line.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace test_line {

using Bytes = std::vector<unsigned char>;

inline rtu::Duration microseconds(long long count)
{
    return std::chrono::microseconds(count);
}

inline rtu::Duration milliseconds(long long count)
{
    return std::chrono::milliseconds(count);
}

class VirtualLine : public rtu::Line
{
public:
    struct Sent
    {
        rtu::TimePoint when;
        Bytes bytes;
    };

    /** Called for each request; schedules the reply with receive(). */
    std::function<void(VirtualLine &, const Bytes &)> slave;

    /** Called when a read begins to wait. */
    std::function<void()> waiting;

    std::vector<Sent> sent;
    int wakeUps = 0;              ///< sleeps and waiting reads that ended
    rtu::Duration wakeUpDelay{0}; ///< how late the next wake-up is, once
    bool plugged = true;
    bool open = true;
    std::size_t discarded = 0;

    /** Bytes that arrive so long from now. */
    void receive(rtu::Duration delay, const Bytes &bytes) { m_arrivals.push_back({m_now + delay, bytes}); }

    /** Bytes that arrive one by one, the first @p delay from now. */
    void receivePaced(rtu::Duration delay, rtu::Duration character, const Bytes &bytes)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            receive(delay + character * static_cast<int>(i), Bytes(1, bytes[i]));
    }

    /** Pulls the plug at a time from now; reads and writes fail from then on. */
    void unplugAfter(rtu::Duration delay) { m_unplug = m_now + delay; }

    void advance(rtu::Duration time) { m_now += time; }

    rtu::TimePoint now() override { return m_now; }

    void sleepUntil(rtu::TimePoint when) override
    {
        if (when <= m_now)
            return;
        wakeAt(when);
    }

    bool ensureOpen() override
    {
        open = plugged;
        return open;
    }

    bool write(const unsigned char *bytes, std::size_t size) override
    {
        if (!plugged || lost()) {
            loseLine();
            return false;
        }
        sent.push_back({m_now, Bytes(bytes, bytes + size)});
        if (slave)
            slave(*this, sent.back().bytes);
        return true;
    }

    int read(unsigned char *out, std::size_t room, rtu::TimePoint deadline) override
    {
        if (m_interrupted)
            return rtu::Interrupted;
        const int count = take(out, room);
        if (count > 0)
            return count;
        if (lost())
            return loseLine();
        if (waiting && deadline > m_now)
            waiting();
        if (m_interrupted)
            return rtu::Interrupted;
        const rtu::TimePoint next = std::min(nextArrival(), m_unplug);
        if (next > deadline) {
            wakeAt(std::max(m_now, deadline));
            return rtu::DeadlinePassed;
        }
        wakeAt(next);
        return lost() ? loseLine() : take(out, room);
    }

    std::size_t discardInput() override
    {
        unsigned char dropped[512];
        std::size_t total = 0;
        for (int count = take(dropped, sizeof(dropped)); count > 0; count = take(dropped, sizeof(dropped)))
            total += static_cast<std::size_t>(count);
        discarded += total;
        return total;
    }

    void interrupt() override { m_interrupted = true; }
    void clearInterrupt() override { m_interrupted = false; }

private:
    struct Arrival
    {
        rtu::TimePoint when;
        Bytes bytes;
    };

    bool lost() const { return m_now >= m_unplug; }

    int loseLine()
    {
        plugged = false;
        open = false;
        m_unplug = rtu::TimePoint::max();
        m_arrivals.clear();
        return rtu::LineLost;
    }

    rtu::TimePoint nextArrival() const
    {
        rtu::TimePoint next = rtu::TimePoint::max();
        for (const Arrival &arrival : m_arrivals)
            next = std::min(next, arrival.when);
        return next;
    }

    void wakeAt(rtu::TimePoint when)
    {
        ++wakeUps;
        m_now = when + wakeUpDelay;
        wakeUpDelay = rtu::Duration(0);
    }

    int take(unsigned char *out, std::size_t room)
    {
        std::size_t taken = 0;
        std::stable_sort(m_arrivals.begin(), m_arrivals.end(),
                         [](const Arrival &left, const Arrival &right) { return left.when < right.when; });
        while (taken < room && !m_arrivals.empty() && m_arrivals.front().when <= m_now) {
            Bytes &bytes = m_arrivals.front().bytes;
            const std::size_t size = std::min(room - taken, bytes.size());
            std::copy_n(bytes.begin(), size, out + taken);
            taken += size;
            bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
            if (bytes.empty())
                m_arrivals.pop_front();
        }
        return static_cast<int>(taken);
    }

    rtu::TimePoint m_now{std::chrono::seconds(1000)};
    rtu::TimePoint m_unplug = rtu::TimePoint::max();
    std::deque<Arrival> m_arrivals;
    bool m_interrupted = false;
};

} // namespace test_line

#endif
