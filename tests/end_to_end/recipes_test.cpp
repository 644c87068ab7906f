// Recipes through real slaves: what is read into the host's word buffer, what is
// written from it, for both orders of the words of 32-bit values.

#include "end_to_end_test.h"

#include "plant_line.h"
#include "support/records.h"

namespace {

using Words = std::vector<int>;

const int Link = 7;
const int OtherLink = 8;

_RCP_VAR_PRO row(int station, const char *type, int address, int count, int offset, int link = Link)
{
    return support::row(link, station, type, address, count, offset);
}

void registerRows(Panel &panel, const std::vector<_RCP_VAR_PRO> &rows)
{
    QVector<_RCP_VAR_PRO> table;
    for (const _RCP_VAR_PRO &each : rows)
        table << each;
    panel.driver.setRcpAddress(&table);
}

Words buffer(Panel &panel, int first, int count)
{
    const auto begin = panel.words.begin() + first;
    return Words(begin, begin + count);
}

void setBuffer(Panel &panel, int first, const Words &words)
{
    for (std::size_t i = 0; i < words.size(); ++i)
        panel.words[static_cast<std::size_t>(first) + i] = static_cast<unsigned short>(words[i]);
}

void save(Panel &panel)
{
    panel.memory.raise(rtu::BlockMemory::BlockRead);
    panel.finishBlockTransfer();
}

void load(Panel &panel)
{
    panel.memory.raise(rtu::BlockMemory::BlockWrite);
    panel.finishBlockTransfer();
}

class Recipes : public EndToEnd
{
protected:
    void connectWith(const std::string &property)
    {
        Panel::Settings settings;
        settings.property = property;
        connect(settings);
        panel->watch(1, "4x", 0, 1);
        panel->plan();
    }

    /** Plain registers and 32-bit values of two stations, in one buffer without gaps. */
    void registerTable()
    {
        registerRows(*panel, {row(2, "4x_double", 30, 2, 6), row(1, "4x", 13, 2, 3), row(1, "4x", 10, 3, 0),
                              row(1, "4x", 20, 1, 5), row(2, "4x_double", 32, 2, 8), row(1, "4x_double", 40, 2, 10),
                              row(1, "4x", 50, 2, 12, OtherLink)});
    }

