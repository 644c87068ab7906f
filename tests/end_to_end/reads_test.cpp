// All eight register types read from real slaves: what the driver shows is what
// the slaves hold.

#include "end_to_end_test.h"

namespace {

using Values = std::vector<std::int64_t>;

class Reads : public EndToEnd
{
};

ON_BOTH_SLAVES(Reads);

struct ReadCase
{
    const char *type;
    int address;
    int count;
    const char *table; ///< of the slave
    int tableAddress;
    std::vector<int> held; ///< from there on
    std::vector<std::int64_t> shown;
    int function;
};

const std::vector<ReadCase> &readCases()
{
    static const std::vector<ReadCase> cases = {
        {"0x", 3, 11, "0x", 3, {1, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1}, {1, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1}, 1},
        {"1x", 0, 3, "1x", 0, {1, 1, 0}, {1, 1, 0}, 2},
        {"3x", 100, 3, "3x", 100, {0x1234, 0xFFFF, 0}, {0x1234, 0xFFFF, 0}, 4},
        {"4x", 65533, 3, "4x", 65533, {0x8001, 7, 0xABCD}, {0x8001, 7, 0xABCD}, 3},
        {"3x_bit", 20 * 16 + 14, 4, "3x", 20, {0x4000, 0x0002}, {1, 0, 0, 1}, 4},
        {"4x_bit", 30 * 16 + 5, 1, "4x", 30, {0x0020}, {1}, 3},
        {"3x_double", 40, 4, "3x", 40, {0x1234, 0x5678, 0xFFFF, 0xFFFE}, {0x12345678, 0xFFFFFFFE}, 4},
        {"4x_double", 50, 2, "4x", 50, {0x0001, 0x0000}, {0x00010000}, 3},
    };
    return cases;
}

TEST_P(Reads, ShowWhatTheSlaveHolds)
{
    for (const ReadCase &c : readCases())
        fill(1, c.table, c.tableAddress, c.held);
    connect();
    for (const ReadCase &c : readCases())
        panel->watch(1, c.type, c.address, c.count);
    panel->plan();
    panel->settle();
    for (const ReadCase &c : readCases())
        EXPECT_EQ(panel->shown(1, c.type, c.address, c.count), c.shown) << c.type;
}

TEST_P(Reads, UseTheFunctionOfTheTable)
{
    for (const ReadCase &c : readCases()) {
        connect();
        panel->watch(1, c.type, c.address, c.count);
        ASSERT_EQ(panel->plan(), 1);
        EXPECT_EQ(functionOf(panel->step()), c.function) << c.type;
    }
}

TEST_P(Reads, KeepStationsApart)
{
    fill(1, "4x", 10, {111, 112});
    fill(2, "4x", 10, {221, 222});
    fill(2, "0x", 10, {1});
    connect();
    for (int station : {1, 2}) {
        panel->watch(station, "4x", 10, 2);
        panel->watch(station, "0x", 10, 1);
    }
    panel->plan();
    panel->settle();
    EXPECT_EQ(panel->shown(1, "4x", 10, 2), (Values{111, 112}));
    EXPECT_EQ(panel->shown(2, "4x", 10, 2), (Values{221, 222}));
    EXPECT_EQ(panel->shown(1, "0x", 10, 1), Values{0});
    EXPECT_EQ(panel->shown(2, "0x", 10, 1), Values{1});
}

TEST_P(Reads, CarryTheLongestBlocks)
{
    Panel::Settings settings;
    settings.property = "7#0#0#3#2000";
    connect(settings);
    slaves->poke(1, "4x", 124, 0x0BAD);
    slaves->poke(1, "0x", 1999, 1);
    panel->watch(1, "4x", 0, 125);
    panel->watch(1, "0x", 0, 2000);
    ASSERT_EQ(panel->plan(), 2);
    panel->settle();
    EXPECT_EQ(panel->shown(1, "4x", 123, 2), (Values{0, 0x0BAD}));
    EXPECT_EQ(panel->shown(1, "0x", 1998, 2), (Values{0, 1}));
}

TEST_P(Reads, FollowAndReportChanges)
{
    connect();
    panel->watch(1, "4x", 10, 1);
    panel->watch(1, "4x_double", 20, 2);
    panel->watch(1, "3x_bit", 5 * 16 + 3, 1);
    panel->watch(1, "1x", 8, 1);
    panel->plan();
    panel->settle();
    panel->changes.clear();
    slaves->poke(1, "4x", 10, 77);
    slaves->poke(1, "4x", 21, 5);
    slaves->poke(1, "3x", 5, 0x0008);
    slaves->poke(1, "1x", 8, 1);
    panel->settle();
    std::vector<std::string> reported;
    for (const rtu::ValueChange &change : panel->changes)
        reported.push_back(change.regType.toStdString() + " " + std::to_string(change.address) + " on "
                           + std::to_string(change.linkId) + "/" + std::to_string(change.station));
    EXPECT_EQ(reported,
              (std::vector<std::string>{"1x 8 on 7/1", "3x_bit 83 on 7/1", "4x 10 on 7/1", "4x_double 20 on 7/1"}));
    EXPECT_EQ(panel->shown(1, "4x_double", 20, 2), Values{5});
}

TEST_P(Reads, OnceBringARangeThatNobodyPolls)
{
    fill(2, "4x", 300, {31, 32, 33});
    fill(2, "0x", 9, {1, 0, 1});
    connect();
    panel->watch(1, "4x", 0, 1);
    panel->plan();
    panel->settle();
    panel->changes.clear();
    panel->readOnce(2, "4x", 300, 3);
    panel->readOnce(2, "0x", 9, 3);
    panel->settle();
    EXPECT_EQ(panel->shown(2, "4x", 300, 3), (Values{31, 32, 33}));
    EXPECT_EQ(panel->shown(2, "0x", 9, 3), (Values{1, 0, 1}));
    ASSERT_FALSE(panel->changes.empty());
    const rtu::ValueChange end = panel->changes.back();
    EXPECT_EQ(end.linkId, -1);
    EXPECT_EQ(end.station, -1);
    EXPECT_EQ(end.regType, QString::fromLatin1("-1"));
    EXPECT_EQ(end.address, 0);
}

} // namespace
