// Recipes end to end: rows registered by a host, written to slaves and read from
// them block by block.

#include "frames/recipe_fixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using support::adu;
using support::Change;
using support::Changes;
using support::keysOf;
using support::unitsText;
using support::wordChange;
using support::Words;
using support::wordsReply;

namespace {

class RecipeTransfer : public support::RecipeFixture
{
};

} // namespace

// --- to the slaves -------------------------------------------------------------------------

TEST_F(RecipeTransfer, BlocksAreWrittenOneAfterAnother)
{
    registerRows("1:4x 0+2@0 | 1:4x 2+1@2 | 1:4x 10+1@3 | 2:4x 5+2@4");
    setWords(0, {0x1111, 0x2222, 0x3333, 0x4444, 0x5555, 0x6666});
    slave(1);
    slave(2);
    EXPECT_EQ(transfer(BlockWriteRequest), 3);
    EXPECT_EQ(slave(1).holding(0, 4), Words({0x1111, 0x2222, 0x3333, 0}));
    EXPECT_EQ(slave(1).holding(10, 1), Words({0x4444}));
    EXPECT_EQ(slave(2).holding(5, 2), Words({0x5555, 0x6666}));
    EXPECT_EQ(slaves.requests[0], adu("01 10 00 00 00 03 06 11 11 22 22 33 33"));
    EXPECT_EQ(slaves.requests[1], adu("01 06 00 0A 44 44"));
    EXPECT_EQ(driver.rcpIndex, 0);
}

TEST_F(RecipeTransfer, WriteReportsAndCachesNothing)
{
    plan(keysOf("1:4x 0+2"));
    const int areas = static_cast<int>(driver.dataAreas.size());
    slave(1);
    registerRows("1:4x 0+2@0 | 1:4x 40+2@0");
    setWords(0, {1, 2});
    transfer(BlockWriteRequest);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(driver.dataAreas.size(), areas);
    EXPECT_EQ(getData(1, "4x", 0, 2, 4), support::payload("00 00 00 00"));
}

TEST_F(RecipeTransfer, MergedBlockIsWrittenFromThePlaceOfItsFirstRowOn)
{
    registerRows("1:4x 0+2@10 | 1:4x 2+2@50");
    setWords(10, {1, 2, 3, 4});
    setWords(50, {7, 8});
    slave(1);
    transfer(BlockWriteRequest);
    EXPECT_EQ(slave(1).holding(0, 4), Words({1, 2, 3, 4}));
}

TEST_F(RecipeTransfer, ChangedWordsAreTakenWhenTheirTurnComes)
{
    registerRows("1:4x 0+1@0 | 1:4x 10+1@1");
    setWords(0, {1, 2});
    slave(1);
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(1), "S");
    setWords(0, {8, 9});
    EXPECT_EQ(trace(1), "S");
    EXPECT_EQ(slave(1).holding(0, 1), Words({1}));
    EXPECT_EQ(slave(1).holding(10, 1), Words({9}));
}

TEST_F(RecipeTransfer, ResentBlockKeepsItsWords)
{
    registerRows("1:4x 0+1@0");
    setWords(0, {1});
    slave(1);
    raise(BlockWriteRequest);
    slaves.failNext(support::Silent);
    EXPECT_EQ(trace(1), "s");
    setWords(0, {8});
    EXPECT_EQ(trace(1), "S");
    EXPECT_EQ(slave(1).holding(0, 1), Words({1}));
}

TEST_F(RecipeTransfer, CoilRowsTakeOneByteABit)
{
    registerRows("1:0x 3+4@0");
    setWords(0, {0x0001, 0x0100});
    slave(1);
    transfer(BlockWriteRequest);
    EXPECT_EQ(slaves.requests[0], adu("01 0F 00 03 00 04 01 09"));
    EXPECT_EQ(slave(1).coils[3], 1);
    EXPECT_EQ(slave(1).coils[6], 1);
}