    void fillSlaves()
    {
        fill(1, "4x", 10, {0x0A01, 0x0A02, 0x0A03, 0x0A04, 0x0A05});
        fill(1, "4x", 20, {0x0B01});
        fill(2, "4x", 30, {0x1234, 0x5678, 0x9ABC, 0xDEF0});
        fill(1, "4x", 40, {0x1111, 0x2222});
        fill(1, "4x", 50, {0x0C01, 0x0C02});
    }
};

ON_BOTH_SLAVES(Recipes);

struct OrderCase
{
    const char *property;
    Words saved;  ///< words 0 to 13 of the buffer
    Words loaded; ///< registers 30 to 33 of station 2 from words 1, 2, 3, 4, then 40 and 41 of station 1 from 5, 6
};

const std::vector<OrderCase> &orderCases()
{
    static const std::vector<OrderCase> cases = {
        {"7#0#0#3#120",
         {0x0A01, 0x0A02, 0x0A03, 0x0A04, 0x0A05, 0x0B01, 0x5678, 0x1234, 0xDEF0, 0x9ABC, 0x2222, 0x1111, 0, 0},
         {2, 1, 4, 3, 6, 5}},
        {"7#0#0#3#120#1",
         {0x0A01, 0x0A02, 0x0A03, 0x0A04, 0x0A05, 0x0B01, 0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x1111, 0x2222, 0, 0},
         {1, 2, 3, 4, 5, 6}},
        {"7#0#0#3#120#0_2",
         {0x0A01, 0x0A02, 0x0A03, 0x0A04, 0x0A05, 0x0B01, 0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x2222, 0x1111, 0, 0},
         {1, 2, 3, 4, 6, 5}},
    };
    return cases;
}

TEST_P(Recipes, AreSavedFromTheSlaves)
{
    fillSlaves();
    for (const OrderCase &c : orderCases()) {
        SCOPED_TRACE(c.property);
        connectWith(c.property);
        registerTable();
        save(*panel);
        EXPECT_EQ(buffer(*panel, 0, 14), c.saved);
    }
}

TEST_P(Recipes, AreLoadedIntoTheSlaves)
{
    for (const OrderCase &c : orderCases()) {
        SCOPED_TRACE(c.property);
        fillSlaves();
        connectWith(c.property);
        registerTable();
        setBuffer(*panel, 0, {101, 102, 103, 104, 105, 106, 1, 2, 3, 4, 5, 6, 7, 8});
        load(*panel);
        EXPECT_EQ(held(1, "4x", 10, 5), (Words{101, 102, 103, 104, 105}));
        EXPECT_EQ(held(1, "4x", 20, 2), (Words{106, 0}));
        Words doubles = held(2, "4x", 30, 4);
        for (int word : held(1, "4x", 40, 2))
            doubles.push_back(word);
        EXPECT_EQ(doubles, c.loaded);
        EXPECT_EQ(held(1, "4x", 50, 2), (Words{0x0C01, 0x0C02})) << "a row of another link";
    }
}

TEST_P(Recipes, ComeBackUnchangedFromASaveAndALoad)
{
    fillSlaves();
    for (const OrderCase &c : orderCases()) {
        SCOPED_TRACE(c.property);
        connectWith(c.property);
        registerTable();
        save(*panel);
        const Words file = buffer(*panel, 0, 14);
        fill(2, "4x", 30, {0, 0, 0, 0});
        fill(1, "4x", 10, {0, 0, 0, 0, 0});
        fill(1, "4x", 40, {0, 0});
        load(*panel);
        EXPECT_EQ(held(2, "4x", 30, 4), (Words{0x1234, 0x5678, 0x9ABC, 0xDEF0}));
        EXPECT_EQ(held(1, "4x", 10, 5), (Words{0x0A01, 0x0A02, 0x0A03, 0x0A04, 0x0A05}));
        EXPECT_EQ(held(1, "4x", 40, 2), (Words{0x1111, 0x2222}));
        setBuffer(*panel, 0, Words(14, 0));
        save(*panel);
        EXPECT_EQ(buffer(*panel, 0, 14), file);
    }
}

TEST_P(Recipes, ReportEachWordThatIsSaved)
{
    fill(1, "3x", 5, {501, 502});
    connectWith("7#0#0#3#120");
    registerRows(*panel, {row(1, "3x", 5, 2, 100), row(2, "3x_double", 8, 2, 200)});
    panel->changes.clear();
    save(*panel);
    std::vector<int> words;
    for (const rtu::ValueChange &change : panel->changes) {
        if (change.regType != QString::fromLatin1("RWI"))
            continue;
        EXPECT_EQ(change.linkId, 0);
        EXPECT_EQ(change.station, -1);
        words.push_back(change.address);
    }
    EXPECT_EQ(words, (std::vector<int>{100, 101, 200, 201}));
    EXPECT_EQ(buffer(*panel, 100, 2), (Words{501, 502}));
}

TEST_P(Recipes, LoadBeforeTheySaveWhenBothAreWanted)
{
    connectWith("7#0#0#3#120");
    registerRows(*panel, {row(1, "4x", 10, 2, 0)});
    fill(1, "4x", 10, {1, 2});
    setBuffer(*panel, 0, {71, 72});
    panel->memory.raise(rtu::BlockMemory::BlockRead);
    panel->memory.raise(rtu::BlockMemory::BlockWrite);
    panel->transactions.clear();
    panel->finishBlockTransfer();
    ASSERT_EQ(panel->transactions.size(), 2u);
    EXPECT_EQ(functionOf(panel->transactions[0]), 16);
    EXPECT_EQ(functionOf(panel->transactions[1]), 3);
    EXPECT_EQ(held(1, "4x", 10, 2), (Words{71, 72}));
    EXPECT_EQ(buffer(*panel, 0, 2), (Words{71, 72}));
}

TEST_P(Recipes, OfManyBlocksAreMovedBlockByBlock)
{
    connectWith("7#0#0#3#8");
    std::vector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < 40; ++i)
        rows.push_back(row(1 + i % 2, "4x", 1000 + 20 * i, 4, 4 * i));
    registerRows(*panel, rows);
    Words recipe;
    for (int i = 0; i < 160; ++i)
        recipe.push_back(0x4000 + i);
    setBuffer(*panel, 0, recipe);
    panel->transactions.clear();
    load(*panel);
    EXPECT_EQ(panel->transactions.size(), 40u);
    setBuffer(*panel, 0, Words(160, 0));
    save(*panel);
    EXPECT_EQ(buffer(*panel, 0, 160), recipe);
    EXPECT_EQ(held(2, "4x", 1020, 4), (Words{0x4004, 0x4005, 0x4006, 0x4007}));
}

// --- a slave that is not there ---------------------------------------------------

class AbandonedRecipes : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (int station : {1, 2, 3})
            m_plant.define(station, plant::Table::HoldingRegisters, 0, 10, static_cast<std::uint16_t>(station * 100));
        std::string error;
        ASSERT_TRUE(m_plant.start(&error)) << error;
        line = std::make_unique<PlantLine>(m_plant);
        panel = std::make_unique<Panel>(*line, Panel::Settings());
        panel->watch(1, "4x", 9, 1);
        panel->plan();
        registerRows(*panel, {row(1, "4x", 0, 1, 0), row(2, "4x", 0, 1, 1), row(3, "4x", 0, 1, 2)});
        m_plant.setStationOn(2, false);
    }

    int held(int station) { return m_plant.peek(station, plant::Table::HoldingRegisters, 0); }

    plant::Plant m_plant;
    std::unique_ptr<PlantLine> line;
    std::unique_ptr<Panel> panel;
};

TEST_F(AbandonedRecipes, LeaveTheRestUnreadAndPollOn)
{
    save(*panel);
    EXPECT_EQ(buffer(*panel, 0, 3), (Words{100, 0, 0}));
    EXPECT_EQ(panel->transactions.back().information, QString::fromLatin1("R,2#4x1(1)"));
    EXPECT_FALSE(panel->memory.requested());
    panel->settle();
    EXPECT_EQ(panel->transactions.back().verdict, rtu::VerdictGood);
}

TEST_F(AbandonedRecipes, LeaveTheRestUnwrittenAndStartAgainFromTheFirstBlock)
{
    setBuffer(*panel, 0, {11, 12, 13});
    load(*panel);
    EXPECT_EQ(held(1), 11);
    EXPECT_EQ(held(2), 200);
    EXPECT_EQ(held(3), 300);
    EXPECT_EQ(panel->transactions.back().information, QString::fromLatin1("R,2#4x1(1)"));
    m_plant.setStationOn(2, true);
    setBuffer(*panel, 0, {21, 22, 23});
    load(*panel);
    EXPECT_EQ(held(1), 21);
    EXPECT_EQ(held(2), 22);
    EXPECT_EQ(held(3), 23);
}

} // namespace
