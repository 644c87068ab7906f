// Recipes and one-off reads, request by request: which rows share one, and what is said of each row.

#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::RecipeRow;
using rtu::RowEnd;
using std::chrono::hours;
using std::chrono::seconds;

class Transfers : public LinkTest
{
protected:
    Transfers()
    {
        plant.define(1, Table::HoldingRegisters, 0, 300);
        plant.define(2, Table::HoldingRegisters, 0, 300);
    }

    static RecipeRow row(int station, const char *address, const std::vector<double> &numbers)
    {
        RecipeRow result;
        result.where = TagDefinition(station, address);
        result.where.values = static_cast<int>(numbers.size());
        result.numbers = numbers;
        return result;
    }

    static RecipeRow longRow() { return row(1, "4x1", std::vector<double>(200, 4)); } // two requests

    std::function<void(const rtu::TransferResult &)> noted()
    {
        return [this](const rtu::TransferResult &result) { results.push_back(result); };
    }

    /** The ends of the rows of the newest transfer, in letters; those with an exception code have it behind. */
    std::string ends() const
    {
        if (results.empty())
            return "not ended";
        std::string all;
        for (const rtu::RowResult &one : results.back().rows) {
            all += "DRUN/"[static_cast<int>(one.end)];
            all += one.exceptionCode == 0 ? "" : std::to_string(one.exceptionCode);
        }
        return all + (results.back().cancelled ? " cancelled" : "");
    }

    void anew()
    {
        destroyLink();
        requests.clear();
        transactions.clear();
        results.clear();
    }

    void damageReplies(int count)
    {
        for (int i = 0; i < count; ++i)
            script.push_back([this](const Bytes &) { line->receive(milliseconds(10), hex("01 10 00")); });
    }

    void refuse(int code)
    {
        plant::Fault fault;
        fault.kind = plant::FaultKind::Exception;
        fault.value = code;
        fault.times = 1;
        plant.addFault(fault);
    }

    std::vector<rtu::TransferResult> results;
};

TEST_F(Transfers, SaveTheRowsOfABlockEachWithItsValue)
{
    const std::vector<RecipeRow> rows = {row(1, "4x1", {0}), row(1, "4x2", {0, 0}), row(1, "4x4", {0})};
    for (const std::uint16_t base : {std::uint16_t(10), std::uint16_t(50)}) {
        for (std::uint16_t i = 0; i < 4; ++i)
            plant.poke(1, Table::HoldingRegisters, i, static_cast<std::uint16_t>(base + i));
        link().save(rows, noted());
        steps(5);
        EXPECT_EQ("DDD", ends());
        const std::vector<rtu::RowResult> &saved = results.back().rows;
        EXPECT_EQ(base, saved.at(0).value.number());
        EXPECT_EQ(base + 1, saved.at(1).value.number(0));
        EXPECT_EQ(base + 2, saved.at(1).value.number(1));
        EXPECT_EQ(2, saved.at(1).value.count());
        EXPECT_EQ(base + 3, saved.at(2).value.number());
        for (const rtu::RowResult &one : saved) {
            EXPECT_EQ(Quality::Good, one.value.quality);
            EXPECT_EQ(transactions.back().finished, one.value.time);
        }
    }
    EXPECT_EQ(2u, requests.size());
}

TEST_F(Transfers, FillTheLongestRequestAndNoMore)
{
    settings.maxWords = 4;
    link().load({row(1, "4x1", {1}), row(1, "4x2", {2}), row(1, "4x3", {3, 4}), row(1, "4x5", {5})}, noted());
    steps(5);
    EXPECT_EQ("DDDD", ends());
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("01 10 00 00 00 04 08 00 01 00 02 00 03 00 04", text(requests[0]));
    EXPECT_EQ(5, plant.peek(1, Table::HoldingRegisters, 4));
}