TEST_F(RecipeTransfer, BitRowsWriteTheirRegistersFromTheHostsWords)
{
    registerRows("1:4x_bit 37+4@0");
    setWords(0, {0x1234});
    slave(1).setHolding(2, {0xFFFF});
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(3), "SS-");
    EXPECT_EQ(slaves.requests[0], adu("01 03 00 02 00 01"));
    EXPECT_EQ(slaves.requests[1], adu("01 10 00 02 00 01 02 12 34"));
    EXPECT_EQ(slave(1).holding(2, 1), Words({0x1234})) << "not a change of bits: that is for host writes";
    EXPECT_EQ(area(1, "4x", 37).readValue, 0xFFFF) << "the read half counts as a read at the bit address";
    EXPECT_EQ(raised(BlockWriteRequest), 0);
}

// --- from the slaves -------------------------------------------------------------------------

TEST_F(RecipeTransfer, RowsAreReadToTheirOwnPlaces)
{
    registerRows("1:4x 0+2@10 | 1:4x 2+2@50 | 1:3x 7+1@60");
    slave(1).setHolding(0, {0x0102, 0x0304, 0x0506, 0x0708});
    slave(1).inputRegisters[7] = 0x0A0B;
    EXPECT_EQ(transfer(BlockReadRequest), 2);
    EXPECT_EQ(slaves.requests[0], adu("01 04 00 07 00 01"));
    EXPECT_EQ(slaves.requests[1], adu("01 03 00 00 00 04"));
    EXPECT_EQ(words(10, 4), Words({0x0102, 0x0304, 0, 0}));
    EXPECT_EQ(words(50, 2), Words({0x0506, 0x0708}));
    EXPECT_EQ(words(60, 1), Words({0x0A0B}));
}

TEST_F(RecipeTransfer, EveryWordIsReportedChangedOrNot)
{
    registerRows("1:4x 0+2@10 | 1:4x 2+1@50");
    slave(1).setHolding(0, {7, 8, 9});
    transfer(BlockReadRequest);
    EXPECT_EQ(recorder.take(), Changes({wordChange(10), wordChange(11), wordChange(50)}));
    transfer(BlockReadRequest);
    EXPECT_EQ(recorder.take(), Changes({wordChange(10), wordChange(11), wordChange(50)}));
}

TEST_F(RecipeTransfer, ReadFillsTheCacheFirst)
{
    plan(keysOf("1:4x 1+1"));
    registerRows("1:4x 0+2@10");
    EXPECT_EQ(readBlock(wordsReply(1, 3, {7, 8})), ReplyAccepted);
    const Change monitored = {Link, 1, QString::fromLatin1("4x"), 1};
    EXPECT_EQ(recorder.take(), Changes({monitored, wordChange(10), wordChange(11)}));
    EXPECT_EQ(area(1, "4x", 0).readValue, 7);
    EXPECT_EQ(area(1, "4x", 1).readValue, 8);
}

TEST_F(RecipeTransfer, WordsAreStoredAndReportedOneByOne)
{
    registerRows("1:4x 0+2@10");
    std::vector<Words> seen;
    recorder.hook = [&](const Change &) { seen.push_back(words(10, 2)); };
    readBlock(wordsReply(1, 3, {7, 8}));
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], Words({7, 0}));
    EXPECT_EQ(seen[1], Words({7, 8}));
}

TEST_F(RecipeTransfer, BothWordsOfADoubleAreStoredBeforeTheyAreReported)
{
    registerRows("1:4x_double 0+2@10");
    std::vector<Words> seen;
    recorder.hook = [&](const Change &) { seen.push_back(words(10, 2)); };
    readBlock(wordsReply(1, 3, {7, 8}));
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], Words({8, 7}));
}

TEST_F(RecipeTransfer, OverlappingRowsShareTheirRegisters)
{
    registerRows("1:4x 0+4@0 | 1:4x 2+4@100 | 1:4x 2+1@200");
    ASSERT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+6");
    slave(1).setHolding(0, {1, 2, 3, 4, 5, 6});
    transfer(BlockReadRequest);
    EXPECT_EQ(words(0, 4), Words({1, 2, 3, 4}));
    EXPECT_EQ(words(100, 4), Words({3, 4, 5, 6}));
    EXPECT_EQ(words(200, 1), Words({3}));
}

