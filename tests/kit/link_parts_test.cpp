// The parts of a link by themselves, where no link would take them.

#include "kit/poll/paced_reads.h"
#include "kit/poll/poller.h"
#include "kit/link/write_queue.h"
#include "kit/transfer/read_queue.h"
#include "kit/transfer/transfer_queue.h"
#include "support/virtual_line.h"

#include <gtest/gtest.h>

namespace {

using namespace test_line;

/** Has nothing for the driver, whatever it says. */
class IdleClient : public rtu::PollClient
{
public:
    bool saysFed = false;
    bool saysHanded = false;
    int aways = 0;
    rtu::TimePoint next = rtu::TimePoint::max();

    bool feed() override { return saysFed; }
    rtu::TimePoint nextFeed() override { return next; }
    bool handed() const override { return saysHanded; }
    bool transferring() const override { return false; }
    void frameDone(const rtu::Transaction &) override { ADD_FAILURE() << "nothing was to be sent"; }
    void requestDone(const rtu::RequestEnd &) override { ADD_FAILURE() << "nothing was asked for"; }
    void writeWithdrawn(const rtu::Area &) override { ADD_FAILURE() << "nothing was to be written"; }
    void roundDone() override { ADD_FAILURE() << "there is no plan"; }
    void stationSilent(int) override { ADD_FAILURE() << "nobody was asked"; }
    void stationBack(int) override { ADD_FAILURE() << "nobody was asked"; }
    void portChanged(bool) override {}
    void portAway() override { ++aways; }
};

class LinkPartsTest : public testing::Test
{
protected:
    LinkPartsTest()
        : driver(TEST_DRIVER, rtu::LibraryUse::OwnCopy)
        , tags(driver, settings.maxWords, [](const rtu::TagChange &) {})
        , parts{settings, driver, line, tags, events}
    {
        int status = 0;
        driver.initProperty(memory.area(), 0, memory.words(), &status, "1#0#0#3#120#0", memory.mutex());
    }

    ~LinkPartsTest() override
    {
        int status = 0;
        driver.initProperty(nullptr, 0, nullptr, &status, "", nullptr);
    }

