// Opening and setting a serial port whose kernel side is scripted.

#include "kit/line/serial_line.h"
#include "kit/line/serial_port.h"
#include "kit/scripted_port.h"
#include "kit/terminal_pair.h"
#include "support/line_parameters.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <functional>

namespace {

using namespace test_line;
using rtu::LineParameters;

class SerialPort : public testing::Test
{
protected:
    SerialPort() { scriptedPort = ScriptedPort(); }

    std::string refusal(const LineParameters &wanted)
    {
        return failureOf([&] { port.open(pair.path(), wanted); });
    }

    TerminalPair pair;
    rtu::SerialPort port;
};

struct Characters
{
    LineParameters wanted;
    tcflag_t flags; ///< of c_cflag
    bool checksParity;
};

class SerialPortCharacters : public SerialPort, public testing::WithParamInterface<Characters>
{
};

TEST_P(SerialPortCharacters, AreSet)
{
    scriptedPort.settings.c_cflag = CRTSCTS | PARODD | CSTOPB | CS5;
    scriptedPort.settings.c_iflag = IXON | IXOFF | IXANY | ICRNL | INPCK | IGNPAR;
    scriptedPort.settings.c_lflag = ICANON | ECHO;
    port.open(pair.path(), GetParam().wanted);
    const termios &set = scriptedPort.settings;
    EXPECT_EQ(GetParam().flags | CLOCAL | CREAD, set.c_cflag);
    EXPECT_EQ(GetParam().checksParity ? static_cast<tcflag_t>(INPCK) : 0u, set.c_iflag);
    EXPECT_EQ(0u, set.c_lflag);
    EXPECT_EQ(0u, set.c_oflag);
    const int baud = GetParam().wanted.baud;
    EXPECT_EQ(baud == 0 ? ScriptedPort::NoRate : baud, scriptedPort.askedBaud);
    EXPECT_EQ(GetParam().wanted.parity, port.parameters().parity);
    EXPECT_EQ("", port.notice());
}

INSTANTIATE_TEST_SUITE_P(All, SerialPortCharacters,
                         testing::Values(Characters{parameters(19200, 8, 'E', 1), CS8 | PARENB, true},
                                         Characters{parameters(9600, 8, 'O', 1), CS8 | PARENB | PARODD, true},
                                         Characters{parameters(76800, 8, 'N', 2), CS8 | CSTOPB, false},
                                         Characters{parameters(1, 8, 'N', 1), CS8, false},
                                         Characters{parameters(0, 7, 'N', 1), CS7, false}));

TEST_F(SerialPort, IsForOneProgramUntilItIsClosed)
{
    port.open(pair.path(), LineParameters());
    EXPECT_TRUE(port.isOpen());
    EXPECT_TRUE(scriptedPort.exclusive);
    EXPECT_TRUE(scriptedPort.lowLatency);
    port.close();
    EXPECT_FALSE(port.isOpen());
    EXPECT_FALSE(scriptedPort.exclusive);
    port.close();
}

TEST_F(SerialPort, SwitchesTheDirectionOnRequest)
{
    port.open(pair.path(), LineParameters());
    EXPECT_FALSE(scriptedPort.sendsDirection);
    LineParameters twoWire;
    twoWire.rs485 = true;
    port.open(pair.path(), twoWire);
    EXPECT_TRUE(scriptedPort.sendsDirection);
    EXPECT_FALSE(scriptedPort.invertsDirection);
    twoWire.rtsInverted = true;
    port.open(pair.path(), twoWire);
    EXPECT_TRUE(scriptedPort.invertsDirection);
}

struct Refusal
{
    std::function<void(ScriptedPort &)> script;
    const char *words;
};

class SerialPortRefusal : public SerialPort, public testing::WithParamInterface<Refusal>
{
};

TEST_P(SerialPortRefusal, IsNamed)
{
    GetParam().script(scriptedPort);
    LineParameters wanted;
    wanted.rs485 = true;
    EXPECT_EQ(pair.path() + GetParam().words, refusal(wanted));
    EXPECT_FALSE(port.isOpen());
}

INSTANTIATE_TEST_SUITE_P(
    All, SerialPortRefusal,
    testing::Values(
        Refusal{[](ScriptedPort &port) { port.openError = EBUSY; }, " is in use by another program"},
        Refusal{[](ScriptedPort &port) { port.lockError = EWOULDBLOCK; }, " is in use by another program"},
        Refusal{[](ScriptedPort &port) { port.refusesSettings = true; }, " does not take 8E1: Input/output error"},
        Refusal{[](ScriptedPort &port) { port.missingFlags = PARENB; }, " does not take 8E1: Invalid argument"},
        Refusal{[](ScriptedPort &port) { port.readsOnce = true; }, " does not take 8E1: Invalid argument"},
        Refusal{[](ScriptedPort &port) { port.baudRate = -1; }, " does not take 19200 baud: Invalid argument"},
        Refusal{[](ScriptedPort &port) { port.baudRate = 18800; }, " does not take 19200 baud: it would use 18800"},
        Refusal{[](ScriptedPort &port) { port.hasDirectionControl = false; },
                " does not take the direction control of RS-485: Inappropriate ioctl for device"}));

TEST_F(SerialPort, TakesARateThatIsNoMoreThanTwoPerCentOff)
{
    for (const int baud : {18816, 19200, 19584}) {
        scriptedPort.baudRate = baud;
        EXPECT_EQ("nothing thrown", refusal(LineParameters())) << baud;
    }
    for (const int baud : {18815, 19585, 0}) {
        scriptedPort.baudRate = baud;
        EXPECT_EQ(pair.path() + " does not take 19200 baud: it would use " + std::to_string(baud),
                  refusal(LineParameters()));
    }
}

TEST_F(SerialPort, IsOpenedWhereTheSystemHasNoLocks)
{
    scriptedPort.lockError = ENOLCK;
    EXPECT_EQ("nothing thrown", refusal(LineParameters()));
}

TEST_F(SerialPort, OfAPseudoTerminalHasPlainBytesWhateverIsWanted)
{
    scriptedPort.pseudoTerminal = true;
    EXPECT_EQ("nothing thrown", refusal(parameters(19200, 7, 'N', 1)));
    EXPECT_EQ(pair.path() + " is a pseudo-terminal and has no 7N1: using 8N2", port.notice());
    EXPECT_EQ(8, port.parameters().dataBits);
    EXPECT_FALSE(scriptedPort.exclusive) << "it would stay so when this program is killed";
    EXPECT_FALSE(scriptedPort.lowLatency);
    EXPECT_EQ(ScriptedPort::NoRate, scriptedPort.askedBaud);
    EXPECT_EQ("nothing thrown", refusal(parameters(19200, 8, 'N', 1)));
    EXPECT_EQ("", port.notice());
    EXPECT_EQ(1, port.parameters().stopBits) << "as good as any";
}

TEST_F(SerialPort, CountsErrorsOfItsLine)
{
    scriptedPort.framingErrors = 3;
    scriptedPort.parityErrors = 4;
    rtu::SerialLine line(pair.path(), parameters(9600, 7, 'O', 2));
    EXPECT_EQ(9600, line.parameters().baud) << "not open yet";
    EXPECT_EQ('O', line.parameters().parity);
    line.open();
    EXPECT_TRUE(line.errors().known);
    EXPECT_EQ(3, line.errors().framing);
    EXPECT_EQ(4, line.errors().parity);
    scriptedPort.countsErrors = false;
    EXPECT_FALSE(line.errors().known);
}

TEST_F(SerialPort, ThatIsMissingIsNamed)
{
    EXPECT_EQ("cannot open /nowhere/port: No such file or directory",
              failureOf([&] { port.open("/nowhere/port", LineParameters()); }));
}

TEST_F(SerialPort, ThatIsInUseIsLeftToTheProgramThatHasIt)
{
    const rtu::Descriptor holder(::open(pair.path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    const int on = 1;
    ASSERT_EQ(0, ::ioctl(pair.far(), TIOCPKT, &on)); // the far end is told of what is flushed
    scriptedPort.exclusive = true;
    scriptedPort.lockError = EWOULDBLOCK;
    EXPECT_EQ(pair.path() + " is in use by another program", refusal(LineParameters()));
    EXPECT_TRUE(scriptedPort.exclusive);
    pollfd far = {pair.far(), POLLIN | POLLPRI, 0};
    EXPECT_EQ(0, ::poll(&far, 1, 0)) << "what that program is sending has been dropped";
}

TEST_F(SerialPort, OpensAgainAfterARefusal)
{
    scriptedPort.lockError = EWOULDBLOCK;
    EXPECT_NE("nothing thrown", refusal(LineParameters()));
    scriptedPort.lockError = 0;
    EXPECT_EQ("nothing thrown", refusal(LineParameters()));
}

} // namespace