TEST_F(RecipeTransfer, ReadStoresNothingForRowsOfOtherLinks)
{
    QVector<_RCP_VAR_PRO> rows = support::rowsOf(Link, "1:4x 0+1@0");
    rows << support::rowsOf(Link + 1, "1:4x 1+1@1")[0];
    EXPECT_EQ(intf_setRcpAddress(&rows), 1);
    slave(1).setHolding(0, {7, 8});
    transfer(BlockReadRequest);
    EXPECT_EQ(words(0, 2), Words({7, 0}));
}

// --- many blocks ---------------------------------------------------------------------------------

TEST_F(RecipeTransfer, ManyBlocksGoThereAndBack)
{
    std::string rows;
    Words values;
    for (int i = 0; i < 60; ++i) {
        rows += (i == 0 ? "" : " | ") + std::to_string(1 + i % 3) + ":4x " + std::to_string(i * 7) + "+3@"
                + std::to_string(i * 3);
        for (int j = 0; j < 3; ++j)
            values.push_back(1000 + i * 3 + j);
    }
    EXPECT_EQ(registerRows(rows), 60);
    setWords(0, values);
    for (int station = 1; station <= 3; ++station)
        slave(station);
    EXPECT_EQ(transfer(BlockWriteRequest), 60);
    EXPECT_EQ(slave(2).holding(7, 3), Words({1003, 1004, 1005}));
    setWords(0, Words(180, 0));
    EXPECT_EQ(transfer(BlockReadRequest), 60);
    EXPECT_EQ(words(0, 180), values);
}

TEST_F(RecipeTransfer, RowLongerThanTheLimitIsOneRequest)
{
    registerRows("1:4x 0+120@0");
    slave(1).setHolding(0, Words(120, 0x1234));
    EXPECT_EQ(transfer(BlockReadRequest), 1);
    EXPECT_EQ(words(0, 121), [] {
        Words all(121, 0x1234);
        all[120] = 0;
        return all;
    }());
}

// --- failures --------------------------------------------------------------------------------------

TEST_F(RecipeTransfer, FailureInTheMiddleAbandonsTheTransfer)
{
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        registerRows("1:4x 0+1@0 | 2:4x 4+2@1 | 3:4x 0+1@3");
        slave(1);
        slave(3);
        slaves.requests.clear();
        raise(requestByte);
        const char letter = requestByte == BlockWriteRequest ? 'S' : 'L';
        const char failed = requestByte == BlockWriteRequest ? 's' : 'l';
        EXPECT_EQ(trace(1), std::string(1, letter));
        EXPECT_EQ(driver.rcpIndex, 1);
        EXPECT_EQ(trace(3), std::string(3, failed));
        EXPECT_EQ(errorText, QString::fromLatin1("R,2#4x5(2)"));
        EXPECT_EQ(raised(requestByte), 0);
        EXPECT_EQ(driver.rcpIndex, 0);
        EXPECT_EQ(trace(1), "-") << "the third block is not tried";
        EXPECT_EQ(slaves.requests.size(), 4u);
    }
}

TEST_F(RecipeTransfer, FailedReadMarksItsAreasAndKeepsTheWords)
{
    registerRows("2:4x 4+2@1");
    setWords(1, {7, 8});
    raise(BlockReadRequest);
    EXPECT_EQ(trace(3), "lll");
    EXPECT_EQ(area(2, "4x", 4).errorFlag, 1);
    EXPECT_EQ(area(2, "4x", 5).errorFlag, 1);
    EXPECT_EQ(words(1, 2), Words({7, 8}));
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(RecipeTransfer, FailedWriteReportsNoWrite)
{
    registerRows("2:4x 4+1@1");
    makeArea(2, "4x", 4).wordMonitor = 1;
    makeArea(2, "4x", 4).writtenFlag = 1;
    makeArea(2, "4x", 4).writtenValue = 9;
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(3), "sss");
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(2, "4x", 4).writtenFlag, 1);
    EXPECT_EQ(area(2, "4x", 4).errorFlag, 0);
}

