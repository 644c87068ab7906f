/**
 * @file
 * Asio opens and configures the port: it is a header-only library, brings no
 * event loop and no Qt version of its own, and reports each refused setting. The
 * waits work on its descriptor directly, because a poll loop wants one wake-up
 * for the first byte and one for the last, not one for every read.
 */
#include "kit/line/serial_line.h"

#include <asio/io_context.hpp>
#include <asio/serial_port.hpp>

#include <linux/serial.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>

namespace rtu {

namespace {

const Duration StuckOutput = std::chrono::seconds(5);
const Duration SleepSlice = std::chrono::milliseconds(200);

timespec toTimespec(Duration duration)
{
    using namespace std::chrono;
    const nanoseconds time = std::max(nanoseconds(0), duration_cast<nanoseconds>(duration));
    timespec result;
    result.tv_sec = static_cast<time_t>(time.count() / 1000000000);
    result.tv_nsec = static_cast<long>(time.count() % 1000000000);
    return result;
}

/**
 * Makes the calling thread wake up when it asked to. The kernel may round sleeps
 * up by 50 us, half a character at 115200 baud, and a busy machine lets a common
 * thread wait for milliseconds. The thread sleeps nearly always, so the first
 * place in the queue costs the others nothing; where the user may not have it,
 * polling works without.
 */
void askForPunctuality()
{
    thread_local bool asked = false;
    if (asked)
        return;
    asked = true;
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param priority;
    std::memset(&priority, 0, sizeof(priority));
    priority.sched_priority = 1;
    (void)::sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &priority);
}

/** Unix 98 pseudo-terminals have the major numbers 136 to 143. */
bool isPseudoTerminal(int descriptor)
{
    struct stat info;
    if (::fstat(descriptor, &info) != 0 || !S_ISCHR(info.st_mode))
        return false;
    const unsigned int number = major(info.st_rdev);
    return number >= 136 && number <= 143;
}

asio::serial_port::parity parityOption(char parity)
{
    using Parity = asio::serial_port::parity;
    return Parity(parity == 'N' ? Parity::none : parity == 'O' ? Parity::odd : Parity::even);
}

asio::serial_port::stop_bits stopBitsOption(int stopBits)
{
    using StopBits = asio::serial_port::stop_bits;
    return StopBits(stopBits == 2 ? StopBits::two : StopBits::one);
}

/** USB adapters otherwise hold received bytes back for up to 16 ms. Not every port knows the flag. */
void askForLowLatency(int descriptor)
{
    serial_struct settings;
    std::memset(&settings, 0, sizeof(settings));
    if (::ioctl(descriptor, TIOCGSERIAL, &settings) != 0
        || (static_cast<unsigned int>(settings.flags) & ASYNC_LOW_LATENCY) != 0)
        return;
    settings.flags |= static_cast<int>(ASYNC_LOW_LATENCY);
    (void)::ioctl(descriptor, TIOCSSERIAL, &settings);
}

std::string describe(const LineParameters &parameters)
{
    return std::to_string(parameters.dataBits) + parameters.parity + std::to_string(parameters.stopBits);
}

} // namespace

