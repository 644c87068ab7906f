// What the kernel is asked to do with a port, tried on a pseudo-terminal, which
// refuses what only real ports have.

#include "kit/line/port_control.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace rtu;
using test_line::TerminalPair;

int openTerminal(const std::string &path)
{
    return ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

class PortControl : public testing::Test
{
protected:
    PortControl() : m_near(openTerminal(m_pair.path())), m_file(::open("/dev/null", O_RDWR | O_CLOEXEC)) {}

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

TEST_F(PortControl, SetsAnyRate)
{
    for (int baud : {300, 19200, 76800, 1234567})
        EXPECT_EQ(baud, port_control::setBaudRate(terminal(), baud));
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

} // namespace
