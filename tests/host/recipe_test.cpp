#include "driver_test.h"
#include "frames.h"

#include "poll_loop.h"
#include "recipe.h"

#include <sstream>

namespace {

using namespace test_host;

class Recipe : public DriverTest
{
protected:
    rtu::Recipe read(const std::string &text)
    {
        std::istringstream in(text);
        return rtu::readRecipe(driver, catalog, in, "recipe.csv");
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
    bool transfer(const std::vector<rtu::Tag> &tags, bool write)
    {
        QVector<_RCP_VAR_PRO> rows =
            rtu::recipeRows(tags, session.property(), write ? rtu::Access::Write : rtu::Access::Read);
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
                               "ratio,2,4x_double,1,1,float,1,,3.1415927\n";

TEST_F(Recipe, IsWrittenAsItIsRead)
{
    std::ostringstream out;
    rtu::writeRecipe(out, read(RecipeText));
    EXPECT_EQ(RecipeText, out.str());
}

TEST_F(Recipe, RowsCoverTheWordBufferWithoutGaps)
{
    session.configure(rtu::DriverProperty());
    const QVector<_RCP_VAR_PRO> rows = rtu::recipeRows(read(RecipeText).tags, session.property(), rtu::Access::Write);
    int offset = 0;
    for (int i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(offset, rows.at(i).hostOffset);
        offset += rows.at(i).count;
        if (rows.at(i).regType == QLatin1String("4x_double")) {
            EXPECT_EQ(2, rows.at(i).count); // the driver wants each 32-bit value in its own row
        }
    }
    EXPECT_EQ(3 + 1 + 4 + 2, offset);
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

TEST_F(Recipe, IsRefusedWithTheReason)
{
    EXPECT_TRUE(contains(refusalOf([&] { read("a,1,4x,1,2,,,,5\n"); }), "4x1 has 1 values, its count is 2"));
    EXPECT_TRUE(contains(refusalOf([&] { read("a,1,4x,1,1,,,,x\n"); }), "not a value"));
    const auto rowsOf = [&](const std::string &text, rtu::Access access) {
        return refusalOf([&] { rtu::recipeRows({tag(text)}, rtu::DriverProperty(), access); });
    };
    EXPECT_TRUE(contains(rowsOf("0x1", rtu::Access::Read), "registers, not bits"));
    EXPECT_TRUE(contains(rowsOf("3x1", rtu::Access::Write), "read-only"));
    EXPECT_EQ("nothing thrown", rowsOf("3x1", rtu::Access::Read));
}

} // namespace
