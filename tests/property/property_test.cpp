/**
 * Random hosts on a faulty line: whatever they call and whatever comes back, the
 * rules of the poll loop and of the cache hold.
 *
 * MODBUS_SEED and MODBUS_STEPS in the environment choose another or a longer
 * run; the seed of a failing host reproduces it alone with MODBUS_STEPS=1.
 */
#include "property/random_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

namespace {

struct Reach
{
    long long transactions = 0;
    long long cyclic = 0;
    long long writes = 0;
    long long conditions = 0;
    long long resends = 0;
    long long givenUp = 0;
    long long transfers = 0;
    long long failedTransfers = 0;
    long long confirmedWrites = 0;
    long long rolledBack = 0;
    long long readOuts = 0;
    long long recipeWords = 0;
    long long slaveElements = 0;
    int longestBurst = 0;
    int longestWriteQueue = 0;
    int longestConditionQueue = 0;
    long long virtualSeconds = 0;
};

void add(Reach &reach, const property::RandomHost &host)
{
    const property::PollRules &rules = host.rules;
    for (int count : rules.transactions)
        reach.transactions += count;
    reach.writes += rules.transactions[WriteSent];
    reach.conditions += rules.transactions[ConditionReadSent];
    reach.cyclic += rules.transactions[CyclicReadSent];
    reach.resends += rules.resends;
    reach.givenUp += rules.givenUp;
    reach.transfers += rules.transfers;
    reach.failedTransfers += rules.failedTransfers;
    reach.longestBurst = std::max(reach.longestBurst, rules.longestBurst);
    reach.longestWriteQueue = std::max(reach.longestWriteQueue, rules.longestWriteQueue);
    reach.longestConditionQueue = std::max(reach.longestConditionQueue, rules.longestConditionQueue);
    reach.confirmedWrites += host.shadow.confirmedWrites;
    reach.rolledBack += host.shadow.rolledBack;
    reach.readOuts += host.shadow.comparedReadOuts;
    reach.recipeWords += host.recipeWordsCompared;
    reach.slaveElements += host.slaveElementsCompared;
    reach.virtualSeconds += host.line.now() / 1000000;
}

void print(const Reach &reach)
{
    std::printf("transactions %lld (cyclic %lld, writes %lld, condition reads %lld), resends %lld, given up %lld\n",
                reach.transactions, reach.cyclic, reach.writes, reach.conditions, reach.resends, reach.givenUp);
    std::printf("block transfers %lld (failed %lld), longest burst %d, %lld virtual seconds\n", reach.transfers,
                reach.failedTransfers, reach.longestBurst, reach.virtualSeconds);
    std::printf("longest queues: %d writes, %d condition reads\n", reach.longestWriteQueue,
                reach.longestConditionQueue);
    std::printf("compared: acknowledged %lld, in slaves %lld, rolled back %lld, read out %lld, recipe words %lld\n",
                reach.confirmedWrites, reach.slaveElements, reach.rolledBack, reach.readOuts, reach.recipeWords);
}

TEST(DriverProperties, HoldForRandomHostsOnAFaultyLine)
{
    const std::uint32_t firstSeed = static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 31415926));
    const int steps = static_cast<int>(support::environmentNumber("MODBUS_STEPS", 200000));
    const int stepsPerHost = 10000;
    std::printf("seed %u, %d steps\n", firstSeed, steps);
    Reach reach;
    for (int done = 0; done < steps && !HasFailure(); done += stepsPerHost) {
        const std::uint32_t seed = firstSeed + static_cast<std::uint32_t>(done / stepsPerHost);
        property::RandomHost host(seed);
        for (int i = 0; i < stepsPerHost; ++i) {
            host.step();
            if (!host.findings.any())
                continue;
            ADD_FAILURE() << "seed " << seed << ", step " << i << ": " << host.findings.first << "\nlast calls:\n"
                          << host.tail();
            break;
        }
        EXPECT_EQ(host.line.malformedRequests(), 0) << "seed " << seed;
        add(reach, host);
    }
    print(reach);
    if (steps < 100000 || HasFailure())
        return;
    // Rules that are never put to the test hold by themselves.
    EXPECT_GT(reach.cyclic, steps / 20);
    EXPECT_GT(reach.writes, steps / 50);
    EXPECT_GT(reach.conditions, steps / 200);
    EXPECT_GT(reach.resends, steps / 200);
    EXPECT_GT(reach.givenUp, steps / 400);
    EXPECT_GT(reach.transfers, 50);
    EXPECT_GT(reach.failedTransfers, 10);
    EXPECT_EQ(reach.longestBurst, 10);
    EXPECT_EQ(reach.longestWriteQueue, 513);
    EXPECT_EQ(reach.longestConditionQueue, 513);
    EXPECT_GT(reach.confirmedWrites, 1000);
    EXPECT_GT(reach.slaveElements, 1000);
    EXPECT_GT(reach.rolledBack, 100);
    EXPECT_GT(reach.readOuts, 1000);
    EXPECT_GT(reach.recipeWords, 500);
}

} // namespace