TEST_F(RecipeTransfer, TransferAfterAFailureStartsFromTheFirstBlock)
{
    registerRows("1:4x 0+1@0 | 2:4x 4+2@1");
    slave(1);
    raise(BlockReadRequest);
    EXPECT_EQ(trace(4), "Llll");
    slave(2);
    EXPECT_EQ(transfer(BlockReadRequest), 2);
}

TEST_F(RecipeTransfer, FailedWriteLetsTheReadThatWaitsGoOn)
{
    registerRows("1:4x 0+1@0 | 2:4x 4+2@1");
    slave(1);
    raise(BlockWriteRequest);
    raise(BlockReadRequest);
    EXPECT_EQ(trace(9), "SsssLlll-");
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(raised(BlockReadRequest), 0);
}

// --- registrations in between ------------------------------------------------------------------------

TEST_F(RecipeTransfer, BlocksOfTheLastMatchAreWrittenAfterARegistrationWithoutOne)
{
    registerRows("1:4x 0+1@0 | 1:4x 10+1@1");
    EXPECT_EQ(registerRows("1:4x 50+1@0", Link + 1), 0);
    setWords(0, {7, 8});
    slave(1);
    EXPECT_EQ(transfer(BlockWriteRequest), 2);
    EXPECT_EQ(slave(1).holding(0, 1), Words({7}));
    EXPECT_EQ(slave(1).holding(10, 1), Words({8}));
}

TEST_F(RecipeTransfer, WithoutRowsABlockReadStoresNothingInTheHost)
{
    registerRows("1:4x 0+1@0 | 1:4x 10+1@1");
    registerRows("1:4x 50+1@0", Link + 1);
    slave(1).setHolding(0, {7});
    EXPECT_EQ(transfer(BlockReadRequest), 2);
    EXPECT_EQ(words(0, 2), Words({0, 0}));
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 0).readValue, 7) << "the cache is filled all the same";
}

TEST_F(RecipeTransfer, TransferStoppedByARegistrationGoesOnAtItsPosition)
{
    registerRows("1:4x 0+1@0 | 1:4x 10+1@1 | 1:4x 20+1@2");
    slave(1);
    raise(BlockReadRequest);
    EXPECT_EQ(trace(1), "L");
    registerRows("1:4x 100+1@0 | 1:4x 110+1@1 | 1:4x 120+1@2");
    EXPECT_EQ(trace(3), "LL-");
    EXPECT_EQ(slaves.requests[1], adu("01 03 00 6E 00 01"));
    EXPECT_EQ(slaves.requests[2], adu("01 03 00 78 00 01"));
}

TEST_F(RecipeTransfer, PositionBehindTheNewBlocksRepeatsTheLastOneAndEnds)
{
    registerRows("1:4x 0+1@0 | 1:4x 10+1@1 | 1:4x 20+1@2");
    slave(1);
    raise(BlockReadRequest);
    EXPECT_EQ(trace(2), "LL");
    registerRows("1:4x 100+1@0");
    recorder.take();
    EXPECT_EQ(trace(2), "L-");
    EXPECT_EQ(slaves.requests[2], slaves.requests[1]);
    EXPECT_EQ(recorder.take(), Changes()) << "no rows belong to it";
    EXPECT_EQ(driver.rcpIndex, 0);
}

TEST_F(RecipeTransfer, RowsRegisteredWhileABlockIsReadTakeItsReply)
{
    registerRows("1:4x 0+2@0");
    raise(BlockReadRequest);
    nextFrame();
    registerRows("1:4x 100+1@5 | 1:4x 101+1@9 | 1:4x 102+3@20");
    EXPECT_EQ(deal(wordsReply(1, 3, {7, 8})), ReplyAccepted);
    EXPECT_EQ(words(5, 1), Words({7}));
    EXPECT_EQ(words(9, 1), Words({8}));
    EXPECT_EQ(words(21, 2), Words({0, 0}));
    EXPECT_EQ(words(0, 2), Words({0, 0}));
}

