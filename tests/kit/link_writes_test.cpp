// Writes of a link: each ends exactly once, and says how.

#include "kit/link_write_test.h"

namespace {

using namespace test_kit;

class LinkWrites : public LinkWriteTest
{
};

TEST_F(LinkWrites, AreAcknowledged)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    const rtu::Write write = link().write(tag, 7, noted(1));
    EXPECT_FALSE(write.ended());
    steps(1);
    EXPECT_EQ("01 06 00 09 00 07", lastRequest());
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(1, theEnd().acknowledged);
    EXPECT_EQ("", theEnd().text.toStdString());
    EXPECT_TRUE(write.ended());
    EXPECT_EQ(7, held(9));
    EXPECT_EQ(7.0, tag.value().number());
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkWrites, AreShownAtOnceAndNotConfirmed)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    changes.clear();
    loseRequests(1);
    link().write(tag, 7, noted(1));
    steps(1);
    EXPECT_EQ(7.0, tag.value().number());
    EXPECT_EQ(Quality::Unconfirmed, tag.value().quality);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(0.0, changes[0].before.number());
    EXPECT_TRUE(ends.empty());
    steps(1);
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkWrites, RefusedByTheSlave)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    plant.addFault([] {
        plant::Fault fault;
        fault.kind = plant::FaultKind::Exception;
        fault.value = 4;
        fault.function = 6;
        return fault;
    }());
    link().write(tag, 7, noted(1));
    steps(1);
    EXPECT_EQ(WriteEnd::Refused, theEnd().end);
    EXPECT_EQ(4, theEnd().exceptionCode);
    EXPECT_EQ(0.0, tag.value().number()) << "the value read last is shown again";
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(2u, requests.size()) << "a refusal is an answer: sent once";
}

TEST_F(LinkWrites, RefusedAfterAnAttemptWithoutAnAnswerAreUnconfirmed)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    loseReplies(1);
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), frame("01 86 04")); });
    link().write(tag, 7, noted(1));
    steps(2);
    EXPECT_EQ(7, held(9)) << "the first attempt got through";
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    EXPECT_EQ(Quality::Unconfirmed, tag.value().quality);
}

TEST_F(LinkWrites, UnconfirmedWhenSentWithoutAnAnswer)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    loseReplies(3);
    link().write(tag, 7, noted(1));
    steps(3);
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    EXPECT_EQ(0.0, tag.value().number());
    EXPECT_EQ(Quality::Unconfirmed, tag.value().quality) << "the slave may hold either";
    EXPECT_EQ(7, held(9)) << "here it got through";
    run(std::chrono::seconds(10));
    EXPECT_EQ(7.0, tag.value().number()) << "the next read tells";
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkWrites, NotSentWhenTheReadHalfOfABitWriteIsGivenUp)
{
    loseRequests(3);
    link().write(TagDefinition(1, "4x_bit3.5"), {1}, noted(1));
    steps(3);
    EXPECT_EQ("01 03 00 02 00 01", lastRequest());
    EXPECT_EQ(WriteEnd::NotSent, theEnd().end);
    EXPECT_EQ(3u, requests.size());
}

TEST_F(LinkWrites, OfBitsKeepTheOtherBits)
{
    plant.poke(1, Table::HoldingRegisters, 2, 0x8001);
    link().write(TagDefinition(1, "4x_bit3.5"), {1}, noted(1));
    steps(2);
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(0x8021, held(2));
}

TEST_F(LinkWrites, RefusedReadHalfOfABitWriteIsARefusal)
{
    link().write(TagDefinition(1, "4x_bit500.5"), {1}, noted(1));
    steps(2);
    EXPECT_EQ(WriteEnd::Refused, theEnd().end);
    EXPECT_EQ(2, theEnd().exceptionCode);
}

TEST_F(LinkWrites, LongOnesEndOnceForAllTheirPieces)
{
    TagDefinition definition(1, "4x1");
    definition.values = 250;
    link().write(definition, std::vector<double>(250, 9), noted(1));
    steps(3);
    EXPECT_EQ(3u, requests.size());
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(250, theEnd().acknowledged);
    EXPECT_EQ(9, held(249));
}

TEST_F(LinkWrites, ALongOneThatFailsInTheMiddleSaysHowFarItCame)
{
    TagDefinition definition(1, "4x301");
    definition.values = 250; // the slave has 100 of them
    plant.define(1, Table::HoldingRegisters, 400, 20);
    link().write(definition, std::vector<double>(250, 9), noted(1));
    steps(3);
    EXPECT_EQ(2u, requests.size()) << "what follows a refused piece is not sent";
    EXPECT_EQ(WriteEnd::Refused, theEnd().end);
    EXPECT_EQ(120, theEnd().acknowledged);
}

