#include "listen/heard_traffic.h"
#include "listen/random_traffic.h"

#include <gtest/gtest.h>

namespace {

using namespace listen_test;

const int TransactionsAtATime = 40;

std::string allGarbage(const HeardTraffic &heard)
{
    const std::string word = "garbage ";
    std::string all;
    for (const std::string &text : heard.told) {
        if (text.compare(0, word.size(), word) == 0)
            all += text.substr(word.size());
    }
    return all;
}

std::vector<std::string> toldTransactions(const HeardTraffic &heard)
{
    std::vector<std::string> result;
    for (const std::string &text : heard.told) {
        if (text.compare(0, 7, "garbage") != 0)
            result.push_back(text);
    }
    return result;
}

TEST(TrafficProperties, EverythingThatCanBeKnownIsRight)
{
    const unsigned long seed = support::environmentNumber("MODBUS_SEED", 13);
    const unsigned long steps = support::environmentNumber("MODBUS_STEPS", 20000);
    support::Random random(static_cast<std::uint32_t>(seed));
    std::size_t judged = 0;
    int leftOut = 0;
    std::printf("seed %lu, %lu transactions\n", seed, steps);
    while (judged < steps) {
        const Traffic traffic = randomTraffic(random, TransactionsAtATime);
        if (!traffic.knowable) {
            ++leftOut;
            continue;
        }
        HeardTraffic heard;
        rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
        for (const TimedLump &lump : traffic.lumps)
            reader.take(lump.bytes.data(), lump.bytes.size(), lump.arrived);
        reader.finish();
        ASSERT_EQ(traffic.transactions, toldTransactions(heard)) << "after " << judged << " transactions";
        ASSERT_EQ(hexOf(traffic.garbage), allGarbage(heard)) << "after " << judged << " transactions";
        judged += traffic.transactions.size();
    }
    EXPECT_LT(leftOut, static_cast<int>(judged / TransactionsAtATime)) << "most traffic must be of use";
}

} // namespace
