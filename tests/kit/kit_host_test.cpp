// The host on the kit that the documents show, run as a program of its own.

#include "plant/plant.h"
#include "support/driver_file.h"
#include "support/run_program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

using plant::Table;

class KitHost : public testing::Test
{
protected:
    void SetUp() override
    {
        boiler.define(1, Table::HoldingRegisters, 99, 1, 200);
        meters.define(3, Table::InputRegisters, 0, 2);
        meters.pokeDouble(3, Table::InputRegisters, 0, 0x40200000);
        std::string error;
        ASSERT_TRUE(boiler.start(&error)) << error;
        ASSERT_TRUE(meters.start(&error)) << error;
    }

    support::Outcome runHost()
    {
        return support::run(std::string(KIT_HOST_PROGRAM) + " " + boiler.devicePath() + " " + meters.devicePath() + " "
                            + support::driverFile());
    }

    plant::Plant boiler;
    plant::Plant meters;
};

TEST_F(KitHost, PollsTwoLinesWritesAndSaves)
{
    const support::Outcome outcome = runHost();
    EXPECT_EQ(0, outcome.status) << outcome.output;
    EXPECT_NE(std::string::npos, outcome.output.find("-> 21.5 (")) << outcome.output;
    EXPECT_NE(std::string::npos, outcome.output.find("meters energy: 0 -> 2.5 (good)")) << outcome.output;
    EXPECT_NE(std::string::npos, outcome.output.find("recipe: 21.5")) << outcome.output;
    EXPECT_EQ(215, boiler.peek(1, Table::HoldingRegisters, 99));
}

TEST_F(KitHost, SaysWhatBecameOfAWriteThatFailed)
{
    boiler.makeHole(1, Table::HoldingRegisters, 99, 1);
    const support::Outcome outcome = runHost();
    EXPECT_NE(std::string::npos, outcome.output.find("not written: the slave answered with exception 2"))
        << outcome.output;
}

TEST_F(KitHost, TakesSixtyLines)
{
    std::ifstream source(KIT_HOST_SOURCE);
    std::string line;
    int lines = 0;
    while (std::getline(source, line))
        ++lines;
    EXPECT_GT(lines, 30);
    EXPECT_LE(lines, 60);
}

} // namespace
