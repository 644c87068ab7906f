// What all ports have in common, on one that moves as many bytes at a time as the test says.

#include "kit/line/port_line.h"
#include "kit/system_waits.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

namespace {

using namespace test_line;
using rtu::Duration;
using rtu::SteadyClock;
using rtu::TimePoint;

/** It has an end of a pipe that is readable, and full. */
class PiecePort : public rtu::PortLine
{
public:
    PiecePort() : PortLine("a port")
    {
        int ends[2];
        EXPECT_EQ(0, ::pipe(ends));
        m_end.reset(ends[0]);
        m_far.reset(ends[1]);
        EXPECT_EQ(1, ::write(ends[1], "x", 1));
        number = ends[0];
    }

    void open() override {}
    void close() override { number = -1; }
    bool ensureOpen() override { return number >= 0; }

    int number;
    std::size_t piece = 1; ///< most bytes at a time; 0: none, as the result and the error say
    ssize_t result = -1;
    int error = EAGAIN;
    std::string sent;

    std::string readUpTo(std::size_t room)
    {
        unsigned char bytes[10];
        const int count = read(bytes, room, now() + Never);
        return std::string(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(std::max(count, 0)));
    }

    bool send(const std::string &text)
    {
        return write(reinterpret_cast<const unsigned char *>(text.data()), text.size());
    }

protected:
    int descriptor() const override { return number; }

    ssize_t put(const unsigned char *bytes, std::size_t size) override
    {
        errno = error;
        const std::size_t count = std::min(size, piece);
        sent.append(reinterpret_cast<const char *>(bytes), count);
        return piece > 0 ? static_cast<ssize_t>(count) : result;
    }

    ssize_t get(unsigned char *out, std::size_t room) override
    {
        errno = error;
        const std::size_t count = std::min(room, piece);
        std::fill_n(out, count, static_cast<unsigned char>('y'));
        return piece > 0 ? static_cast<ssize_t>(count) : result;
    }

private:
    rtu::Descriptor m_end;
    rtu::Descriptor m_far;
};

class PortLine : public testing::Test
{
protected:
    PortLine() { systemWaits = SystemWaits(); }

    PiecePort port;
};

TEST_F(PortLine, SendsEveryPiece)
{
    EXPECT_TRUE(port.send("abc"));
    EXPECT_EQ("abc", port.sent);
    EXPECT_TRUE(systemWaits.awaits.empty());
}

TEST_F(PortLine, MayHaveTheFirstDescriptor)
{
    port.number = 0;
    EXPECT_TRUE(port.send("a"));
    EXPECT_EQ("y", port.readUpTo(1));
}

TEST_F(PortLine, ThatTakesNothingIsLost)
{
    port.piece = 0;
    port.result = 0;
    EXPECT_FALSE(port.send("abc"));
    EXPECT_TRUE(systemWaits.awaits.empty()) << "it is not full";
    EXPECT_FALSE(port.ensureOpen());
}

TEST_F(PortLine, ThatBringsNothingIsLost)
{
    port.piece = 0;
    port.result = 0;
    unsigned char byte;
    EXPECT_EQ(rtu::LineLost, port.read(&byte, 1, port.now() + Never));
    EXPECT_FALSE(port.ensureOpen());
}

TEST_F(PortLine, ThatStaysFullIsLostAfterFiveSeconds)
{
    port.piece = 0;
    const TimePoint before = SteadyClock::now();
    EXPECT_FALSE(port.send("abc"));
    ASSERT_EQ(1u, systemWaits.awaits.size());
    const timespec &asked = systemWaits.awaits[0].time;
    const Duration time = std::chrono::seconds(asked.tv_sec) + std::chrono::nanoseconds(asked.tv_nsec);
    EXPECT_GE(std::chrono::seconds(5), time);
    EXPECT_LE(std::chrono::seconds(5) - (systemWaits.awaits[0].asked - before), time);
    EXPECT_FALSE(port.ensureOpen());
}

TEST_F(PortLine, DropsSixtyFourKilobytesAtATime)
{
    for (const std::size_t piece : {1u, 1000u}) {
        port.piece = piece;
        EXPECT_EQ(65536u, port.discardInput()) << piece;
    }
}

TEST_F(PortLine, WaitsWhereTheLastLookTookAllThereWas)
{
    port.piece = 2;
    EXPECT_EQ("yy", port.readUpTo(2));
    EXPECT_EQ("yy", port.readUpTo(3));
    EXPECT_EQ(0u, systemWaits.awaits.size()) << "there may have been more each time";
    EXPECT_EQ("yy", port.readUpTo(3));
    EXPECT_EQ(1u, systemWaits.awaits.size());
    port.sleepUntil(port.now());
    EXPECT_EQ("yy", port.readUpTo(3));
    EXPECT_EQ(1u, systemWaits.awaits.size()) << "something may have come while it slept";
}

TEST_F(PortLine, SleepsUntilItIsInterrupted)
{
    systemWaits.sleeping = [this] { port.interrupt(); };
    port.sleepUntil(port.now() + Never);
    EXPECT_EQ(1u, systemWaits.sleeps.size());
}

} // namespace