TEST_F(LinkWrites, ManyCoilsGoOutInRequestsThatTheProtocolAllows)
{
    TagDefinition definition(1, "0x1");
    definition.values = 1100;
    link().write(definition, std::vector<double>(1100, 1), noted(1));
    steps(2);
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(1, plant.peek(1, Table::Coils, 1099));
    EXPECT_EQ(2u, requests.size());
}

TEST_F(LinkWrites, DifferWhenReadBack)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    WriteOptions options = noted(1);
    options.readBack = true;
    script.push_back([this](const Bytes &request) { // acknowledged, and kept otherwise
        slaves(request);
        plant.poke(1, Table::HoldingRegisters, 9, 5);
    });
    link().write(tag, 7, options);
    steps(2);
    EXPECT_EQ(WriteEnd::Differs, theEnd().end);
    EXPECT_EQ(5.0, tag.value().number());
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkWrites, AcknowledgedWhenReadBackTheSame)
{
    WriteOptions options = noted(1);
    options.readBack = true;
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(1);
    EXPECT_TRUE(ends.empty());
    steps(1);
    EXPECT_EQ("01 03 00 09 00 01", lastRequest());
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
}

TEST_F(LinkWrites, AnEchoTakenForAnAcknowledgementIsUnmaskedByTheReadBack)
{
    settings.echo = rtu::Echo::Never;
    script.push_back([this](const Bytes &request) { line->receive(microseconds(100), request); });
    WriteOptions options = noted(1);
    options.readBack = true;
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(2);
    EXPECT_EQ(WriteEnd::Differs, theEnd().end);
}

TEST_F(LinkWrites, UnconfirmedWhenTheReadBackFails)
{
    WriteOptions options = noted(1);
    options.readBack = true;
    script.push_back([this](const Bytes &request) { slaves(request); });
    loseRequests(3);
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(4);
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    EXPECT_EQ(1, theEnd().acknowledged);
}

TEST_F(LinkWrites, ReplacedByANewerOne)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    link().write(TagDefinition(1, "4x20"), {1}, noted(0));
    link().write(tag, 7, noted(1));
    link().write(tag, 8, noted(2));
    steps(2);
    ASSERT_EQ(3u, ends.size());
    EXPECT_EQ(1, ends[0].first);
    EXPECT_EQ(WriteEnd::Replaced, ends[0].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[1].second.end);
    EXPECT_EQ(2, ends[2].first);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[2].second.end);
    EXPECT_EQ(2u, requests.size());
    EXPECT_EQ(8, held(9));
    EXPECT_EQ(8.0, tag.value().number());
}

TEST_F(LinkWrites, ReplacedOnesDoNotOvertakeWhatSharesTheirPlace)
{
    struct Case
    {
        const char *what;
        TagDefinition between;
        std::vector<double> numbers;
        std::uint16_t before; ///< in the slave when the last write is sent
    };
    TagDefinition pair(1, "4x9");
    pair.values = 2;
    const Case cases[] = {{"a longer write", pair, {3, 8}, 8},
                          {"a bit of the register", TagDefinition(1, "4x_bit10.3"), {1}, 8},
                          {"a write to all stations", TagDefinition(0, "4x10"), {8}, 8}};
    for (const Case &c : cases) {
        plant.poke(1, Table::HoldingRegisters, 9, 0);
        link().write(TagDefinition(1, "4x10"), {5});
        link().write(c.between, c.numbers);
        link().write(TagDefinition(1, "4x10"), {7});
        std::uint16_t lastSeen = 0;
        while (held(9) != 7 && link().step() == LinkStep::Done)
            lastSeen = held(9) == 7 ? lastSeen : held(9);
        EXPECT_EQ(c.before, lastSeen) << c.what;
        steps(5);
        EXPECT_EQ(7, held(9)) << c.what << ": what was asked for last";
    }
}

TEST_F(LinkWrites, PulsesAreNotReplaced)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "0x10"));
    WriteOptions on = noted(1);
    on.keep = true;
    link().write(tag, 1, on);
    link().write(tag, 0, noted(2));
    steps(2);
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("01 05 00 09 FF 00", text(requests[0]));
    EXPECT_EQ("01 05 00 09 00 00", text(requests[1]));
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::Acknowledged, ends[0].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[1].second.end);
}