TEST_F(Transfers, TryTheRowsOfARefusedBlockAloneAndNoOthers)
{
    plant.makeHole(1, Table::HoldingRegisters, 1, 1);
    link().load({row(1, "4x1", {1}), row(1, "4x2", {2}), row(1, "4x11", {3}), row(1, "4x12", {4})}, noted());
    steps(10);
    EXPECT_EQ("DR2DD", ends());
    EXPECT_EQ(4u, requests.size()) << "the refused block, its two rows, and the other block";
}

TEST_F(Transfers, SayNothingOfARefusedRowWhoseBlockMayHaveBeenLoaded)
{
    plant.makeHole(1, Table::HoldingRegisters, 1, 1);
    damageReplies(1);
    link().load({row(1, "4x1", {1}), row(1, "4x2", {2})}, noted());
    steps(10);
    EXPECT_EQ("DU", ends());
    EXPECT_EQ(4u, requests.size()) << "the block twice, and its two rows";
}

TEST_F(Transfers, StoppedBeforeARowWhoseBlockMayHaveBeenLoadedSayNothingOfIt)
{
    plant.makeHole(1, Table::HoldingRegisters, 1, 1);
    damageReplies(1);
    rtu::Transfer transfer = link().load({row(1, "4x1", {1}), row(1, "4x2", {2})}, noted());
    while (requests.size() < 3)
        steps(1);
    transfer.cancel();
    steps(10);
    EXPECT_EQ("DU cancelled", ends());
}

TEST_F(Transfers, SayNothingOfRowsWithoutAUsableReply)
{
    struct Case
    {
        const char *what;
        std::function<void()> call;
        const char *ends;
        std::size_t requests;
    };
    const RecipeRow first = row(3, "4x1", {1});
    const RecipeRow second = row(3, "4x2", {2});
    const Case cases[] = {
        {"a block loaded into a silent station",
         [&] {
             link().load({first, second}, noted());
         },
         "UU", 3},
        {"a block saved from a silent station",
         [&] {
             link().save({first, second}, noted());
         },
         "UU", 3},
        {"damaged replies",
         [&] {
             damageReplies(3);
             link().load({row(1, "4x1", {1}), row(1, "4x11", {1})}, noted());
         },
         "UN", 3},
    };
    for (const Case &c : cases) {
        anew();
        c.call();
        steps(10);
        EXPECT_EQ(c.ends, ends()) << c.what;
        EXPECT_EQ(c.requests, requests.size()) << c.what;
    }
}

TEST_F(Transfers, AreToldOfTheirOwnAlone)
{
    plant.setStationOn(2, false);
    link().load({row(2, "4x1", {1}), row(2, "4x11", {1})}, noted());
    steps(5);
    EXPECT_EQ("UN", ends());
    plant.setStationOn(2, true);
    link().load({row(2, "4x1", {1}), row(2, "4x11", {1})}, noted());
    steps(5);
    EXPECT_EQ("DD", ends());
    rtu::Transfer stopped = link().load({row(1, "4x1", {1}), row(1, "4x11", {1})}, noted());
    steps(1);
    EXPECT_TRUE(stopped.cancel());
    steps(1);
    EXPECT_EQ("DN cancelled", ends());
    rtu::Transfer last = link().load({row(1, "4x1", {1})}, noted());
    script.push_back([&](const Bytes &request) {
        EXPECT_TRUE(last.cancel()); // it ends behind this block, which is all there is
        slaves(request);
    });
    steps(1);
    EXPECT_EQ("D", ends());
    line->plugged = false;
    link().load({row(1, "4x1", {1})}, noted());
    steps(1);
    EXPECT_EQ("N", ends());
}

