// What the kernel is asked to do with a port, tried on a pseudo-terminal, which refuses what
// only real ports have: that is answered in the kernel's place.

#include "kit/line/port_control.h"
#include "kit/port_requests.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <linux/serial.h>
#include <sys/ioctl.h>

#include <cerrno>

namespace {

using namespace rtu;
using test_line::portAnswers;
using test_line::TerminalPair;

int openTerminal(const std::string &path)
{
    return ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

class PortControl : public testing::Test
{
protected:
    PortControl() : m_near(openTerminal(m_pair.path())), m_file(::open("/dev/null", O_RDWR | O_CLOEXEC)) {}

    ~PortControl() override { portAnswers.clear(); }

    int terminal() const { return m_near.number(); }
    int file() const { return m_file.number(); }
    const std::string &path() const { return m_pair.path(); }

private:
    TerminalPair m_pair;
    Descriptor m_near;
    Descriptor m_file;
};

TEST_F(PortControl, OpensADeviceWithoutWaiting)
{
    const Descriptor opened(port_control::open(path().c_str()));
    ASSERT_LE(0, opened.number());
    EXPECT_EQ(O_RDWR | O_NONBLOCK, ::fcntl(opened.number(), F_GETFL) & (O_ACCMODE | O_NONBLOCK));
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(opened.number(), F_GETFD));
    EXPECT_GT(0, port_control::open("/nowhere/port"));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(PortControl, KnowsPseudoTerminals)
{
    EXPECT_TRUE(port_control::isPseudoTerminal(terminal()));
    EXPECT_FALSE(port_control::isPseudoTerminal(file()));
    const Descriptor folder(::open("/", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(port_control::isPseudoTerminal(folder.number()));
    EXPECT_FALSE(port_control::isPseudoTerminal(-1));
}

TEST_F(PortControl, LocksOutAnotherOpening)
{
    EXPECT_TRUE(port_control::lock(terminal()));
    const Descriptor other(openTerminal(path()));
    EXPECT_FALSE(port_control::lock(other.number()));
    EXPECT_EQ(EWOULDBLOCK, errno);
}

TEST_F(PortControl, SetsAndClearsExclusiveUse)
{
    EXPECT_TRUE(port_control::setExclusive(terminal(), true));
    EXPECT_TRUE(port_control::setExclusive(terminal(), false));
    EXPECT_FALSE(port_control::setExclusive(file(), true));
}

TEST_F(PortControl, ReadsAndWritesSettings)
{
    termios settings;
    ASSERT_TRUE(port_control::readSettings(terminal(), &settings));
    settings.c_lflag ^= ECHO;
    ASSERT_TRUE(port_control::writeSettings(terminal(), settings));
    termios read;
    ASSERT_TRUE(port_control::readSettings(terminal(), &read));
    EXPECT_EQ(settings.c_lflag, read.c_lflag);
    EXPECT_FALSE(port_control::readSettings(file(), &read));
    EXPECT_FALSE(port_control::writeSettings(file(), settings));
}

TEST_F(PortControl, SetsNoRateOfAFile)
{
    EXPECT_GT(0, port_control::setBaudRate(file(), 19200));
}

TEST_F(PortControl, IsToldWhatOnlyRealPortsHave)
{
    int framing = 1;
    int parity = 1;
    for (bool inverted : {false, true})
        EXPECT_FALSE(port_control::switchDirection(terminal(), inverted));
    EXPECT_FALSE(port_control::countErrors(terminal(), &framing, &parity));
    EXPECT_EQ(0, framing);
    EXPECT_EQ(0, parity);
    port_control::askForLowLatency(terminal());
}

/** In the place of a port that knows the request: it succeeds, and the settings are kept. */
template <typename Settings>
std::function<int(void *)> keeps(Settings *settings)
{
    return [settings](void *argument) {
        *settings = *static_cast<Settings *>(argument);
        return 0;
    };
}

/** Such a port tells its settings. */
template <typename Settings>
std::function<int(void *)> tells(const Settings &settings)
{
    return [settings](void *argument) {
        *static_cast<Settings *>(argument) = settings;
        return 0;
    };
}

struct Direction
{
    bool inverted;
    unsigned int before;
    unsigned int after;
};

TEST_F(PortControl, SwitchesTheDirectionAndKeepsTheRest)
{
    const unsigned int sending = SER_RS485_RTS_ON_SEND;
    const unsigned int receiving = SER_RS485_RTS_AFTER_SEND;
    const unsigned int other = SER_RS485_RX_DURING_TX;
    const Direction directions[] = {{false, 0, SER_RS485_ENABLED | sending},
                                    {true, 0, SER_RS485_ENABLED | receiving},
                                    {false, other | receiving, SER_RS485_ENABLED | other | sending},
                                    {true, other | sending, SER_RS485_ENABLED | other | receiving}};
    for (const Direction &direction : directions) {
        serial_rs485 settings = serial_rs485();
        settings.flags = direction.before;
        settings.delay_rts_before_send = 7;
        serial_rs485 kept = serial_rs485();
        portAnswers[TIOCGRS485] = tells(settings);
        portAnswers[TIOCSRS485] = keeps(&kept);
        EXPECT_TRUE(port_control::switchDirection(terminal(), direction.inverted));
        EXPECT_EQ(direction.after, kept.flags);
        EXPECT_EQ(7u, kept.delay_rts_before_send);
        portAnswers.erase(TIOCGRS485);
        EXPECT_TRUE(port_control::switchDirection(terminal(), direction.inverted));
        EXPECT_EQ(direction.after & ~other, kept.flags) << "nothing of a port that does not tell its settings";
        EXPECT_EQ(0u, kept.delay_rts_before_send);
    }
}

TEST_F(PortControl, CountsErrors)
{
    serial_icounter_struct counts = serial_icounter_struct();
    counts.frame = 3;
    counts.parity = 5;
    portAnswers[TIOCGICOUNT] = tells(counts);
    int framing = 0;
    int parity = 0;
    EXPECT_TRUE(port_control::countErrors(terminal(), &framing, &parity));
    EXPECT_EQ(3, framing);
    EXPECT_EQ(5, parity);
}

TEST_F(PortControl, AsksForLowLatencyWhereItIsKnown)
{
    serial_struct settings = serial_struct();
    settings.flags = ASYNC_SPD_HI;
    serial_struct kept = serial_struct();
    portAnswers[TIOCSSERIAL] = keeps(&kept);
    port_control::askForLowLatency(terminal());
    EXPECT_EQ(0, kept.flags) << "a pseudo-terminal does not tell its settings, and keeps them";
    portAnswers[TIOCGSERIAL] = tells(settings);
    port_control::askForLowLatency(terminal());
    EXPECT_EQ(ASYNC_SPD_HI | static_cast<int>(ASYNC_LOW_LATENCY), kept.flags);
}

} // namespace
