// A pseudo-terminal as a line: what arrives, what is sent, and how it ends.

#include "kit/line/serial_line.h"

#include "kit/temporary_folder.h"
#include "kit/terminal_pair.h"
#include "support/line_parameters.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

namespace {

using namespace test_line;
using rtu::SteadyClock;
using rtu::TimePoint;

const unsigned char *bytes(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

class SerialLine : public testing::Test
{
protected:
    SerialLine() : line(pair->path(), unpaced()) {}

    void arrive(const std::string &text)
    {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), ::write(pair->far(), text.data(), text.size()));
    }

    /** What is there, or the result when that is not a number of bytes. */
    std::string read(TimePoint deadline, std::size_t room = 100)
    {
        unsigned char out[100];
        const int count = line.read(out, room, deadline);
        if (count > 0)
            return std::string(reinterpret_cast<const char *>(out), static_cast<std::size_t>(count));
        return std::to_string(count);
    }

    TimePoint now() { return line.now(); }

    std::unique_ptr<TerminalPair> pair{new TerminalPair};
    rtu::SerialLine line;
};

const char *const PassedResult = "0";
const char *const LostResult = "-1";
const char *const InterruptedResult = "-2";

TEST_F(SerialLine, TakesWhatHasArrived)
{
    line.open();
    arrive("abc");
    EXPECT_EQ("ab", read(now() + Never, 2));
    EXPECT_EQ("c", read(now() + Never, 2));
    EXPECT_EQ(PassedResult, read(now()));
    EXPECT_EQ(PassedResult, read(now() + std::chrono::milliseconds(2)));
    arrive("d");
    EXPECT_EQ("d", read(now() + Never));
}

TEST_F(SerialLine, WaitsForWhatWillArrive)
{
    line.open();
    EXPECT_EQ(PassedResult, read(now())); // so that the next read begins with waiting
    std::thread slave([this] { arrive("late"); });
    EXPECT_EQ("late", read(now() + Never));
    slave.join();
}

TEST_F(SerialLine, SendsEverythingHoweverFullTheWayIs)
{
    line.open();
    const std::string much(300000, 'x');
    std::size_t heard = 0;
    std::thread slave([&] {
        char out[4096];
        while (heard < much.size()) {
            const ssize_t count = ::read(pair->far(), out, sizeof(out));
            ASSERT_GT(count, 0);
            heard += static_cast<std::size_t>(count);
        }
    });
    EXPECT_TRUE(line.write(bytes(much), much.size()));
    slave.join();
    EXPECT_EQ(much.size(), heard);
}

TEST_F(SerialLine, GivesAFullWayUpWhenInterrupted)
{
    line.open();
    line.interrupt();
    const std::string much(300000, 'x');
    EXPECT_FALSE(line.write(bytes(much), much.size()));
}

TEST_F(SerialLine, DropsWhatHasArrived)
{
    line.open();
    arrive(std::string(1000, 'x'));
    std::size_t dropped = 0;
    while (dropped < 1000) // a pseudo-terminal hands its bytes over by and by
        dropped += line.discardInput();
    EXPECT_EQ(1000u, dropped);
    EXPECT_EQ(0u, line.discardInput());
}

TEST_F(SerialLine, IsLostWithItsFarEnd)
{
    // By a name of its own: whoever opens a pseudo-terminal next may get the pair's.
    const TemporaryFolder folder;
    const std::string name = folder.path() + "/port";
    ASSERT_EQ(0, ::symlink(pair->path().c_str(), name.c_str()));
    rtu::SerialLine named(name, unpaced());
    named.open();
    ::unlink(name.c_str());
    pair->unplug();
    unsigned char out[1];
    EXPECT_EQ(rtu::LineLost, named.read(out, sizeof(out), now() + Never));
    EXPECT_EQ(rtu::LineLost, named.read(out, sizeof(out), now() + Never)) << "closed by now";
    EXPECT_FALSE(named.write(bytes("x"), 1));
    EXPECT_FALSE(named.ensureOpen());
    EXPECT_EQ("cannot open " + name + ": No such file or directory", named.notice());
}

TEST_F(SerialLine, NoticesTheLossWhenSending)
{
    line.open();
    pair->unplug();
    EXPECT_FALSE(line.write(bytes("x"), 1));
}

TEST_F(SerialLine, IsOpenedAgain)
{
    EXPECT_TRUE(line.ensureOpen());
    EXPECT_TRUE(line.ensureOpen());
    line.close();
    EXPECT_EQ(LostResult, read(now()));
    EXPECT_TRUE(line.ensureOpen());
    arrive("x");
    EXPECT_EQ("x", read(now() + Never));
}

TEST_F(SerialLine, IsInterruptedWhateverArrives)
{
    line.open();
    arrive("x");
    line.interrupt();
    EXPECT_EQ(InterruptedResult, read(now() + Never));
    EXPECT_EQ(0u, line.discardInput());
    line.sleepUntil(now() + Never);
    line.clearInterrupt();
    EXPECT_EQ("x", read(now() + Never));
}

TEST_F(SerialLine, IsInterruptedWhileItWaits)
{
    line.open();
    EXPECT_EQ(PassedResult, read(now()));
    std::thread other([this] { line.interrupt(); });
    EXPECT_EQ(InterruptedResult, read(now() + Never));
    other.join();
}

TEST_F(SerialLine, IsForOneProgram)
{
    line.open();
    rtu::SerialLine second(pair->path(), unpaced());
    EXPECT_EQ(pair->path() + " is in use by another program", failureOf([&] { second.open(); }));
}

TEST_F(SerialLine, TellsWhatAPseudoTerminalHasNot)
{
    rtu::LineParameters parameters;
    parameters.rs485 = true;
    rtu::SerialLine other(pair->path(), parameters);
    other.open();
    EXPECT_EQ(pair->path() + " is a pseudo-terminal and has no 8E1: using 8N2", other.notice());
    EXPECT_EQ('N', other.parameters().parity);
    EXPECT_EQ(2, other.parameters().stopBits);
    EXPECT_EQ(19200, other.parameters().baud);
    EXPECT_EQ(pair->path(), other.name());
}

TEST_F(SerialLine, CountsNoErrorsOnAPseudoTerminal)
{
    line.open();
    EXPECT_FALSE(line.errors().known);
    EXPECT_EQ(0, line.errors().framing);
}

TEST(SerialLineOnAFile, IsRefused)
{
    rtu::SerialLine line("/dev/null", unpaced());
    EXPECT_EQ("/dev/null is not a serial port: Inappropriate ioctl for device", failureOf([&] { line.open(); }));
}

} // namespace
