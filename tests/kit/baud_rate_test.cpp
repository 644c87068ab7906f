// Rates without a name, asked for at a pseudo-terminal. The kernel's header of them cannot be
// included beside the C library's, and so these tests have a file of their own.

#include "kit/port_requests.h"

#include <gtest/gtest.h>

#include <asm/ioctls.h>
#include <asm/termbits.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace rtu {

namespace port_control {

int setBaudRate(int descriptor, int baud); // its header has the other one

} // namespace port_control

} // namespace rtu

namespace {

using rtu::port_control::setBaudRate;

class BaudRate : public testing::Test
{
protected:
    BaudRate() : terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) { EXPECT_LE(0, terminal); }

    ~BaudRate() override
    {
        test_line::portAnswers.clear();
        ::close(terminal);
    }

    const int terminal;
};

TEST_F(BaudRate, IsAnyOne)
{
    for (const int baud : {300, 19200, 76800, 1234567})
        EXPECT_EQ(baud, setBaudRate(terminal, baud));
}

#ifdef TCGETS2

TEST_F(BaudRate, IsThatOfReceivingToo)
{
    termios2 settings;
    ASSERT_EQ(0, ::ioctl(terminal, TCGETS2, &settings));
    settings.c_cflag |= BOTHER << IBSHIFT; // as a program leaves it that receives at a rate of its own
    settings.c_ispeed = 1200;
    ASSERT_EQ(0, ::ioctl(terminal, TCSETS2, &settings));
    EXPECT_EQ(9600, setBaudRate(terminal, 9600));
    ASSERT_EQ(0, ::ioctl(terminal, TCGETS2, &settings));
    EXPECT_EQ(9600u, settings.c_ispeed);
}

TEST_F(BaudRate, IsRefusedWhereItCannotBeReadOrWritten)
{
    for (const unsigned long request : {TCGETS2, TCSETS2}) {
        test_line::portAnswers.clear();
        test_line::portAnswers[request] = [](void *) {
            errno = EIO;
            return -1;
        };
        EXPECT_GT(0, setBaudRate(terminal, 9600)) << request;
        EXPECT_EQ(EIO, errno);
    }
}

TEST_F(BaudRate, IsRefusedWhereThePortDoesNotSayWhatItMadeOfIt)
{
    int looks = 0;
    test_line::portAnswers[TCGETS2] = [&looks](void *) { return ++looks == 1 ? 0 : -1; };
    EXPECT_GT(0, setBaudRate(terminal, 9600));
    EXPECT_EQ(2, looks);
}

#endif

} // namespace
