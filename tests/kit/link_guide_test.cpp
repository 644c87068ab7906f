// Each request that the guide warns of is refused by a link, with words, or cannot be
// made through it: a row here for each row of the guide.

#include "kit/link_test.h"

#include <fstream>

namespace {

using namespace test_kit;

TagDefinition values(TagDefinition definition, int count)
{
    definition.values = count;
    return definition;
}

rtu::RecipeRow row(const TagDefinition &where)
{
    rtu::RecipeRow row;
    row.where = where;
    row.numbers = {1};
    return row;
}

/** What a caller of the kit would do to get there. */
struct Try
{
    const char *guideRow; ///< as the guide has it, up to the second column
    std::function<void(rtu::Link &)> call;
    const char *words; ///< in the refusal
};

const Try Tries[] = {
    {"plan with a key of station 0", [](rtu::Link &link) { link.addTag(TagDefinition(0, "4x1")); },
     "read from 1 to 247"},
    {"`intf_setData` to `4x_bit` of station 0", [](rtu::Link &link) { link.write(TagDefinition(0, "4x_bit1.0"), {1}); },
     "write the whole register"},
    {"`intf_setData` to `4x`, `4x_double` with a `count` between -*words* and 0",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "4x1"), -5), {1}); }, "number of values must be from 1"},
    {"`intf_setData` to `4x`, `4x_double` with a `count` between -*words* and 0",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "4x_double1"), -1), {1}); },
     "number of values must be from 1"},
    {"one-off read of station 0", [](rtu::Link &link) { link.read(TagDefinition(0, "4x1")); },
     "station 0 is all slaves"},
    {"load with a `3x` row, save with a row of station 0",
     [](rtu::Link &link) { link.load({row(TagDefinition(1, "3x1"))}); }, "read-only"},
    {"load with a `3x` row, save with a row of station 0",
     [](rtu::Link &link) { link.save({row(TagDefinition(0, "4x1"))}); }, "station 0 is all slaves"},
    {"a request byte without registered blocks", [](rtu::Link &link) { link.load({}); }, "at least one row"},
    {"a request byte without registered blocks", [](rtu::Link &link) { link.save({}); }, "at least one row"},
    {"a negative `count` of coils, or no coils",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "0x1"), -1), {1}); }, "number of values must be from 1"},
    {"a negative `count` of coils, or no coils",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "0x1"), 0), {}); }, "number of values must be from 1"},
    {"`4x_bit` with a negative `count` above -*words*, or of a bit address below 0",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "4x_bit1.0"), -3), {1}); },
     "number of values must be from 1"},
    {"`4x_bit` with a negative `count` above -*words*, or of a bit address below 0",
     [](rtu::Link &link) { link.write(TagDefinition(1, "4x_bit0.5"), {1}); }, "out of range"},
    {"`4x`, `4x_bit`, `4x_double` with `count` 0, or -*words* or below",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "4x1"), 0), {}); }, "number of values must be from 1"},
    {"`4x`, `4x_bit`, `4x_double` with `count` 0, or -*words* or below",
     [](rtu::Link &link) { link.write(values(TagDefinition(1, "4x_bit1.0"), -200), {}); },
     "number of values must be from 1"},
    // What to keep to when writing.
    {"one coil", [](rtu::Link &link) { link.write(TagDefinition(1, "0x1"), {2}); }, "0 to 1"},
    {"one of several coils",
     [](rtu::Link &link) {
         link.write(values(TagDefinition(1, "0x1"), 2), {0, 2});
     },
     "0 to 1"},
    {"a bit of a register", [](rtu::Link &link) { link.write(TagDefinition(1, "4x_bit1.0"), {2}); }, "0 to 1"},
};

/** The first cells of the rows of all tables under a heading of the guide. */
std::vector<std::string> guideRows(const std::string &heading)
{
    std::ifstream guide(GUIDE);
    std::vector<std::string> rows;
    std::string line;
    bool inside = false;
    bool body = false;
    while (std::getline(guide, line)) {
        if (line.compare(0, 3, "## ") == 0)
            inside = line == "## " + heading;
        const std::size_t begin = line.find_first_not_of(' ');
        const bool isRow = inside && begin != std::string::npos && line.compare(begin, 2, "| ") == 0;
        if (isRow && body)
            rows.push_back(line.substr(begin + 2, line.find(" |", begin + 2) - begin - 2));
        body = (body && isRow) || (inside && begin != std::string::npos && line.compare(begin, 4, "|---") == 0);
    }
    return rows;
}

class LinkGuide : public LinkTest
{
};

TEST_F(LinkGuide, EachRequestThatItWarnsOfIsRefused)
{
    for (const Try &one : Tries) {
        const std::string words = refusalOf([&] { one.call(link()); });
        EXPECT_TRUE(contains(words, one.words)) << one.guideRow << ": " << words;
    }
    EXPECT_EQ(LinkStep::Idle, link().step()) << "the driver has seen none of them";
    EXPECT_TRUE(requests.empty());
}

TEST_F(LinkGuide, HasNoRowThatIsNotTried)
{
    int rows = 0;
    for (const char *heading : {"Requests that cannot be sent", "Reading and writing"}) {
        for (const std::string &guideRow : guideRows(heading)) {
            ++rows;
            EXPECT_TRUE(std::any_of(std::begin(Tries), std::end(Tries), [&](const Try &one) {
                return guideRow == one.guideRow;
            })) << guideRow;
        }
    }
    EXPECT_GE(rows, 12);
}

TEST_F(LinkGuide, WritesThatARequestDoesNotTakeAreCut)
{
    settings.maxWords = 4;
    plant.define(1, Table::Coils, 0, 1100);
    plant.define(1, Table::HoldingRegisters, 0, 10);
    link().write(values(TagDefinition(1, "0x1"), 1100), std::vector<double>(1100, 1));
    link().write(values(TagDefinition(1, "4x_bit1.3"), 9), std::vector<double>(9, 1));
    link().write(values(TagDefinition(1, "4x_double5"), 3), {1, 2, 3});
    steps(100);
    for (int coil = 0; coil < 1100; ++coil)
        EXPECT_EQ(1, plant.peek(1, Table::Coils, coil)) << coil;
    EXPECT_EQ(0x0FF8, plant.peek(1, Table::HoldingRegisters, 0));
    EXPECT_EQ(3u, plant.peekDouble(1, Table::HoldingRegisters, 8)) << "never half of a 32-bit value";
}

} // namespace
