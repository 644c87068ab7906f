// What is set by station, and values of all formats on their way to the slaves.

#include "kit/link_test.h"

#include <future>

namespace {

using namespace test_kit;
using rtu::TagFormat;

class LinkSettingsOf : public LinkTest
{
protected:
    LinkSettingsOf() { plant.define(1, Table::HoldingRegisters, 0, 20); }

    rtu::Duration pauseBeforeSecond()
    {
        link().addTag(TagDefinition(1, "4x1"));
        steps(2);
        return transactions.at(1).sent - transactions.at(0).finished;
    }
};

TEST_F(LinkSettingsOf, ALinkHaveItsSilence)
{
    settings.silence = milliseconds(30);
    EXPECT_EQ(milliseconds(30), pauseBeforeSecond());
}

TEST_F(LinkSettingsOf, AStationHaveItsSilence)
{
    settings.stations[1].silence = milliseconds(40);
    EXPECT_EQ(milliseconds(40), pauseBeforeSecond());
}

TEST_F(LinkSettingsOf, AStationHaveItsTimeOut)
{
    settings.stations[1].replyTimeout = milliseconds(70);
    link().addTag(TagDefinition(1, "4x1"));
    loseRequests(1);
    steps(1);
    EXPECT_EQ(milliseconds(70), transactions.at(0).finished - transactions.at(0).requestEnd);
}

TEST_F(LinkSettingsOf, FloatsAndTextsAreWritten)
{
    TagDefinition text(1, "4x5", TagFormat::Text);
    text.values = 2;
    TagDefinition swapped(1, "4x_double8", TagFormat::Float);
    swapped.wordOrder = rtu::WordOrder::LowFirst;
    link().write(link().addTag(text), QString("Abc"));
    link().write(TagDefinition(1, "4x_double1", TagFormat::Float), {1.5});
    link().write(swapped, {1.5});
    steps(8);
    EXPECT_EQ(0x4162, plant.peek(1, Table::HoldingRegisters, 4));
    EXPECT_EQ(0x6300, plant.peek(1, Table::HoldingRegisters, 5));
    EXPECT_EQ(0x3FC00000u, plant.peekDouble(1, Table::HoldingRegisters, 0));
    EXPECT_EQ(0x00003FC0u, plant.peekDouble(1, Table::HoldingRegisters, 7));
}

TEST_F(LinkSettingsOf, HandlesOfNothingHaveEnded)
{
    EXPECT_TRUE(rtu::Write().ended() && rtu::OneOffRead().ended() && rtu::Transfer().ended());
    EXPECT_FALSE(rtu::Write().cancel() || rtu::OneOffRead().cancel() || rtu::Transfer().cancel());
    EXPECT_TRUE(rtu::Write().wait(rtu::Duration(0)) && rtu::OneOffRead().wait(rtu::Duration(0)));
    EXPECT_EQ(rtu::WriteEnd::NotSent, rtu::Write().result().end);
    EXPECT_EQ(rtu::ReadEnd::NotTried, rtu::OneOffRead().result().end);
    EXPECT_TRUE(rtu::Transfer().result().rows.empty());
    EXPECT_TRUE(rtu::Transfer().wait(rtu::Duration(0)));
    EXPECT_EQ(0, rtu::Transfer().rowsEnded());
    EXPECT_EQ(0, rtu::Write().result().exceptionCode + rtu::Write().result().acknowledged);
    EXPECT_EQ(0, rtu::OneOffRead().result().exceptionCode + rtu::RowResult().exceptionCode);
    EXPECT_FALSE(rtu::Transfer().result().cancelled || rtu::Transfer().result().complete());
    EXPECT_EQ(0, rtu::Tag().value().exceptionCode);
    EXPECT_FALSE(rtu::Tag().value().good());
    EXPECT_EQ("", rtu::Tag().value().text().toStdString());
    EXPECT_EQ(0.0, rtu::Tag().value().number());
    EXPECT_EQ("", rtu::Tag().definition().address.toStdString());
}

/** A copy and an assigned one are the same request as the first. */
template <typename Handle>
void expectOneRequest(Handle first)
{
    Handle copy(first);
    Handle assigned;
    assigned = first;
    EXPECT_TRUE(copy.cancel());
    EXPECT_FALSE(first.cancel() || assigned.cancel());
}

TEST_F(LinkSettingsOf, CopiesOfHandlesAreOfTheSameRequest)
{
    rtu::RecipeRow row;
    row.where = TagDefinition(1, "4x1");
    expectOneRequest(link().write(TagDefinition(1, "4x1"), {7}));
    expectOneRequest(link().read(TagDefinition(1, "4x1")));
    expectOneRequest(link().save({row}));
    steps(1);
    EXPECT_TRUE(requests.empty());
}

TEST_F(LinkSettingsOf, ATransferThatWaitsCanBeCancelled)
{
    rtu::RecipeRow row;
    row.where = TagDefinition(1, "4x1");
    rtu::Transfer transfer = link().save({row});
    EXPECT_TRUE(transfer.cancel());
    steps(3);
    EXPECT_TRUE(transfer.ended() && transfer.result().cancelled);
    EXPECT_EQ(rtu::RowEnd::NotTried, transfer.result().rows.at(0).end);
    EXPECT_TRUE(requests.empty());
}

TEST_F(LinkSettingsOf, AnEndIsWaitedForAsLongAsItTakes)
{
    const rtu::Write write = link().write(TagDefinition(1, "4x1"), {7});
    std::future<bool> ended = std::async(std::launch::async, [&] { return write.wait(rtu::Duration::max()); });
    EXPECT_EQ(std::future_status::timeout, ended.wait_for(milliseconds(50))); // it has begun to wait
    steps(2);
    EXPECT_TRUE(ended.get());
}

TEST_F(LinkSettingsOf, ALinkAreTheseUnlessTheyAreSet)
{
    const rtu::LinkSettings made;
    EXPECT_EQ(3, made.attempts);
    EXPECT_EQ(120, made.maxWords);
    EXPECT_EQ(milliseconds(1000), made.replyTimeout);
    EXPECT_GT(rtu::Duration(0), made.silence);
    EXPECT_GT(rtu::Duration(0), made.replyGap);
    EXPECT_EQ(milliseconds(1000), made.lateReplyGuard);
    EXPECT_EQ(milliseconds(100), made.broadcastDelay);
    EXPECT_EQ(milliseconds(500), made.reopenInterval);
    EXPECT_EQ(rtu::Duration(0), made.roundInterval);
    EXPECT_EQ(std::chrono::seconds(3), made.questionInterval);
    EXPECT_EQ(rtu::Duration(0), made.keepWrites);
    EXPECT_EQ(rtu::Echo::Detect, made.echo);
    EXPECT_TRUE(made.checkReplies && made.findHoles);
    EXPECT_FALSE(made.localWritesOnly);
    EXPECT_GT(rtu::Duration(0), rtu::StationSettings().silence);
    EXPECT_GT(rtu::Duration(0), rtu::StationSettings().replyTimeout);
}

TEST_F(LinkSettingsOf, APortAreTheseUnlessTheyAreSet)
{
    rtu::LineParameters made;
    EXPECT_EQ(19200, made.baud);
    EXPECT_EQ(8, made.dataBits);
    EXPECT_EQ('E', made.parity);
    EXPECT_EQ(1, made.stopBits);
    EXPECT_FALSE(made.rs485 || made.rtsInverted);
    EXPECT_EQ(11, made.bitsPerCharacter());
    made.parity = 'N';
    EXPECT_EQ(10, made.bitsPerCharacter());
    made.parity = 'O';
    made.stopBits = 2;
    EXPECT_EQ(12, made.bitsPerCharacter());
}

TEST_F(LinkSettingsOf, ATagAreTheseUnlessTheyAreSet)
{
    const TagDefinition made;
    EXPECT_EQ(1, made.station);
    EXPECT_EQ(1, made.values);
    EXPECT_EQ(rtu::TagFormat::Usual, made.format);
    EXPECT_EQ(rtu::WordOrder::HighFirst, made.wordOrder);
    EXPECT_EQ(1.0, made.scale);
    EXPECT_EQ(rtu::Duration(0), made.pace);
    EXPECT_FALSE(rtu::WriteOptions().keep || rtu::WriteOptions().readBack);
}

TEST_F(LinkSettingsOf, ALinkAreKeptAsGiven)
{
    settings.attempts = 2;
    EXPECT_EQ(2, link().settings().attempts);
}

} // namespace
