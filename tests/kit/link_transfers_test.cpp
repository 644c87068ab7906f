// One-off reads and recipe transfers of a link: one outcome each, row by row.

#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::ReadEnd;
using rtu::ReadResult;
using rtu::RecipeRow;
using rtu::RowEnd;
using rtu::TransferResult;

class LinkTransfers : public LinkTest
{
protected:
    LinkTransfers()
    {
        plant.define(1, Table::HoldingRegisters, 0, 300);
        plant.define(1, Table::InputRegisters, 0, 300, 3);
        plant.define(1, Table::Coils, 0, 2000, 1);
        plant.define(2, Table::HoldingRegisters, 0, 50);
    }

    static RecipeRow row(int station, const char *address, std::vector<double> numbers)
    {
        RecipeRow result;
        result.where = TagDefinition(station, address);
        result.where.values = static_cast<int>(numbers.size());
        result.numbers = numbers;
        return result;
    }

    void read(const TagDefinition &definition)
    {
        link().read(definition, [this](const ReadResult &result) { reads.push_back(result); });
    }

    std::function<void(const TransferResult &)> noted()
    {
        return [this](const TransferResult &result) { results.push_back(result); };
    }

    std::vector<RowEnd> rowEnds()
    {
        std::vector<RowEnd> ends;
        EXPECT_EQ(1u, results.size());
        if (!results.empty())
            for (const rtu::RowResult &result : results.front().rows)
                ends.push_back(result.end);
        return ends;
    }

    std::uint16_t held(int address) { return plant.peek(1, Table::HoldingRegisters, address); }

    std::vector<ReadResult> reads;
    std::vector<TransferResult> results;
};

// --- one-off reads -------------------------------------------------------------------

TEST_F(LinkTransfers, AOneOffReadBringsItsValue)
{
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    read(TagDefinition(1, "4x10"));
    steps(1);
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(ReadEnd::Good, reads[0].end);
    EXPECT_EQ(7.0, reads[0].value.number());
    EXPECT_EQ(transactions[0].finished, reads[0].value.time);
}

TEST_F(LinkTransfers, ALongReadEndsOnce)
{
    TagDefinition coils(1, "0x1");
    coils.values = 2000;
    read(coils);
    steps(5);
    EXPECT_EQ(3u, requests.size());
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(1.0, reads[0].value.number(1999));
    EXPECT_EQ(transactions[0].finished, reads[0].value.time) << "of several replies, the oldest";
}

TEST_F(LinkTransfers, BitsThatReachIntoTheNextRegisterAreAllRead)
{
    plant.poke(1, Table::HoldingRegisters, 4, 1);
    TagDefinition bits(1, "4x_bit4.5");
    bits.values = 12;
    read(bits);
    steps(1);
    EXPECT_EQ("01 03 00 03 00 02", lastRequest());
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(1.0, reads[0].value.number(11));
}

TEST_F(LinkTransfers, AFailedReadTakesNoOtherWithIt)
{
    read(TagDefinition(1, "4x301"));
    read(TagDefinition(1, "4x10"));
    steps(2);
    ASSERT_EQ(2u, reads.size());
    EXPECT_EQ(ReadEnd::Refused, reads[0].end);
    EXPECT_EQ(2, reads[0].exceptionCode);
    EXPECT_EQ(ReadEnd::Good, reads[1].end);
}

TEST_F(LinkTransfers, WhatElseWaitsForASilentStationEndsAtOnce)
{
    read(TagDefinition(3, "4x10"));
    read(TagDefinition(3, "4x11"));
    read(TagDefinition(1, "4x10"));
    steps(4);
    ASSERT_EQ(3u, reads.size());
    EXPECT_EQ(ReadEnd::NotTried, reads[0].end);
    EXPECT_EQ(ReadEnd::Silent, reads[1].end);
    EXPECT_EQ(ReadEnd::Good, reads[2].end);
    EXPECT_EQ(4u, requests.size());
}

TEST_F(LinkTransfers, AReadCanBeCancelled)
{
    rtu::OneOffRead first =
        link().read(TagDefinition(1, "4x10"), [this](const ReadResult &result) { reads.push_back(result); });
    EXPECT_TRUE(first.cancel());
    steps(1);
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(ReadEnd::Cancelled, reads[0].end);
    EXPECT_EQ(ReadEnd::Cancelled, first.result().end);
    EXPECT_TRUE(requests.empty());
}

TEST_F(LinkTransfers, WithoutAPortReadsAreNotTried)
{
    link();
    line->plugged = false;
    read(TagDefinition(1, "4x10"));
    steps(1);
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(ReadEnd::NotTried, reads[0].end);
}

// --- transfers ---------------------------------------------------------------------------

TEST_F(LinkTransfers, LoadsARecipeInAsFewRequestsAsItsRowsAllow)
{
    link().load({row(1, "4x1", {1, 2}), row(1, "4x3", {3}), row(1, "4x10", {10})}, noted());
    steps(2);
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("01 10 00 00 00 03 06 00 01 00 02 00 03", text(requests[0]));
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done, RowEnd::Done, RowEnd::Done}), rowEnds());
    ASSERT_EQ(1u, results.size());
    EXPECT_TRUE(results.front().complete());
    EXPECT_EQ(10, held(9));
}

