#include "host/listen/listen_loop.h"

namespace rtu {

namespace {

/** Short beside the pause that ends what cannot go on, so that this is told in time. */
const Duration Tick = std::chrono::milliseconds(20);
const Duration ReopenInterval = std::chrono::milliseconds(500);

} // namespace

void ListenLoop::run()
{
    unsigned char bytes[512];
    while (!m_stopping) {
        const int count = m_line.read(bytes, sizeof(bytes), m_line.now() + Tick);
        if (count == LineLost) {
            awaitPort();
            continue;
        }
        const TimePoint now = m_line.now();
        if (count > 0)
            m_reader.take(bytes, static_cast<std::size_t>(count), now);
        else
            m_reader.idle(now);
        if (m_tick)
            m_tick(now);
    }
    m_reader.finish();
}

void ListenLoop::stop()
{
    m_stopping = true;
    m_line.interrupt();
}

void ListenLoop::awaitPort()
{
    m_reader.finish();
    if (m_port)
        m_port(false);
    while (!m_stopping && !m_line.ensureOpen()) {
        m_line.sleepUntil(m_line.now() + ReopenInterval);
        if (m_tick)
            m_tick(m_line.now());
    }
    if (m_port && !m_stopping)
        m_port(true);
}

} // namespace rtu
