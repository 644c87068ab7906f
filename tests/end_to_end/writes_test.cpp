// Writes of every writable type to real slaves: the slave holds what was
// written, its neighbours keep what they held, and the driver shows it.

#include "end_to_end_test.h"

namespace {

using Values = std::vector<std::int64_t>;
using Functions = std::vector<int>;

class Writes : public EndToEnd
{
};

ON_BOTH_SLAVES(Writes);

struct WriteCase
{
    const char *name;
    const char *type;
    int address;
    std::vector<std::int64_t> values;
    const char *table;
    int tableAddress;        ///< one before the first address written
    std::vector<int> before; ///< what the slave holds from there on
    std::vector<int> after;
    Functions functions; ///< of the frames
};

const std::vector<WriteCase> &writeCases()
{
    static const std::vector<WriteCase> cases = {
        {"coil on", "0x", 5, {1}, "0x", 4, {0, 0, 0}, {0, 1, 0}, {5}},
        {"coil off", "0x", 5, {0}, "0x", 4, {1, 1, 1}, {1, 0, 1}, {5}},
        {"coils",
         "0x",
         20,
         {1, 0, 1, 1, 0, 0, 0, 1, 1},
         "0x",
         19,
         {1, 0, 1, 0, 0, 1, 1, 1, 0, 0, 0},
         {1, 1, 0, 1, 1, 0, 0, 0, 1, 1, 0},
         {15}},
        {"register", "4x", 10, {0xBEEF}, "4x", 9, {1, 2, 3}, {1, 0xBEEF, 3}, {6}},
        {"registers", "4x", 10, {0x0102, 0, 0xFFFF}, "4x", 9, {1, 2, 3, 4, 5}, {1, 0x0102, 0, 0xFFFF, 5}, {16}},
        {"double", "4x_double", 30, {0x12345678}, "4x", 29, {1, 2, 3, 4}, {1, 0x1234, 0x5678, 4}, {16}},
        {"doubles",
         "4x_double",
         30,
         {0x80000001, 0x0000FFFF},
         "4x",
         29,
         {9, 9, 9, 9, 9, 9},
         {9, 0x8000, 0x0001, 0, 0xFFFF, 9},
         {16}},
        {"bit on", "4x_bit", 40 * 16 + 7, {1}, "4x", 39, {0x5A5A, 0xA501, 0x5A5A}, {0x5A5A, 0xA581, 0x5A5A}, {3, 16}},
        {"bit off", "4x_bit", 40 * 16 + 15, {0}, "4x", 39, {0x5A5A, 0xA501, 0x5A5A}, {0x5A5A, 0x2501, 0x5A5A}, {3, 16}},
        {"bits",
         "4x_bit",
         40 * 16 + 4,
         {0, 1, 0, 1},
         "4x",
         39,
         {0xFFFF, 0xFF5F, 0xFFFF},
         {0xFFFF, 0xFFAF, 0xFFFF},
         {3, 16}},
        {"bits across registers",
         "4x_bit",
         40 * 16 + 14,
         {1, 0, 0, 1},
         "4x",
         39,
         {0x1111, 0x8001, 0x8001, 0x1111},
         {0x1111, 0x4001, 0x8002, 0x1111},
         {3, 16}},
        {"bits from the first one on", "4x_bit", 40 * 16, {1, 1}, "4x", 39, {0, 0xF000, 0}, {0, 0xF003, 0}, {3, 16}},
    };
    return cases;
}

/** Watches everything that a case touches, so that the panel sees the slave's answer. */
void watchAround(Panel &panel, const WriteCase &c)
{
    panel.watch(1, c.table, c.tableAddress, static_cast<int>(c.before.size()));
    panel.plan();
    panel.settle();
}

TEST_P(Writes, ReachTheSlaveAndNothingElse)
{
    for (const WriteCase &c : writeCases()) {
        SCOPED_TRACE(c.name);
        fill(1, c.table, c.tableAddress, c.before);
        fill(2, c.table, c.tableAddress, c.before);
        connect();
        watchAround(*panel, c);
        functionsSent();
        panel->write(1, c.type, c.address, c.values);
        panel->settle();
        EXPECT_EQ(functionsSent(), c.functions);
        EXPECT_EQ(held(1, c.table, c.tableAddress, static_cast<int>(c.after.size())), c.after);
        EXPECT_EQ(held(2, c.table, c.tableAddress, static_cast<int>(c.before.size())), c.before) << "another station";
        const int count = static_cast<int>(c.values.size()) * unitsPerValue(c.type);
        EXPECT_EQ(panel->shown(1, c.type, c.address, count), c.values);
        EXPECT_EQ(panel->shown(1, c.table, c.tableAddress, static_cast<int>(c.after.size())),
                  Values(c.after.begin(), c.after.end()));
    }
}

TEST_P(Writes, AreShownBeforeTheyAreSent)
{
    fill(1, "4x", 9, {1, 2, 3});
    connect();
    panel->watch(1, "4x", 9, 3);
    panel->plan();
    panel->settle();
    panel->write(1, "4x", 10, {500});
    EXPECT_EQ(panel->shown(1, "4x", 9, 3), (Values{1, 500, 3}));
    EXPECT_EQ(held(1, "4x", 10, 1), std::vector<int>{2});
    panel->settle();
    EXPECT_EQ(held(1, "4x", 10, 1), std::vector<int>{500});
}

TEST_P(Writes, OfABitKeepWhatTheSlaveChangedMeanwhile)
{
    fill(1, "4x", 40, {0x0F0F});
    connect();
    panel->watch(1, "4x", 40, 1);
    panel->plan();
    panel->settle();
    slaves->poke(1, "4x", 40, 0x7000); // not polled since
    panel->write(1, "4x_bit", 40 * 16 + 1, {1});
    panel->settle();
    EXPECT_EQ(held(1, "4x", 40, 1), std::vector<int>{0x7002});
    EXPECT_EQ(panel->shown(1, "4x", 40, 1), Values{0x7002});
}

TEST_P(Writes, OfTheSameBitTwiceEndWithTheSecond)
{
    connect();
    panel->watch(1, "4x", 40, 1);
    panel->plan();
    panel->settle();
    panel->write(1, "4x_bit", 40 * 16 + 9, {1});
    panel->write(1, "4x_bit", 40 * 16 + 9, {0});
    panel->write(1, "4x_bit", 40 * 16 + 2, {1});
    panel->settle();
    EXPECT_EQ(held(1, "4x", 40, 1), std::vector<int>{0x0004});
    EXPECT_EQ(panel->shown(1, "4x", 40, 1), Values{0x0004});
}

TEST_P(Writes, LongerThanARequestAreSplit)
{
    Panel::Settings settings;
    settings.property = "7#0#0#3#4";
    connect(settings);
    panel->watch(1, "4x", 100, 4);
    panel->plan();
    panel->write(1, "4x", 100, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    panel->settle();
    EXPECT_EQ(functionsSent(), (Functions{16, 16, 6}));
    EXPECT_EQ(held(1, "4x", 99, 11), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0}));
}

