#include "plant/line_thread.h"

#include "kit/line/signals_held.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace plant {

namespace {

using std::chrono::nanoseconds;

// A request that does not go on for this long is given up: far beyond the
// silence of a line, because a master's bytes may come through a scheduler.
const nanoseconds ShortestQuiet = std::chrono::milliseconds(5);

/** The next tick of a clock that ticks at this interval, or the time itself when on a tick. */
Clock::time_point nextTick(Clock::time_point time, nanoseconds interval)
{
    const auto since = std::chrono::duration_cast<nanoseconds>(time.time_since_epoch());
    const auto over = since % interval;
    return over.count() == 0 ? time : time + (interval - over);
}

} // namespace

// --- sending --------------------------------------------------------------------

void Transmitter::schedule(const Bytes &bytes, Clock::time_point start, nanoseconds character, const Line &line)
{
    std::size_t lumpSize = bytes.size();
    if (character.count() > 0)
        lumpSize = std::max<std::size_t>(1, static_cast<std::size_t>(line.lump / character));
    for (std::size_t begin = 0; begin < bytes.size(); begin += lumpSize) {
        const std::size_t end = std::min(begin + lumpSize, bytes.size());
        Clock::time_point due = start + character * static_cast<std::int64_t>(end);
        if (line.adapterTicks && line.lump.count() > 0)
            due = nextTick(due, line.lump);
        m_lumps.emplace(due, Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(end)));
    }
}

void Transmitter::handOver(int descriptor, Clock::time_point now)
{
    while (!m_lumps.empty() && m_lumps.begin()->first <= now) {
        const Bytes &bytes = m_lumps.begin()->second;
        // A full buffer means that nobody reads; a line loses such bytes too.
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written > 0)
            m_sent += static_cast<unsigned long>(written);
        m_lumps.erase(m_lumps.begin());
    }
}

unsigned long Transmitter::waiting() const
{
    unsigned long bytes = 0;
    for (const auto &lump : m_lumps)
        bytes += lump.second.size();
    return bytes;
}

// --- the thread -----------------------------------------------------------------

LineThread::LineThread(const Port &port, LineSource line, Handler handler)
    : m_port(port)
    , m_lineSource(std::move(line))
    , m_handler(std::move(handler))
    , m_line(m_lineSource())
{
    const rtu::SignalsHeld noSignals;
    m_thread = std::thread([this] { run(); });
}

LineThread::~LineThread()
{
    m_wakeUp.interrupt();
    m_thread.join();
}

Clock::time_point LineThread::quietAt() const
{
    return m_lastByte + std::max(silenceOf(m_line), ShortestQuiet);
}

void LineThread::run()
{
    // Bytes have to come on time to the microsecond, not to the usual 50.
    prctl(PR_SET_TIMERSLACK, 1ul, 0ul, 0ul, 0ul);
    while (!m_wakeUp.interrupted()) {
        waitForEvent();
        if (!serve()) {
            m_alive = false;
            return;
        }
    }
}

Clock::time_point LineThread::nextEvent() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Clock::time_point next = Clock::time_point::max();
    if (!m_transmitter.empty())
        next = m_transmitter.nextDue();
    if (!m_reader.empty())
        next = std::min(next, quietAt());
    return next;
}

void LineThread::waitForEvent()
{
    m_wakeUp.await(m_port.descriptor(), POLLIN, nextEvent());
}

bool LineThread::serve()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!receive())
        return false;
    answerRequests(false);
    if (!m_reader.empty() && Clock::now() >= quietAt())
        answerRequests(true);
    m_transmitter.handOver(m_port.descriptor(), Clock::now());
    return true;
}

Traffic LineThread::traffic() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Traffic traffic;
    traffic.heard = m_heard;
    traffic.sent = m_transmitter.sent();
    traffic.waiting = m_transmitter.waiting();
    traffic.inRequest = !m_reader.empty();
    return traffic;
}

void LineThread::sendWaiting()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_transmitter.handOver(m_port.descriptor(), Clock::time_point::max());
}

bool LineThread::receive()
{
    std::uint8_t buffer[512];
    const ssize_t size = ::read(m_port.descriptor(), buffer, sizeof buffer);
    if (size < 0)
        return errno == EAGAIN || errno == EINTR;
    if (size == 0)
        return false;
    m_lastByte = Clock::now();
    if (m_reader.empty())
        m_firstByte = m_lastByte;
    m_reader.append(buffer, static_cast<std::size_t>(size));
    m_heard += static_cast<unsigned long>(size);
    return true;
}

void LineThread::answerRequests(bool lineIsQuiet)
{
    Bytes request;
    while (m_reader.take(lineIsQuiet, &request))
        answer(request);
}

void LineThread::answer(const Bytes &request)
{
    m_line = m_lineSource();
    const nanoseconds character = m_port.pacesItself() ? nanoseconds(0) : characterTime(m_line);
    const Clock::time_point start = m_firstByte;
    const auto size = static_cast<std::int64_t>(request.size());
    const Clock::time_point requestEnd = std::max(start + character * size, m_lastByte);
    Clock::time_point free = requestEnd + silenceOf(m_line);
    for (const Outgoing &outgoing : m_handler(request)) {
        if (outgoing.echo) {
            m_transmitter.schedule(outgoing.bytes, start, character, m_line);
            continue;
        }
        const Clock::time_point begin = free + outgoing.delay;
        m_transmitter.schedule(outgoing.bytes, begin, character, m_line);
        free = begin + character * static_cast<std::int64_t>(outgoing.bytes.size());
    }
}

} // namespace plant