TEST_F(RecipeTransfer, RegistrationInsideTheCallbackIsSurvived)
{
    registerRows("1:4x 0+2@0 | 1:4x 2+2@2");
    recorder.hook = [this](const Change &) { registerRows("9:3x 0+1@0"); };
    EXPECT_EQ(readBlock(wordsReply(1, 3, {1, 2, 3, 4})), ReplyAccepted);
    EXPECT_EQ(words(0, 4), Words({1, 2, 3, 4}));
}

// The rows are those that were registered when the reply came, also where a
// register of the block is reported before the first word is.
TEST_F(RecipeTransfer, RowsRegisteredInTheReportOfARegisterDoNotTakeTheReply)
{
    plan(keysOf("1:4x 0+4"));
    registerRows("1:4x 0+2@0 | 1:4x 2+2@2");
    int registrations = 0;
    recorder.hook = [&](const Change &seen) {
        if (seen.regType == QLatin1String("RWI"))
            return;
        ++registrations;
        registerRows("1:4x 0+1@20 | 1:4x 1+1@21 | 1:4x 2+1@22 | 1:4x 3+1@23");
    };
    EXPECT_EQ(readBlock(wordsReply(1, 3, {1, 2, 3, 4})), ReplyAccepted);
    EXPECT_EQ(registrations, 4);
    EXPECT_EQ(words(0, 4), Words({1, 2, 3, 4}));
    EXPECT_EQ(words(20, 4), Words({0, 0, 0, 0}));
    EXPECT_EQ(wordReports(), Changes({wordChange(0), wordChange(1), wordChange(2), wordChange(3)}));
}

// --- what cannot be, and must not hurt -----------------------------------------------------------------

// Weights are unsigned, so addresses below zero sort behind the others.
TEST_F(RecipeTransfer, RowsBeforeTheFirstOfTheirBlockReadNothingOutsideTheReply)
{
    registerRows("0:4x_bit 0+2@0 | 0:4x_bit -900+2@4 | 0:4x_bit -2+2@6 | 0:4x_bit -1+2@8");
    ASSERT_EQ(unitsText(driver.rcpBlocks), "0:4x_bit 0+2");
    driver.rcpBlocks[0].station = 1;
    EXPECT_EQ(readBlock(wordsReply(1, 3, {0x1234, 0x5678})), ReplyAccepted);
    EXPECT_EQ(words(0, 2), Words({0x5678, 0x1234}));
    EXPECT_EQ(words(4, 2), Words({0, 0}));
    EXPECT_EQ(words(6, 2), Words({0x0304, 0x0001})) << "the reply from its first byte on";
    EXPECT_EQ(words(8, 2), Words({0x1234, 0x0304}));
}

// Twice the distance is no 32-bit number: were it cut down to one, the row would begin inside the reply.
TEST_F(RecipeTransfer, ARowAsFarBelowTheFirstAsNumbersGoReadsNothing)
{
    registerRows("1:4x 5+3@270 | 1:4x -2147483640+2@224");
    ASSERT_EQ(unitsText(driver.rcpBlocks), "1:4x 5+3");
    setWords(224, {7});
    EXPECT_EQ(readBlock(wordsReply(1, 3, {1, 2, 3})), ReplyAccepted);
    EXPECT_EQ(words(270, 3), Words({1, 2, 3}));
    EXPECT_EQ(words(224, 2), Words({0, 0}));
}

TEST_F(RecipeTransfer, BlockPositionsBeyondTheRowsAreSurvived)
{
    registerRows("1:4x 0+2@0 | 1:4x 10+2@2");
    driver.rcpBlockStarts[1] = 7;
    slave(1).setHolding(0, {1, 2});
    EXPECT_EQ(transfer(BlockReadRequest), 2);
    EXPECT_EQ(words(0, 2), Words({1, 2}));
}

