#include "link_test.h"

#include "host/tags/recipe.h"

#include <sstream>

namespace {

using namespace test_host;
using namespace test_line;

class Recipe : public LinkTest
{
protected:
    rtu::Recipe read(const std::string &text, rtu::Access access = rtu::Access::Write)
    {
        std::istringstream in(text);
        return rtu::readRecipe(driver, catalog, in, "recipe.csv", access);
    }

    /** Moves a recipe between the file's values and slaves that keep what is written to them. */
    rtu::TransferResult move(const rtu::Recipe &recipe, bool write, const rtu::DriverProperty &property)
    {
        line->slave = [this](VirtualLine &, const Bytes &request) { serve(request); };
        const std::vector<rtu::RecipeRow> rows = rtu::recipeRows(recipe, property);
        const rtu::Transfer transfer = write ? link().load(rows) : link().save(rows);
        while (!transfer.ended())
            link().step();
        return transfer.result();
    }
};

const char *const RecipeText = "name,station,type,address,count,format,scale,unit,values\n"
                               "speed,1,4x,10,3,uint16,1,rpm,5 6 7\n"
                               "gap,1,4x,20,1,int16,0.1,mm,-2.5\n"
                               "total,1,4x_double,13,2,uint32,1,,305419896 4294967295\n"
                               "ratio,2,4x_double,1,1,float,1,,3.1415927\n"
                               "mask,2,4x,30,2,bin,1,,0b0000000000001010 0b1000000000000000\n";

TEST_F(Recipe, IsWrittenAsItIsRead)
{
    std::ostringstream out;
    rtu::writeRecipe(out, read(RecipeText));
    EXPECT_EQ(RecipeText, out.str());
}

// What stands in quotes is a name as well where it looks like something of the file's own.
TEST_F(Recipe, KeepsEveryDigitOfItsScales)
{
    const std::string scales[] = {"0.1", "1", "0.12365678901234568", "100000", "1e+16", "2.5e-07"};
    for (const std::string &scale : scales) {
        const std::string file =
            "name,station,type,address,count,format,scale,unit,values\na,1,4x,10,1,uint16," + scale + ",,0\n";
        std::ostringstream out;
        rtu::writeRecipe(out, read(file));
        EXPECT_EQ(file, out.str());
    }
}

TEST_F(Recipe, KeepsNamesInQuotes)
{
    const std::string header = "name,station,type,address,count,format,scale,unit,values\n";
    for (const std::string name : {"#1", " #", " in front", "behind ", "\tboth\t", "a \"\"b\"\"", "a, b"}) {
        const std::string text = header + '"' + name + "\",1,4x,10,1,uint16,1,\" m\",5\n";
        std::ostringstream out;
        rtu::writeRecipe(out, read(text));
        EXPECT_EQ(text, out.str());
    }
}

class WordOrder : public Recipe, public testing::WithParamInterface<bool>
{
};

TEST_P(WordOrder, SlaveAndFileAgreeAfterSaveAndLoad)
{
    rtu::DriverProperty property;
    property.swapAll = GetParam();
    const rtu::Recipe recipe = read(RecipeText);
    ASSERT_TRUE(move(recipe, true, property).complete());
    EXPECT_EQ(5, registers(1)[9]);
    EXPECT_EQ(0xFFE7, registers(1)[19]);
    EXPECT_EQ(10, registers(2)[29]);
    EXPECT_EQ(GetParam() ? 0x5678 : 0x1234, registers(1)[12]);
    EXPECT_EQ(GetParam() ? 0x1234 : 0x5678, registers(1)[13]);

    rtu::Recipe saved;
    saved.tags = recipe.tags;
    const rtu::TransferResult result = move(saved, false, property);
    ASSERT_TRUE(result.complete());
    rtu::takeValues(result, saved);
    EXPECT_EQ(recipe.values, saved.values);
}

INSTANTIATE_TEST_SUITE_P(BothWays, WordOrder, testing::Bool());

struct RecipeCase
{
    const char *text;
    rtu::Access access;
    const char *reason;
};

TEST_F(Recipe, IsRefusedWithFileAndLine)
{
    const rtu::Access toRead = rtu::Access::Read;
    const rtu::Access toWrite = rtu::Access::Write;
    const RecipeCase cases[] = {
        {"a,1,4x,1,1,,,,5\nb,1,4x,1,2,,,,5\n", toWrite, "recipe.csv:2: 4x1 has 1 values, its count is 2"},
        {"a,1,4x,1,1,,,,x\n", toWrite, "recipe.csv:1: \"x\" is not a value"},
        {"a,1,4x,1\n", toWrite, "recipe.csv:1: 4x1 has no values to write"},
        {"a,1,0x,1,1,,,,1\n", toRead, "recipe.csv:1: 0x1: recipes hold registers, not bits"},
        {"a,1,3x,1,1,,,,1\n", toWrite, "recipe.csv:1: 3x1: 3x is read-only"},
        {"# nothing\n", toRead, "recipe.csv: the recipe has no registers"},
    };
    for (const RecipeCase &wrong : cases) {
        const std::string reason = refusalOf([&] { read(wrong.text, wrong.access); });
        EXPECT_TRUE(contains(reason, wrong.reason)) << wrong.reason << ": " << reason;
    }
    EXPECT_EQ("nothing thrown", refusalOf([&] { read("a,1,3x,1\n", toRead); }));
}

TEST_F(Recipe, HasAllItsFaultsTold)
{
    const std::string reason = refusalOf([&] { read("a,1,4x,1,1,,,,x\nb,1,4x,1,1,,,,5\nc,1,3x,1,1,,,,5\n"); });
    EXPECT_TRUE(contains(reason, "recipe.csv:1: \"x\" is not a value")) << reason;
    EXPECT_TRUE(contains(reason, "\nrecipe.csv:3: 3x1: 3x is read-only")) << reason;
}

TEST_F(Recipe, OfNamedRegistersIsJudgedLikewise)
{
    rtu::Recipe recipe;
    recipe.tags.push_back(tag("0x1"));
    EXPECT_TRUE(contains(refusalOf([&] { rtu::refuseUnfit(recipe, rtu::Access::Read); }), "registers, not bits"));
    recipe.tags[0] = tag("3x1");
    EXPECT_EQ("nothing thrown", refusalOf([&] { rtu::refuseUnfit(recipe, rtu::Access::Read); }));
}

} // namespace