TEST_F(LinkTransfers, SavesWhatTheSlavesHold)
{
    plant.pokeDouble(1, Table::HoldingRegisters, 20, 0x40200000);
    plant.pokeDouble(1, Table::HoldingRegisters, 22, 0x40400000);
    RecipeRow floats;
    floats.where = TagDefinition(1, "4x_double21", rtu::TagFormat::Float);
    floats.where.values = 2;
    RecipeRow inputs;
    inputs.where = TagDefinition(1, "3x5");
    link().save({floats, inputs}, noted());
    steps(2);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done, RowEnd::Done}), rowEnds());
    EXPECT_EQ(2.5, results[0].rows[0].value.number(0));
    EXPECT_EQ(3.0, results[0].rows[0].value.number(1));
    EXPECT_EQ(3.0, results[0].rows[1].value.number());
}

TEST_F(LinkTransfers, LoadedAndSavedAgainIsTheSame)
{
    const RecipeRow doubles = row(1, "4x_double21", {305419896.0, 7});
    link().load({doubles});
    steps(1);
    EXPECT_EQ(0x12345678u, plant.peekDouble(1, Table::HoldingRegisters, 20));
    link().save({doubles}, noted());
    steps(1);
    ASSERT_EQ(1u, results.size());
    EXPECT_EQ(305419896.0, results[0].rows[0].value.number(0));
    EXPECT_EQ(7.0, results[0].rows[0].value.number(1));
}

TEST_F(LinkTransfers, FindsOutWhichRowTheSlaveRefuses)
{
    plant.makeHole(1, Table::HoldingRegisters, 1, 1);
    link().load({row(1, "4x1", {1}), row(1, "4x2", {2}), row(1, "4x3", {3})}, noted());
    steps(10);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done, RowEnd::Refused, RowEnd::Done}), rowEnds());
    EXPECT_EQ(2, results[0].rows[1].exceptionCode);
    EXPECT_EQ(3, held(2));
    EXPECT_FALSE(results[0].complete());
}

TEST_F(LinkTransfers, RowsBehindASilentOneOfTheSameStationAreNotTried)
{
    link().load({row(3, "4x1", {1}), row(3, "4x10", {1}), row(1, "4x1", {5})}, noted());
    steps(4);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed, RowEnd::NotTried, RowEnd::Done}), rowEnds());
}

TEST_F(LinkTransfers, ADeadStationGetsOneAttemptOfEachKind)
{
    read(TagDefinition(3, "4x1"));
    steps(3); // found dead
    ASSERT_EQ(3u, requests.size());
    read(TagDefinition(3, "4x1"));
    steps(1);
    ASSERT_EQ(2u, reads.size());
    EXPECT_EQ(ReadEnd::Silent, reads[1].end);
    link().load({row(3, "4x1", {1}), row(3, "4x10", {1})}, noted());
    steps(1);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed, RowEnd::NotTried}), rowEnds());
    EXPECT_EQ(LinkStep::Idle, link().step());
    EXPECT_EQ(5u, requests.size());
}

TEST_F(LinkTransfers, ComparesARecipeWithTheSlaves)
{
    plant.poke(1, Table::HoldingRegisters, 0, 1);
    plant.poke(1, Table::HoldingRegisters, 9, 9);
    link().compare({row(1, "4x1", {1}), row(1, "4x10", {10})}, noted());
    steps(2);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done, RowEnd::Differs}), rowEnds());
    EXPECT_EQ(9.0, results[0].rows[1].value.number());
}

TEST_F(LinkTransfers, ARowLongerThanARequestIsCut)
{
    link().load({row(1, "4x1", std::vector<double>(250, 4))}, noted());
    steps(3);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done}), rowEnds());
    EXPECT_EQ(3u, requests.size());
    EXPECT_EQ(4, held(249));
}

TEST_F(LinkTransfers, ATransferCanBeStoppedInTheMiddle)
{
    rtu::Transfer transfer = link().load({row(1, "4x1", {1}), row(1, "4x10", {1})}, noted());
    steps(1);
    EXPECT_TRUE(transfer.cancel());
    steps(1);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done, RowEnd::NotTried}), rowEnds());
    EXPECT_TRUE(results[0].cancelled);
    EXPECT_FALSE(transfer.cancel());
    EXPECT_EQ(1u, requests.size());
}

TEST_F(LinkTransfers, ATransferTellsHowManyRowsHaveEnded)
{
    const rtu::Transfer load = link().load({row(1, "4x10", {1}), row(1, "4x11", {2}), row(1, "4x100", {3})}, noted());
    EXPECT_EQ(0, load.rowsEnded());
    steps(1);
    EXPECT_EQ(2, load.rowsEnded());
    steps(1);
    EXPECT_EQ(3, load.rowsEnded());
    EXPECT_EQ(0, rtu::Transfer().rowsEnded());
}

TEST_F(LinkTransfers, ALostPortEndsATransfer)
{
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(1)); });
    link().load({row(1, "4x1", {1}), row(1, "4x10", {1})}, noted());
    steps(2);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed, RowEnd::NotTried}), rowEnds());
}

