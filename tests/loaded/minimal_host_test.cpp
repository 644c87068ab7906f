// The host that the documents show, run as a program of its own.

#include "plant/plant.h"
#include "support/driver_file.h"
#include "support/run_program.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using support::Outcome;
using support::run;

std::string minimalHost(const std::string &library, const std::string &port)
{
    return std::string(MINIMAL_HOST_PROGRAM) + " " + library + " " + port + " 3";
}

class MinimalHost : public ::testing::Test
{
protected:
    void SetUp() override
    {
        plant.addStation(1);
        plant.define(1, plant::Table::HoldingRegisters, 0, 1, 1234);
        std::string error;
        ASSERT_TRUE(plant.start(&error)) << error;
    }

    plant::Plant plant;
};

TEST_F(MinimalHost, PollsARegister)
{
    const Outcome outcome = run(minimalHost(support::driverFile(), plant.devicePath()));
    EXPECT_EQ(outcome.output, "station 1 4x1 = 1234\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(MinimalHost, TellsThatASlaveIsSilent)
{
    plant.setStationOn(1, false);
    const Outcome outcome = run(minimalHost(support::driverFile(), plant.devicePath()));
    EXPECT_EQ(outcome.output.rfind("error R,", 0), 0u) << outcome.output;
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(MinimalHost, RefusesToRunWithoutADriver)
{
    const Outcome outcome = run(minimalHost("/nonexistent", plant.devicePath()));
    EXPECT_NE(outcome.output.find("usage"), std::string::npos);
    EXPECT_EQ(outcome.status, 2);
}

} // namespace