class SerialLine::Port
{
public:
    Port(const std::string &path, const LineParameters &parameters)
        : serial(context)
        , device(path)
        , wanted(parameters)
        , used(parameters)
        , wakeUp(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    {
        if (wakeUp < 0)
            throw std::runtime_error("cannot create an event descriptor");
    }

    ~Port() { ::close(wakeUp); }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    int descriptor() { return serial.native_handle(); }

    void open()
    {
        close();
        asio::error_code error;
        serial.open(device, error);
        if (error)
            throw std::runtime_error("cannot open " + device + ": " + error.message());
        try {
            lock();
            configure();
        } catch (...) {
            close();
            throw;
        }
        askForLowLatency(descriptor());
    }

    void close()
    {
        asio::error_code ignored;
        if (serial.is_open())
            serial.close(ignored);
    }

    /** Waits for an event on the port. False: deadline or interruption. */
    bool await(short events, TimePoint deadline)
    {
        for (;;) {
            pollfd watched[2] = {{descriptor(), events, 0}, {wakeUp, POLLIN, 0}};
            const timespec time = toTimespec(deadline - SteadyClock::now());
            const int ready = ::ppoll(watched, 2, &time, nullptr);
            if (ready < 0 && errno == EINTR)
                continue;
            return ready > 0 && watched[0].revents != 0 && watched[1].revents == 0;
        }
    }

    bool interrupted() const
    {
        pollfd watched = {wakeUp, POLLIN, 0};
        return ::poll(&watched, 1, 0) > 0;
    }

    asio::io_context context{1};
    asio::serial_port serial;
    std::string device;
    LineParameters wanted;
    LineParameters used;
    std::string notice;
    int wakeUp;
    bool emptied = false; ///< the last read took all there was: worth waiting before the next

private:
    /** Two masters on one line garble each other's replies. */
    void lock()
    {
        if (::flock(descriptor(), LOCK_EX | LOCK_NB) == 0)
            return;
        if (errno == EWOULDBLOCK)
            throw std::runtime_error(device + " is in use by another program");
    }

    template <typename Option>
    void set(const Option &option, const std::string &what)
    {
        asio::error_code error;
        serial.set_option(option, error);
        if (error)
            throw std::runtime_error(device + " does not take " + what + ": " + error.message());
    }

    void configure()
    {
        notice.clear();
        used = wanted;
        if (isPseudoTerminal(descriptor())) {
            configurePseudoTerminal();
            return;
        }
        if (used.baud > 0)
            set(asio::serial_port::baud_rate(static_cast<unsigned int>(used.baud)),
                std::to_string(used.baud) + " baud");
        set(asio::serial_port::flow_control(asio::serial_port::flow_control::none), "no flow control");
        configureCharacters();
    }

    void configureCharacters()
    {
        const std::string what = describe(used);
        set(asio::serial_port::character_size(static_cast<unsigned int>(used.dataBits)), what);
        set(parityOption(used.parity), what);
        set(stopBitsOption(used.stopBits), what);
    }

    /** A pseudo-terminal carries bytes, not characters, so anything but eight plain bits is refused there. */
    void configurePseudoTerminal()
    {
        if (used.dataBits == 8 && used.parity == 'N')
            return configureCharacters();
        used.dataBits = 8;
        used.parity = 'N';
        used.stopBits = 2;
        configureCharacters();
        notice = device + " is a pseudo-terminal and has no " + describe(wanted) + ": using 8N2";
    }
};

SerialLine::SerialLine(const std::string &device, const LineParameters &parameters)
    : m_port(new Port(device, parameters))
{
}

SerialLine::~SerialLine() = default;

void SerialLine::open()
{
    m_port->open();
}

void SerialLine::close()
{
    m_port->close();
}

const std::string &SerialLine::notice() const
{
    return m_port->notice;
}

const LineParameters &SerialLine::parameters() const
{
    return m_port->used;
}

const std::string &SerialLine::device() const
{
    return m_port->device;
}

TimePoint SerialLine::now()
{
    return SteadyClock::now();
}

void SerialLine::sleepUntil(TimePoint when)
{
    askForPunctuality();
    m_port->emptied = false;
    // steady_clock is CLOCK_MONOTONIC, so its times serve as absolute deadlines.
    // Long sleeps go in slices: an interruption must not wait for a slow line.
    while (SteadyClock::now() < when) {
        const TimePoint next = std::min(when, SteadyClock::now() + SleepSlice);
        const timespec target = toTimespec(next.time_since_epoch());
        ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &target, nullptr);
        if (next != when && m_port->interrupted())
            return;
    }
}

bool SerialLine::ensureOpen()
{
    if (m_port->serial.is_open())
        return true;
    try {
        m_port->open();
    } catch (const std::exception &error) {
        m_port->notice = error.what();
        return false;
    }
    return true;
}

bool SerialLine::write(const unsigned char *bytes, std::size_t size)
{
    const TimePoint deadline = SteadyClock::now() + StuckOutput;
    while (size > 0) {
        const ssize_t written = ::write(m_port->descriptor(), bytes, size);
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
            continue;
        }
        const bool full = written < 0 && (errno == EAGAIN || errno == EINTR);
        if (!full || !m_port->await(POLLOUT, deadline)) {
            m_port->close();
            return false;
        }
    }
    return true;
}

int SerialLine::read(unsigned char *out, std::size_t room, TimePoint deadline)
{
    if (!m_port->serial.is_open())
        return LineLost;
    for (;;) {
        if (m_port->emptied && SteadyClock::now() < deadline && !m_port->await(POLLIN, deadline))
            return m_port->interrupted() ? Interrupted : DeadlinePassed;
        const ssize_t count = ::read(m_port->descriptor(), out, room);
        m_port->emptied = count < static_cast<ssize_t>(room);
        if (count > 0)
            return static_cast<int>(count);
        const bool empty = count < 0 && (errno == EAGAIN || errno == EINTR);
        if (!empty) { // end of file or an error: unplugged, or the far end of a pseudo-terminal closed
            m_port->close();
            return LineLost;
        }
        if (SteadyClock::now() >= deadline)
            return DeadlinePassed;
    }
}

std::size_t SerialLine::discardInput()
{
    unsigned char dropped[512];
    std::size_t total = 0;
    for (;;) {
        const int count = read(dropped, sizeof(dropped), TimePoint::min());
        if (count <= 0)
            return total;
        total += static_cast<std::size_t>(count);
    }
}

void SerialLine::interrupt()
{
    const std::uint64_t one = 1;
    (void)!::write(m_port->wakeUp, &one, sizeof(one));
}

void SerialLine::clearInterrupt()
{
    std::uint64_t count = 0;
    (void)!::read(m_port->wakeUp, &count, sizeof(count));
}

} // namespace rtu