TEST_F(LinkWrites, CancelledBeforeTheyAreSent)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    rtu::Write write = link().write(tag, 7, noted(1));
    EXPECT_TRUE(write.cancel());
    EXPECT_TRUE(ends.empty()) << "told on the link's thread only";
    steps(1);
    EXPECT_EQ(WriteEnd::Cancelled, theEnd().end);
    EXPECT_EQ("01 03 00 09 00 01", lastRequest());
    EXPECT_EQ(0.0, tag.value().number());
    EXPECT_FALSE(write.cancel());
}

TEST_F(LinkWrites, CannotBeCancelledOnceSent)
{
    loseRequests(1);
    rtu::Write write = link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_FALSE(write.cancel());
    steps(1);
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
}

TEST_F(LinkWrites, BroadcastToAllSlaves)
{
    plant.define(2, Table::HoldingRegisters, 0, 100);
    WriteOptions options = noted(1);
    options.readBack = true; // there is nobody to read it back from
    link().write(TagDefinition(0, "4x10"), {7}, options);
    steps(1);
    EXPECT_EQ(WriteEnd::Broadcast, theEnd().end);
    EXPECT_EQ(7, held(9));
    EXPECT_EQ(7, plant.peek(2, Table::HoldingRegisters, 9));
}

TEST_F(LinkWrites, KeptLocal)
{
    settings.localWritesOnly = true;
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    link().write(tag, 7, noted(1));
    steps(1);
    EXPECT_EQ(WriteEnd::KeptLocal, theEnd().end);
    EXPECT_EQ("01 03 00 09 00 01", lastRequest());
    EXPECT_EQ(7.0, tag.value().number());
    EXPECT_EQ(0, held(9));
    TagDefinition definition(1, "4x1");
    definition.values = 250;
    link().write(definition, std::vector<double>(250, 9), noted(2));
    steps(1);
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::KeptLocal, ends[1].second.end);
}

TEST_F(LinkWrites, ToADeadStationGetOneAttemptAndTheOthersEndAtOnce)
{
    link().addTag(TagDefinition(2, "4x10"));
    steps(3);
    requests.clear();
    link().write(TagDefinition(2, "4x10"), {1}, noted(1));
    link().write(TagDefinition(2, "4x11"), {2}, noted(2));
    link().write(TagDefinition(1, "4x12"), {3}, noted(3));
    steps(2);
    ASSERT_EQ(3u, ends.size());
    EXPECT_EQ(2, ends[0].first);
    EXPECT_EQ(WriteEnd::NotSent, ends[0].second.end);
    EXPECT_EQ(WriteEnd::Unconfirmed, ends[1].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[2].second.end);
    EXPECT_EQ(2u, requests.size());
}

TEST_F(LinkWrites, AGatewaysWordForSilenceIsNoRefusal)
{
    for (const char *silence : {"01 86 0B", "01 86 0A", "01 86 0B"})
        script.push_back([this, silence](const Bytes &) { line->receive(milliseconds(8), frame(silence)); });
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(3);
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    EXPECT_EQ(3u, requests.size());
}

TEST_F(LinkWrites, ASlaveThatAsksForPatienceIsAskedAgain)
{
    for (const char *patience : {"01 86 05", "01 86 06"})
        script.push_back([this, patience](const Bytes &) { line->receive(milliseconds(8), frame(patience)); });
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(3);
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    EXPECT_EQ(3u, requests.size());
}

TEST_F(LinkWrites, EndWithTheirLink)
{
    loseRequests(1);
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    link().write(TagDefinition(1, "4x11"), {7}, noted(2));
    steps(1);
    destroyLink();
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::Unconfirmed, ends[0].second.end) << "it was on the line";
    EXPECT_EQ(WriteEnd::NotSent, ends[1].second.end);
}

TEST_F(LinkWrites, OfSeveralPiecesEndWithTheirLinkAsFarAsTheyCame)
{
    TagDefinition many(1, "4x1");
    many.values = 250;
    link().write(many, std::vector<double>(250, 3), noted(1));
    steps(1);
    destroyLink();
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    EXPECT_EQ(120, theEnd().acknowledged);
}

TEST_F(LinkWrites, HandedToTheDriverAndNotSentEndWithTheirLinkAsNotSent)
{
    leaveOneWithTheDriver();
    destroyLink();
    ASSERT_EQ(11u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[10].second.end);
    EXPECT_EQ(0, held(10));
}

