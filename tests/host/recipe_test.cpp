#include "driver_test.h"
#include "support/frames.h"

#include "poll_loop.h"
#include "recipe.h"

#include <sstream>

namespace {

using namespace test_host;
using namespace test_line;

class Recipe : public DriverTest
{
protected:
    rtu::Recipe read(const std::string &text, rtu::Access access = rtu::Access::Write)
    {
        std::istringstream in(text);
        return rtu::readRecipe(driver, catalog, in, "recipe.csv", access);
    }

    /** Slaves that keep the registers written to them. */
    void serve(const Bytes &request)
    {
        const int address = request[2] * 256 + request[3];
        const int count = request[4] * 256 + request[5];
        Bytes reply(request.begin(), request.begin() + 6);
        if (request[1] == 16) {
            std::size_t position = 7;
            for (int i = 0; i < count; ++i, position += 2)
                registers[request[0] * 65536 + address + i] = request[position] * 256 + request[position + 1];
        } else if (request[1] == 6) {
            registers[request[0] * 65536 + address] = count;
        } else {
            reply = {request[0], request[1], static_cast<unsigned char>(2 * count)};
            for (int i = 0; i < count; ++i) {
                const int value = registers[request[0] * 65536 + address + i];
                reply.push_back(static_cast<unsigned char>(value >> 8));
                reply.push_back(static_cast<unsigned char>(value));
            }
        }
        line.receive(milliseconds(20), withCrc(reply));
    }

    /** Runs a transfer to its end; true when the driver cleared the request. */
    bool transfer(const std::vector<rtu::TagRange> &tags, bool write)
    {
        QVector<_RCP_VAR_PRO> rows = rtu::recipeRows(tags, session.property());
        driver.setRcpAddress(&rows);
        if (write)
            session.requestBlockWrite();
        else
            session.requestBlockRead();
        line.slave = [this](VirtualLine &, const Bytes &request) { serve(request); };
        rtu::PollSettings settings;
        settings.replyTimeout = milliseconds(100);
        rtu::PollLoop loop(driver, line, settings);
        loop.drain();
        return !session.blockTransferPending();
    }

    VirtualLine line;
    std::map<int, int> registers;
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

TEST_F(Recipe, RowsCoverTheWordBufferWithoutGaps)
{
    session.configure(rtu::DriverProperty());
    const QVector<_RCP_VAR_PRO> rows = rtu::recipeRows(read(RecipeText).tags, session.property());
    int offset = 0;
    for (int i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(offset, rows.at(i).hostOffset);
        offset += rows.at(i).count;
        if (rows.at(i).regType == QLatin1String("4x_double")) {
            EXPECT_EQ(2, rows.at(i).count); // the driver wants each 32-bit value in its own row
        }
    }
    EXPECT_EQ(3 + 1 + 4 + 2 + 2, offset);
}

class WordOrder : public Recipe, public testing::WithParamInterface<bool>
{
};

TEST_P(WordOrder, SlaveAndFileAgreeAfterSaveAndLoad)
{
    rtu::DriverProperty property;
    property.swapAll = GetParam();
    session.configure(property);
    rtu::Recipe recipe = read(RecipeText);
    rtu::fillWords(recipe, session.words());
    ASSERT_TRUE(transfer(recipe.tags, true));
    EXPECT_EQ(5, registers[65536 + 9]);
    EXPECT_EQ(0xFFE7, registers[65536 + 19]);
    EXPECT_EQ(10, registers[2 * 65536 + 29]);
    EXPECT_EQ(GetParam() ? 0x5678 : 0x1234, registers[65536 + 12]);
    EXPECT_EQ(GetParam() ? 0x1234 : 0x5678, registers[65536 + 13]);

    std::fill(session.words().begin(), session.words().end(), static_cast<unsigned short>(0));
    rtu::Recipe saved = recipe;
    saved.values.clear();
    ASSERT_TRUE(transfer(saved.tags, false));
    rtu::takeWords(session.words(), saved);
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
        {"a,1,3x,1,65536\nb,1,4x,1\n", toRead, "more than the 65536 registers"},
    };
    for (const RecipeCase &wrong : cases) {
        const std::string reason = refusalOf([&] { read(wrong.text, wrong.access); });
        EXPECT_TRUE(contains(reason, wrong.reason)) << wrong.reason << ": " << reason;
    }
    EXPECT_EQ("nothing thrown", refusalOf([&] { read("a,1,3x,1\n", toRead); }));
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