TEST_F(Transfers, OfRowsOfSeveralRequestsEndWithTheFirstThatFails)
{
    const std::vector<RecipeRow> doubles = {row(1, "4x_double1", {1, 2})};
    settings.maxWords = 2;
    refuse(4);
    link().load(doubles, noted());
    steps(5);
    EXPECT_EQ("R4", ends());
    EXPECT_EQ(1u, requests.size());
    anew();
    rtu::Transfer stopped = link().load(doubles, noted());
    steps(1);
    stopped.cancel();
    steps(1);
    EXPECT_EQ("U cancelled", ends());
    const std::pair<bool, const char *> cases[] = {{true, "U"}, {false, "N"}};
    for (const auto &c : cases) { // the port is lost in the silence before the second request
        anew();
        if (c.first)
            link().load(doubles, noted());
        else
            link().save(doubles, noted());
        steps(1);
        line->unplugAfter(microseconds(1));
        steps(2);
        EXPECT_EQ(c.second, ends());
    }
}

TEST_F(Transfers, ThatEndWithTheirLinkBeforeTheSecondRequestOfARowLeaveItNeitherOldNorNew)
{
    settings.attempts = 5;
    loseRequests(4); // the reply to the fifth may be to an earlier one: another one is listened for
    link().load({longRow()}, noted());
    steps(5);
    line->waiting = [this] { link().stop(); };
    EXPECT_EQ(LinkStep::Stopped, link().step());
    destroyLink();
    EXPECT_EQ(5u, requests.size());
    EXPECT_EQ("U", ends());
}

TEST_F(Transfers, ShowWhatTheySaveAndNothingElse)
{
    settings.roundInterval = hours(1);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    run(seconds(1));
    const rtu::TimePoint read = tag.value().time;
    link().load({row(1, "4x10", {5})}, noted());
    run(seconds(1));
    EXPECT_EQ("D", ends());
    EXPECT_EQ(read, tag.value().time) << "what was loaded is not read";
    refuse(4);
    link().save({row(1, "4x10", {0})}, noted());
    run(seconds(1));
    EXPECT_EQ("R4", ends());
    EXPECT_EQ(read, tag.value().time);
    plant.poke(1, Table::HoldingRegisters, 9, 77);
    link().save({row(1, "4x10", {0})}, noted());
    run(seconds(1));
    EXPECT_EQ("D", ends());
    EXPECT_EQ(77.0, tag.value().number());
    EXPECT_EQ(transactions.back().finished, tag.value().time);
}

// --- one-off reads -----------------------------------------------------------------------

class OneOffReads : public Transfers
{
protected:
    void read(const char *address, int values = 1)
    {
        TagDefinition where(1, address);
        where.values = values;
        link().read(where, [this](const rtu::ReadResult &result) { reads.push_back(result); });
    }

    std::vector<rtu::ReadResult> reads;
};

TEST_F(OneOffReads, EndWithAllThatIsKnown)
{
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    read("4x10");
    steps(1);
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(rtu::ReadEnd::Good, reads[0].end);
    EXPECT_EQ(0, reads[0].exceptionCode);
    EXPECT_EQ(Quality::Good, reads[0].value.quality);
    EXPECT_EQ(7.0, reads[0].value.number());
    EXPECT_EQ(transactions[0].finished, reads[0].value.time);
    loseRequests(3);
    read("4x10");
    steps(3);
    ASSERT_EQ(2u, reads.size());
    EXPECT_EQ(rtu::ReadEnd::Silent, reads[1].end);
    EXPECT_EQ(0, reads[1].exceptionCode);
}

TEST_F(OneOffReads, EndOnceWhenThePortGoesBetweenTheirRequests)
{
    read("4x1", 250);
    steps(1);
    line->plugged = false;
    steps(1);
    line->plugged = true;
    run(seconds(2));
    destroyLink();
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(rtu::ReadEnd::Silent, reads[0].end);
    EXPECT_EQ(1u, requests.size());
}

TEST_F(OneOffReads, EndWithTheirLink)
{
    loseRequests(1);
    read("4x1");
    read("4x2");
    steps(1);
    destroyLink();
    ASSERT_EQ(2u, reads.size());
    EXPECT_EQ(rtu::ReadEnd::Silent, reads[0].end);
    EXPECT_EQ(rtu::ReadEnd::NotTried, reads[1].end);
}

} // namespace