TEST_F(LinkWrites, TakenBackBeforeANewerOneAreCancelledNotReplaced)
{
    rtu::Write older = link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    EXPECT_TRUE(older.cancel());
    link().write(TagDefinition(1, "4x10"), {8}, noted(2));
    steps(1);
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::Cancelled, older.result().end);
    EXPECT_EQ(8, held(9));
    EXPECT_EQ(1u, requests.size());
}

TEST_F(LinkWrites, TakenBackAtOnceReplaceNothingAndAreNotShown)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    link().write(tag, 7, noted(1));
    EXPECT_TRUE(link().write(tag, 8, noted(2)).cancel());
    loseReplies(1);
    steps(1);
    EXPECT_EQ(7.0, tag.value().number());
    steps(1);
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(2, ends[0].first);
    EXPECT_EQ(WriteEnd::Cancelled, ends[0].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[1].second.end);
    EXPECT_EQ(7, held(9));
}

TEST_F(LinkWrites, OtherTagsOfTheSameRegistersShowThem)
{
    const rtu::Tag bit = link().addTag(TagDefinition(1, "4x_bit10.0"));
    const rtu::Tag word = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    link().write(word, 1, noted(1));
    steps(1);
    EXPECT_EQ(1.0, bit.value().number());
}

TEST_F(LinkWrites, OtherTagsOfTheSameRegistersAreUnconfirmedUntilItsEnd)
{
    const rtu::Tag bit = link().addTag(TagDefinition(1, "4x_bit10.0"));
    const rtu::Tag word = link().addTag(TagDefinition(1, "4x10"));
    const rtu::Tag neighbour = link().addTag(TagDefinition(1, "4x11"));
    steps(1);
    loseRequests(1);
    link().write(word, 1, noted(1));
    steps(1); // sent, and not answered
    EXPECT_EQ(1.0, bit.value().number());
    EXPECT_EQ(Quality::Unconfirmed, bit.value().quality);
    EXPECT_EQ(Quality::Good, neighbour.value().quality);
    steps(1); // again, and answered
    EXPECT_EQ(1.0, bit.value().number());
    EXPECT_EQ(Quality::Good, bit.value().quality);
}

TEST_F(LinkWrites, OtherTagsOfTheSameRegistersStayUnconfirmedWhereTheyMayHoldEither)
{
    settings.attempts = 1;
    const rtu::Tag bit = link().addTag(TagDefinition(1, "4x_bit10.0"));
    const rtu::Tag word = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    loseReplies(1);
    link().write(word, 1, noted(1));
    steps(1);
    ASSERT_EQ(1u, ends.size());
    EXPECT_NE(Quality::Good, bit.value().quality);
    run(std::chrono::seconds(10));
    EXPECT_EQ(1.0, bit.value().number());
    EXPECT_EQ(Quality::Good, bit.value().quality);
}

TEST_F(LinkWrites, OtherTagsOfTheSameRegistersAreGoodWhereItWasRefused)
{
    const rtu::Tag bit = link().addTag(TagDefinition(1, "4x_bit10.0"));
    const rtu::Tag word = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    script.push_back([this](const Bytes &) { line->receive(milliseconds(5), frame("01 86 02")); });
    link().write(word, 1, noted(1));
    steps(1);
    EXPECT_EQ(0.0, bit.value().number());
    EXPECT_EQ(Quality::Good, bit.value().quality);
}

TEST_F(LinkWrites, ReadsOfThePlanGoOnBetweenTen)
{
    link().addTag(TagDefinition(1, "4x100"));
    for (int i = 0; i < 25; ++i)
        link().write(TagDefinition(1, QString::fromLatin1("4x%1").arg(i + 1)), {1}, noted(i));
    steps(28);
    EXPECT_EQ(25u, ends.size());
    EXPECT_EQ(3, requests[10][1]);
    EXPECT_EQ(3, requests[21][1]);
}

TEST_F(LinkWrites, CannotBeAskedForByWhoIsToldOfTheEndOfTheLink)
{
    std::vector<std::string> words;
    rtu::Link *ending = &link();
    rtu::WriteOptions options;
    options.done = [&words, ending](const rtu::WriteResult &result) {
        EXPECT_EQ(rtu::WriteEnd::NotSent, result.end);
        words.push_back(refusalOf([&] { ending->write(TagDefinition(1, "4x10"), {8}); }));
        words.push_back(refusalOf([&] { ending->addTag(TagDefinition(1, "4x10")); }));
    };
    link().write(TagDefinition(1, "4x10"), {7}, options);
    destroyLink();
    EXPECT_EQ(std::vector<std::string>(2, "this link is being destroyed and takes no more requests"), words);
}

} // namespace
