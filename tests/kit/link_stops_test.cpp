// What a stop in the middle of a frame leaves behind: nobody is told that nothing was sent.

#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::WriteEnd;

class LinkStops : public LinkTest
{
protected:
    LinkStops() { plant.define(1, Table::HoldingRegisters, 0, 20); }

    void write()
    {
        rtu::WriteOptions options;
        options.done = [this](const rtu::WriteResult &result) { ends.push_back(result.end); };
        link().write(TagDefinition(1, "4x10"), {7}, options);
    }

    /** Sets so many bits of 4x10, from the lowest on. */
    void writeBits(int count)
    {
        TagDefinition bits(1, "4x_bit10.0");
        bits.values = count;
        rtu::WriteOptions options;
        options.done = [this](const rtu::WriteResult &result) { ends.push_back(result.end); };
        link().write(bits, std::vector<double>(static_cast<std::size_t>(count), 1), options);
    }

    /** Of the frames that were sent. */
    std::string functions() const
    {
        std::string all;
        for (const Bytes &request : requests)
            all += std::to_string(int(request[1])) + " ";
        return all;
    }

    /** The slave carries out the next request; its answer is not waited for. */
    void stopOnceSent()
    {
        script.push_back([this](const Bytes &request) {
            plant.answer(request);
            link().stop();
        });
    }

    /** A write that a stop cuts short once it has been sent. */
    void writeCutShort()
    {
        stopOnceSent();
        write();
        EXPECT_EQ(LinkStep::Stopped, link().step());
        EXPECT_EQ(7, plant.peek(1, Table::HoldingRegisters, 9));
    }

    std::vector<WriteEnd> ends;
};

TEST_F(LinkStops, AWriteOnTheLineEndsWithItsLinkAsUnconfirmed)
{
    writeCutShort();
    destroyLink();
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Unconfirmed}, ends);
}

TEST_F(LinkStops, AWriteThatHasNotBeenSentEndsWithItsLinkAsNotSent)
{
    link().read(TagDefinition(1, "4x1"));
    loseRequests(1);
    steps(1);
    line->waiting = [this] { link().stop(); }; // a late reply is listened for
    write();
    EXPECT_EQ(LinkStep::Stopped, link().step());
    destroyLink();
    EXPECT_EQ(1u, requests.size());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::NotSent}, ends);
}

TEST_F(LinkStops, ARefusalOfTheSecondSendingDoesNotRefuseTheFirst)
{
    writeCutShort();
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), frame("01 86 04")); });
    steps(1);
    EXPECT_EQ(2u, requests.size());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Unconfirmed}, ends);
}

TEST_F(LinkStops, AnAcknowledgementOfTheSecondSendingIsOne)
{
    writeCutShort();
    steps(1);
    EXPECT_EQ(2u, requests.size());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Acknowledged}, ends);
}

TEST_F(LinkStops, AWriteOnTheLineIsNotKeptForThePort)
{
    settings.keepWrites = std::chrono::hours(1);
    writeCutShort();
    line->plugged = false;
    link().step();
    line->plugged = true;
    run(std::chrono::seconds(2));
    EXPECT_EQ(1u, requests.size());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Unconfirmed}, ends);
}

/** What else is in the register may have changed meanwhile. */
TEST_F(LinkStops, ABitWriteReadsItsRegisterAgainAfterAStop)
{
    writeBits(1);
    steps(1);
    link().stop();
    plant.poke(1, Table::HoldingRegisters, 9, 0x80);
    EXPECT_EQ(LinkStep::Stopped, link().step());
    steps(5);
    EXPECT_EQ(0x81, plant.peek(1, Table::HoldingRegisters, 9));
    EXPECT_EQ("3 3 16 ", functions());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Acknowledged}, ends);
}

TEST_F(LinkStops, ALongBitWriteReadsThePieceAgainThatAStopCameInto)
{
    settings.maxWords = 2;
    writeBits(6);
    steps(3);
    link().stop();
    plant.poke(1, Table::HoldingRegisters, 9, 0x83);
    EXPECT_EQ(LinkStep::Stopped, link().step());
    steps(9);
    EXPECT_EQ(0xBF, plant.peek(1, Table::HoldingRegisters, 9));
    EXPECT_EQ("3 16 3 3 16 3 16 ", functions());
    EXPECT_EQ(std::vector<WriteEnd>{WriteEnd::Acknowledged}, ends);
}

TEST_F(LinkStops, ARowOnTheLineEndsWithItsLinkAsUnconfirmed)
{
    rtu::RecipeRow row;
    row.where = TagDefinition(1, "4x10");
    row.numbers = {7};
    rtu::TransferResult result;
    stopOnceSent();
    link().load({row}, [&](const rtu::TransferResult &done) { result = done; });
    EXPECT_EQ(LinkStep::Stopped, link().step());
    destroyLink();
    ASSERT_EQ(1u, result.rows.size());
    EXPECT_EQ(rtu::RowEnd::Unconfirmed, result.rows[0].end);
}

} // namespace