    rtu::LinkSettings settings;
    VirtualLine line;
    rtu::DriverLibrary driver;
    rtu::BlockMemory memory;
    rtu::WatchedTags tags;
    rtu::Events events;
    rtu::LinkParts parts;
};

TEST_F(LinkPartsTest, EndsOfRequestsThatNobodyAskedForChangeNothing)
{
    rtu::RequestEnd end;
    end.area = rtu::areaOf(1, QString::fromLatin1("4x"), 0, 1);
    rtu::WriteQueue writes(parts);
    rtu::ReadQueue reads(parts);
    rtu::TransferQueue transfers(parts, memory, 1);
    rtu::StationHealth health(settings);
    rtu::PacedReads paced(parts, health);
    writes.requestDone(end);
    writes.readBackDone(nullptr, line.now());
    reads.requestDone(end);
    transfers.requestDone(end);
    paced.requestDone(end);
    EXPECT_FALSE(writes.handed() || reads.handed() || transfers.underWay() || paced.underWay());
    EXPECT_FALSE(writes.feed() || reads.feed() || transfers.feed() || paced.feed());
    EXPECT_EQ(rtu::TimePoint::max(), paced.nextDue());
}

TEST_F(LinkPartsTest, ATransferUnderWayIsNeitherHandedTwiceNorEndedByAPortThatIsAway)
{
    rtu::RegisterCatalog catalog(driver);
    const rtu::TransferJobPtr job = std::make_shared<rtu::TransferJob>();
    job->lock = std::make_shared<rtu::LinkLock>();
    job->kind = rtu::TransferKind::Save;
    job->layouts.push_back(std::make_shared<rtu::TagLayout>(
        driver, catalog, rtu::TagDefinition(1, QString::fromLatin1("4x1")), rtu::TagUse::Read));
    job->raw.resize(1);
    rtu::TransferQueue transfers(parts, memory, 1);
    transfers.accept(job);
    EXPECT_TRUE(transfers.feed());
    EXPECT_TRUE(transfers.feed());
    transfers.portAway();
    EXPECT_TRUE(transfers.underWay());
    EXPECT_FALSE(job->ended());
    transfers.endAll(false);
    EXPECT_TRUE(job->ended());
}

TEST_F(LinkPartsTest, AReadThatEndsUnreadCanNoLongerBeTakenBack)
{
    rtu::RegisterCatalog catalog(driver);
    const rtu::ReadJobPtr job = std::make_shared<rtu::ReadJob>();
    job->lock = std::make_shared<rtu::LinkLock>();
    job->layout = std::make_shared<rtu::TagLayout>(driver, catalog, rtu::TagDefinition(1, QString::fromLatin1("4x1")),
                                                   rtu::TagUse::Read);
    bool takenBack = true;
    job->inside = [&](const rtu::ReadResult &) { takenBack = job->cancel(); };
    rtu::ReadQueue reads(parts);
    reads.accept(job);
    reads.stationSilent(1);
    EXPECT_FALSE(takenBack) << "its caller would be told otherwise";
    EXPECT_EQ(rtu::ReadEnd::NotTried, job->outcome().end);
    job->inside = nullptr;
}

TEST_F(LinkPartsTest, ADriverWithNothingToSendIsLeftInPeace)
{
    IdleClient client;
    rtu::Poller poller(driver, line, settings, client);
    client.saysFed = true;
    client.next = line.now() + milliseconds(70);
    EXPECT_EQ(rtu::PollStep::Idle, poller.step());
    EXPECT_EQ(line.now() + milliseconds(70), poller.nextStep());
    client.saysHanded = true;
    line.plugged = false;
    EXPECT_EQ(rtu::PollStep::NoPort, poller.step());
    EXPECT_EQ(1, client.aways);
    poller.settle();
    EXPECT_TRUE(line.sent.empty());
}

// --- areas -----------------------------------------------------------------------------

struct TwoAreas
{
    const char *name;
    int station;
    const char *regType;
    int first;
    int count;
    bool covered; ///< by ten registers of station 1 from 10 on
    bool overlapped;
};

std::ostream &operator<<(std::ostream &out, const TwoAreas &areas)
{
    return out << areas.name;
}

class AreaPairs : public testing::TestWithParam<TwoAreas>
{
};

TEST_P(AreaPairs, KnowWhatTheyShare)
{
    const rtu::Area ten = rtu::areaOf(1, QString::fromLatin1("4x"), 10, 10);
    const TwoAreas &other = GetParam();
    const rtu::Area area = rtu::areaOf(other.station, QString::fromLatin1(other.regType), other.first, other.count);
    EXPECT_EQ(other.covered, ten.covers(area));
    EXPECT_EQ(other.overlapped, ten.overlaps(area));
    EXPECT_EQ(other.overlapped, area.overlaps(ten));
}

TEST(Areas, OfBitsAreTheRegistersThatTheyTouch)
{
    const int places[][4] = {{0, 1, 0, 1},   {15, 1, 0, 1},  {15, 2, 0, 2},   {16, 16, 1, 1},
                             {17, 16, 1, 2}, {31, 18, 1, 3}, {800, 1, 50, 1}, {0, 1920, 0, 120}};
    for (const auto &place : places) {
        const rtu::Area area = rtu::areaOf(7, QString::fromLatin1("3x_bit"), place[0], place[1]);
        EXPECT_EQ(7, area.station);
        EXPECT_EQ("3x", area.regType().toStdString());
        EXPECT_EQ(place[2], area.first) << place[0];
        EXPECT_EQ(place[3], area.count) << place[0];
        EXPECT_FALSE(area.isBits());
    }
    EXPECT_TRUE(rtu::areaOf(7, QString::fromLatin1("1x"), 5, 1).isBits());
}

INSTANTIATE_TEST_SUITE_P(All, AreaPairs,
                         testing::Values(TwoAreas{"same", 1, "4x", 10, 10, true, true},
                                         TwoAreas{"inside", 1, "4x_double", 12, 2, true, true},
                                         TwoAreas{"before", 1, "4x", 0, 10, false, false},
                                         TwoAreas{"behind", 1, "4x", 20, 1, false, false},
                                         TwoAreas{"overTheFront", 1, "4x", 9, 2, false, true},
                                         TwoAreas{"overTheEnd", 1, "4x", 19, 2, false, true},
                                         TwoAreas{"otherStation", 2, "4x", 10, 1, false, false},
                                         TwoAreas{"otherTable", 1, "3x", 10, 1, false, false},
                                         TwoAreas{"bitsInside", 1, "4x_bit", 175, 145, true, true},
                                         TwoAreas{"bitsOverTheEnd", 1, "4x_bit", 319, 2, false, true}));

} // namespace