// --- without a source: a slave must never get words that no host gave ------------------------

TEST_F(RecipeTransfer, WithoutAWordBufferNothingIsWritten)
{
    int status = -1;
    intf_initProperty(hostArea.data(), 0, nullptr, &status, "3#0#0#3#100", &hostMutex);
    registerRows("1:4x 0+2@0 | 1:4x_double 10+2@2");
    plan(keysOf("1:3x 5+1"));
    slave(1).setHolding(0, {1, 2});
    raise(BlockWriteRequest);
    EXPECT_EQ(nextRequest(), adu("01 04 00 05 00 01")) << "polling goes on at once";
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(raised(BlockReadRequest), 0);
    EXPECT_EQ(driver.rcpIndex, 0);
    EXPECT_EQ(slave(1).holding(0, 2), Words({1, 2}));
}

TEST_F(RecipeTransfer, WithoutAWordBufferABlockReadGoesOn)
{
    int status = -1;
    intf_initProperty(hostArea.data(), 0, nullptr, &status, "3#0#0#3#100", &hostMutex);
    registerRows("1:4x 0+2@0 | 1:4x_double 10+2@2");
    slave(1);
    EXPECT_EQ(transfer(BlockReadRequest), 2);
    EXPECT_EQ(wordReports().size(), 4u);
}

TEST_F(RecipeTransfer, WriteWithoutASourceMakesWayForTheReadThatWaits)
{
    int status = -1;
    intf_initProperty(hostArea.data(), 0, nullptr, &status, "3#0#0#3#100", &hostMutex);
    registerRows("1:4x 0+2@0");
    raise(BlockWriteRequest);
    raise(BlockReadRequest);
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 02"));
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(raised(BlockReadRequest), 1);
}

TEST_F(RecipeTransfer, RowBeforeTheStartOfTheBufferEndsTheWrite)
{
    registerRows("1:4x 0+2@0 | 1:4x 10+2@-1 | 1:4x 20+2@4");
    setWords(0, {0x1111, 0x2222});
    slave(1).setHolding(10, {7, 8});
    EXPECT_EQ(transfer(BlockWriteRequest), 2) << "the block before it is written, then nothing is";
    EXPECT_EQ(slave(1).holding(0, 2), Words({0x1111, 0x2222}));
    EXPECT_EQ(slave(1).holding(10, 2), Words({7, 8}));
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(driver.rcpIndex, 0);
    setWords(0, {0x3333});
    EXPECT_EQ(transfer(BlockWriteRequest), 2);
    EXPECT_EQ(slave(1).holding(0, 1), Words({0x3333})) << "the next transfer begins with the first block";
}

TEST_F(RecipeTransfer, RowsOfNoBitsAreWrittenAndTheTransferEnds)
{
    registerRows("1:4x_bit 32+0@0 | 1:4x_bit 320+1@0");
    slave(1);
    raise(BlockWriteRequest);
    EXPECT_EQ(nextRequest(), adu("01 03 00 02 00 00"));
    EXPECT_EQ(deal(adu("01 03 00")), ReplyAccepted);
    EXPECT_EQ(nextRequest(), adu("01 10 00 02 00 00 00"));
    EXPECT_EQ(deal(adu("01 10 00 02 00 00")), ReplyAccepted);
    EXPECT_EQ(nextRequest(), adu("01 03 00 14 00 01")) << "the next block";
}

TEST_F(RecipeTransfer, BlocksLongerThanAFrameAreSurvived)
{
    init("3#0#0#1#2000");
    registerRows("1:4x 0+2000@0 | 2:4x_double 0+900@0 | 3:4x 0+127@0 | 4:0x 0+1500@0");
    raise(BlockWriteRequest);
    slave(3);
    for (int i = 0; i < 20 && raised(BlockWriteRequest) != 0; ++i) {
        const FRAME_PRO frame = nextFrame();
        ASSERT_LE(frame.frameLen, 1024);
        deal(support::writeEcho(frame));
    }
    EXPECT_EQ(raised(BlockWriteRequest), 0);
}
