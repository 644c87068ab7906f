#include "kit/line/line_timing.h"

#include "support/line_parameters.h"

#include <gtest/gtest.h>

namespace {

using rtu::LineTiming;
using std::chrono::nanoseconds;
using test_line::parameters;

TEST(LineTiming, CountsTheBitsOfACharacter)
{
    EXPECT_EQ(11, parameters(9600, 8, 'E', 1).bitsPerCharacter());
    EXPECT_EQ(11, parameters(9600, 8, 'N', 2).bitsPerCharacter());
    EXPECT_EQ(10, parameters(9600, 8, 'N', 1).bitsPerCharacter());
    EXPECT_EQ(10, parameters(9600, 7, 'O', 1).bitsPerCharacter());
}

struct TimingCase
{
    int baud;
    std::int64_t character; ///< ns
    std::int64_t silence;   ///< ns
};

class Timing : public testing::TestWithParam<TimingCase>
{
};

TEST_P(Timing, FollowsFromTheBaudRate)
{
    const LineTiming timing(parameters(GetParam().baud, 8, 'E', 1));
    EXPECT_EQ(nanoseconds(GetParam().character), timing.characters(1));
    EXPECT_EQ(nanoseconds(100 * GetParam().character), timing.characters(100));
    EXPECT_EQ(nanoseconds(GetParam().silence), timing.silence());
}

INSTANTIATE_TEST_SUITE_P(BaudRates, Timing,
                         testing::Values(TimingCase{0, 0, 0}, TimingCase{1, 11000000000, 38500000000},
                                         TimingCase{1200, 9166666, 32083331}, TimingCase{9600, 1145833, 4010415},
                                         TimingCase{19200, 572916, 2005206}, TimingCase{19201, 572886, 1750000},
                                         TimingCase{38400, 286458, 1750000}, TimingCase{115200, 95486, 1750000}));

TEST(LineTiming, TakesAnotherSilence)
{
    LineTiming timing(parameters(9600, 8, 'N', 1));
    timing.setSilence(std::chrono::milliseconds(7));
    EXPECT_EQ(std::chrono::milliseconds(7), timing.silence());
}

TEST(LineTiming, GapIsLongerThanAnAdaptersLatency)
{
    EXPECT_EQ(std::chrono::milliseconds(50), LineTiming(parameters(115200, 8, 'E', 1)).replyGap()) << "as documented";
}

TEST(LineTiming, GapIsSeveralCharactersOnSlowLines)
{
    const LineTiming timing(parameters(300, 8, 'E', 1));
    EXPECT_EQ(timing.characters(10), timing.replyGap());
    const LineTiming justSlow(parameters(2100, 8, 'E', 1));
    EXPECT_EQ(justSlow.characters(10), justSlow.replyGap());
    EXPECT_EQ(std::chrono::milliseconds(50), LineTiming(parameters(2300, 8, 'E', 1)).replyGap());
}

TEST(LineTiming, IsNamed)
{
    EXPECT_EQ("9600 baud 7O2", rtu::lineName(parameters(9600, 7, 'O', 2)));
    EXPECT_EQ("no pace", rtu::lineName(parameters(0, 8, 'N', 1)));
}

} // namespace
