/**
 * Hosts that keep to the guide hear nothing.
 *
 * MODBUS_SEED and MODBUS_STEPS in the environment choose another or a longer run.
 */
#include "checker/legal_host.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using checked::CheckedHost;
using checked::LegalHost;

const int TimeOut = 300; // milliseconds

TEST(LegalHosts, HearNothing)
{
    const std::uint32_t firstSeed = static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 27182818));
    const int steps = static_cast<int>(support::environmentNumber("MODBUS_STEPS", 100000));
    const int stepsPerHost = 5000;
    std::printf("seed %u, %d steps\n", firstSeed, steps);
    LegalHost::reach = LegalHost::Reach();
    for (int done = 0; done < steps && !HasFailure(); done += stepsPerHost) {
        LegalHost host(firstSeed + static_cast<std::uint32_t>(done / stepsPerHost));
        for (int i = 0; i < stepsPerHost && !HasFailure(); ++i) {
            host.step();
            for (const checked::Heard &heard : checked::takeFindings())
                ADD_FAILURE() << "host " << done / stepsPerHost << ", step " << i << ": " << heard.text;
        }
    }
    const LegalHost::Reach &reach = LegalHost::reach;
    std::printf("replies %d, dropped %d, time-outs %d, given up %d, writes %d, one-off reads %d, transfers %d, "
                "reports %d\n",
                reach.replies, reach.dropped, reach.timeOuts, reach.givenUp, reach.writes, reach.oneOffReads,
                reach.transfers, reach.reports);
    if (steps < 100000)
        return;
    // Hosts that do nothing hear nothing either.
    EXPECT_GT(reach.replies, steps / 4);
    EXPECT_GT(reach.dropped, steps / 500);
    EXPECT_GT(reach.timeOuts, steps / 200);
    EXPECT_GT(reach.givenUp, steps / 2000);
    EXPECT_GT(reach.transfers, steps / 1000);
    EXPECT_GT(reach.reports, steps / 20);
}

TEST(LegalHosts, MayAskAnotherStationAtOnceAfterATimeOut)
{
    CheckedHost host;
    host.plan(checked::Keys() << checked::key(1, "4x", 0, 4) << checked::key(2, "4x", 0, 4));
    for (int attempt = 1; attempt <= 3; ++attempt) {
        checked::pass(TimeOut); // what comes late is dropped
        EXPECT_EQ(1, host.ask().frame[0]);
        checked::pass(TimeOut);
        host.deal(QByteArray());
    }
    EXPECT_EQ(1, host.exchange());
    for (const checked::Heard &heard : checked::takeFindings())
        ADD_FAILURE() << heard.text;
}

} // namespace