TEST_F(LinkTransfers, ARowWhosePortGoesInTheSilenceBeforeItIsNotTried)
{
    link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    link().load({row(1, "4x1", {7})}, noted());
    line->unplugAfter(microseconds(1));
    steps(2);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::NotTried}), rowEnds());
    EXPECT_EQ(0, plant.peek(1, Table::HoldingRegisters, 0));
}

TEST_F(LinkTransfers, ARowOnTheLineWhenThePortIsLostIsUnconfirmed)
{
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(2)); });
    link().load({row(1, "4x1", {7})}, noted());
    steps(2);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed}), rowEnds());
}

TEST_F(LinkTransfers, PollingGoesOnAfterATransferThatFailed)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    link().load({row(3, "4x1", {1})}, noted());
    steps(4);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed}), rowEnds());
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkTransfers, APortLostBetweenTwoPiecesEndsAReadWithoutAValue)
{
    TagDefinition many(1, "4x1");
    many.values = 250;
    read(many);
    steps(1);
    line->plugged = false;
    steps(1);
    ASSERT_EQ(1u, reads.size());
    EXPECT_EQ(ReadEnd::Silent, reads[0].end);
}

TEST_F(LinkTransfers, ACancelledReadEndsWhileAnotherIsUnderWay)
{
    TagDefinition many(1, "4x1");
    many.values = 250;
    read(many);
    rtu::OneOffRead second =
        link().read(TagDefinition(1, "4x10"), [this](const ReadResult &result) { reads.push_back(result); });
    steps(1);
    EXPECT_TRUE(second.cancel());
    steps(3);
    ASSERT_EQ(2u, reads.size());
    EXPECT_EQ(ReadEnd::Cancelled, reads[0].end);
    EXPECT_EQ(ReadEnd::Good, reads[1].end);
    EXPECT_EQ(3u, requests.size());
}

TEST_F(LinkTransfers, SavesARowLongerThanARequest)
{
    plant.poke(1, Table::HoldingRegisters, 249, 7);
    RecipeRow many;
    many.where = TagDefinition(1, "4x1");
    many.where.values = 250;
    link().save({many}, noted());
    steps(3);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Done}), rowEnds());
    EXPECT_EQ(7.0, results[0].rows[0].value.number(249));
    EXPECT_EQ(transactions[0].finished, results[0].rows[0].value.time) << "of several replies, the oldest";
}

TEST_F(LinkTransfers, ALongRowStoppedInTheMiddleIsNeitherOldNorNew)
{
    rtu::Transfer load = link().load({row(1, "4x1", std::vector<double>(250, 4))}, noted());
    steps(1);
    EXPECT_TRUE(load.cancel());
    steps(1);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed}), rowEnds());
    results.clear();
    rtu::Transfer save = link().save({row(1, "4x1", std::vector<double>(250, 4))}, noted());
    steps(1);
    EXPECT_TRUE(save.cancel());
    steps(1);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::NotTried}), rowEnds());
}

TEST_F(LinkTransfers, ALongRowWhosePortGoesInTheMiddleIsNeitherOldNorNew)
{
    link().load({row(1, "4x1", std::vector<double>(250, 4))}, noted());
    steps(1);
    line->unplugAfter(microseconds(1)); // in the silence before the second request
    steps(2);
    EXPECT_EQ(std::vector<RowEnd>{RowEnd::Unconfirmed}, rowEnds());
}

TEST_F(LinkTransfers, ALongRowRefusedInTheMiddleIsNotTriedFurther)
{
    plant.makeHole(1, Table::HoldingRegisters, 150, 1);
    link().load({row(1, "4x1", std::vector<double>(250, 4))}, noted());
    steps(4);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Refused}), rowEnds());
    EXPECT_EQ(2u, requests.size());
}

TEST_F(LinkTransfers, WithoutAPortTransfersAreNotTried)
{
    link();
    line->plugged = false;
    link().load({row(1, "4x1", {1})}, noted());
    steps(1);
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::NotTried}), rowEnds());
}

TEST_F(LinkTransfers, RowsOfOtherTypesAndStationsGoOutByThemselves)
{
    link().load({row(1, "4x1", {1}), row(1, "4x_double2", {2}), row(2, "4x4", {3}), row(2, "4x5", {4})}, noted());
    steps(3);
    EXPECT_EQ((std::vector<RowEnd>(4, RowEnd::Done)), rowEnds());
    EXPECT_EQ(3u, requests.size());
    EXPECT_EQ("02 10 00 03 00 02 04 00 03 00 04", lastRequest());
}

TEST_F(LinkTransfers, ARowOnTheLineWhenTheLinkEndsIsUnconfirmed)
{
    loseReplies(1);
    link().load({row(1, "4x1", {7}), row(2, "4x1", {8})}, noted());
    steps(1);
    destroyLink();
    EXPECT_EQ((std::vector<RowEnd>{RowEnd::Unconfirmed, RowEnd::NotTried}), rowEnds());
    EXPECT_EQ(7, held(0));
}

} // namespace
