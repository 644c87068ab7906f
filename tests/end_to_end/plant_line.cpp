#include "plant_line.h"

#include "support/line_parameters.h"

#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

const rtu::Duration Nap = std::chrono::microseconds(50);
/** Only a plant or a kernel that lost bytes takes this long. */
const rtu::Duration GiveUpAfter = std::chrono::minutes(2);

/** Naps until the condition holds. */
template <typename Condition>
void awaitThat(Condition condition, const char *what)
{
    const rtu::TimePoint end = rtu::SteadyClock::now() + GiveUpAfter;
    while (!condition()) {
        if (rtu::SteadyClock::now() > end)
            throw std::runtime_error(what);
        std::this_thread::sleep_for(Nap);
    }
}

} // namespace

PlantLine::PlantLine(plant::Plant &plant)
    : m_plant(plant)
    , m_serial(plant.devicePath(), test_line::unpaced())
    , m_probe(::open(plant.devicePath().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    m_serial.open();
}

PlantLine::~PlantLine()
{
    ::close(m_probe);
}

rtu::TimePoint PlantLine::now()
{
    return rtu::SteadyClock::now() + m_skipped;
}

void PlantLine::sleepUntil(rtu::TimePoint when)
{
    const rtu::Duration rest = when - now();
    if (rest > rtu::Duration(0))
        m_skipped += rest;
}

bool PlantLine::write(const unsigned char *bytes, std::size_t size)
{
    m_written += static_cast<unsigned long>(size);
    return m_serial.write(bytes, size);
}

/** Returns once everything written has been heard and everything sent has arrived. */
void PlantLine::awaitSlaves()
{
    awaitThat(
        [this] {
            const plant::Traffic traffic = m_plant.traffic();
            return traffic.heard >= m_written && !traffic.inRequest;
        },
        "the plant does not listen");
    awaitThat(
        [this] {
            int arrived = 0;
            ::ioctl(m_probe, FIONREAD, &arrived);
            return static_cast<unsigned long>(arrived) >= m_plant.traffic().sent - m_taken;
        },
        "bytes of the plant got lost");
}

int PlantLine::takeArrived(unsigned char *out, std::size_t room)
{
    const int count = m_serial.read(out, room, rtu::SteadyClock::now());
    if (count > 0)
        m_taken += static_cast<unsigned long>(count);
    return count;
}

int PlantLine::read(unsigned char *out, std::size_t room, rtu::TimePoint deadline)
{
    awaitSlaves();
    const int count = takeArrived(out, room);
    if (count != rtu::DeadlinePassed)
        return count;
    sleepUntil(deadline);
    m_plant.sendWaiting();
    return rtu::DeadlinePassed;
}

std::size_t PlantLine::discardInput()
{
    awaitSlaves();
    unsigned char dropped[512];
    std::size_t total = 0;
    for (int count = takeArrived(dropped, sizeof dropped); count > 0; count = takeArrived(dropped, sizeof dropped))
        total += static_cast<std::size_t>(count);
    return total;
}