TEST_P(Writes, ToReadOnlyTypesAreShownButNotSent)
{
    connect();
    panel->watch(1, "4x", 0, 1);
    panel->plan();
    panel->settle();
    functionsSent();
    panel->write(1, "1x", 4, {1});
    panel->write(1, "3x", 5, {42});
    panel->write(1, "3x_double", 6, {0x00010002});
    panel->write(1, "3x_bit", 10 * 16 + 3, {1});
    panel->settle();
    EXPECT_EQ(functionsSent(), Functions{});
    EXPECT_EQ(panel->shown(1, "1x", 4, 1), Values{1});
    EXPECT_EQ(panel->shown(1, "3x", 5, 1), Values{42});
    EXPECT_EQ(panel->shown(1, "3x_double", 6, 2), Values{0x00010002});
    EXPECT_EQ(panel->shown(1, "3x_bit", 10 * 16 + 3, 1), Values{1});
    EXPECT_EQ(held(1, "3x", 5, 6), (std::vector<int>{0, 0, 0, 0, 0, 0}));
}

TEST_P(Writes, ToAllStationsExpectNoReply)
{
    connect();
    for (int station : {1, 2})
        panel->watch(station, "4x", 60, 2);
    panel->watch(1, "0x", 60, 1);
    panel->plan();
    panel->settle();
    panel->write(0, "4x", 60, {601});
    panel->write(0, "4x", 61, {602});
    panel->write(0, "0x", 60, {1});
    panel->settle();
    for (int station : {1, 2}) {
        EXPECT_EQ(held(station, "4x", 60, 2), (std::vector<int>{601, 602})) << station;
        EXPECT_EQ(panel->shown(station, "4x", 60, 2), (Values{601, 602})) << station;
        EXPECT_EQ(held(station, "0x", 60, 1), std::vector<int>{1}) << station;
    }
}

} // namespace
