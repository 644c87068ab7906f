// A write is said to stand still where those behind it wait for good, and nowhere else.

#include "checker/checked_host.h"

#include <gtest/gtest.h>

namespace {

using checked::CheckedHost;

const int Behind = 200; // register of the write behind

/** Far more frames than the two writes have, their repetitions included. */
const int EnoughFrames = 40;

bool goesOut(CheckedHost &host, int address)
{
    for (int i = 0; i < EnoughFrames; ++i) {
        const FRAME_PRO frame = host.ask();
        if (frame.frameLen == 0)
            return false;
        if (frame.frame[1] == 6 && frame.frame[3] == address)
            return true;
        host.deal(CheckedHost::answerTo(frame));
    }
    return false;
}

struct Write
{
    const char *property;
    int station;
    const char *regType;
};

void PrintTo(const Write &write, std::ostream *out)
{
    *out << write.property << ", " << write.station << ":" << write.regType;
}

class EachWrite : public testing::TestWithParam<Write>
{
};

TEST_P(EachWrite, IsSaidToStandStillWhereItDoes)
{
    const Write &write = GetParam();
    for (int count = -9; count <= 3; ++count) {
        CheckedHost host;
        host.init(write.property);
        checked::takeNames();
        host.write(write.station, write.regType, 0, count, std::vector<unsigned char>(6, 0));
        const bool said = checked::takeNames().find("write-stands-still") != std::string::npos;
        host.write(1, "4x", Behind, 1, {1, 0});
        EXPECT_EQ(said, !goesOut(host, Behind)) << count;
    }
}

std::vector<Write> writes()
{
    std::vector<Write> all;
    for (const char *property : {"1#0#0#3#4", "1#0#0#3#0", "1#0#0#3#-2"}) {
        for (int station = 0; station <= 1; ++station) {
            for (const char *regType : {"0x", "4x", "4x_bit", "4x_double", "3x"})
                all.push_back({property, station, regType});
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(All, EachWrite, testing::ValuesIn(writes()));

} // namespace
