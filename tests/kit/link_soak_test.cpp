// A link over a line on which everything goes wrong that a host can tell. No value comes
// from another place, each write is told its end once, and the end is true.
//
// MODBUS_STEPS=1000000 makes it a million frames a case; MODBUS_SEED chooses another run.

#include "kit/faulty_slaves.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>

namespace {

using namespace test_kit;
using namespace test_line;
using rtu::LinkStep;
using rtu::Quality;
using rtu::TagDefinition;
using rtu::WriteEnd;

/** A write of registers, and what has been heard of it. */
struct Asked
{
    rtu::Write handle;
    int station;
    int first;
    std::vector<std::uint16_t> values;
    int ends = 0;
};

TagDefinition registers(int station, const char *type, int first, int count)
{
    TagDefinition definition(station, QString::fromLatin1("%1%2").arg(QLatin1String(type)).arg(first + 1));
    definition.values = count;
    return definition;
}

class LinkSoak : public testing::TestWithParam<rtu::Echo>
{
protected:
    LinkSoak()
        : seed(static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 1)))
        , frames(static_cast<long>(support::environmentNumber("MODBUS_STEPS", 20000)))
        , random(seed + 1000)
        , slaves(LineHabits{milliseconds(200), milliseconds(200), GetParam() != rtu::Echo::Never}, seed)
    {
        rtu::LinkSettings settings;
        settings.driver = TEST_DRIVER;
        settings.replyTimeout = milliseconds(200);
        settings.lateReplyGuard = milliseconds(200);
        settings.maxWords = 16;
        settings.echo = GetParam() == rtu::Echo::Never ? rtu::Echo::Detect : GetParam();
        line = new VirtualLine;
        line->slave = [this](VirtualLine &where, const Bytes &request) { slaves.hear(where, request); };
        link.reset(new rtu::Link(settings, std::unique_ptr<rtu::Line>(line)));
        link->onChange([this](const rtu::TagChange &change) { look(change); });
        link->onTransaction([this](const rtu::Transaction &) { ++sent; });
        watch();
    }

    /** No two requests in a row to one station ask for as much: what no host can tell apart does not occur. */
    void watch()
    {
        for (int station = 1; station <= FaultySlaves::Stations; ++station) {
            tags.push_back(link->addTag(registers(station, "4x", 0, 4 + station)));
            tags.push_back(link->addTag(registers(station, "3x", 2, 10 + station)));
            TagDefinition slow = registers(station, "4x", 12, 2);
            slow.pace = std::chrono::seconds(1);
            tags.push_back(link->addTag(slow));
        }
    }

    void look(const rtu::TagChange &change)
    {
        const rtu::TagValue &now = change.after;
        const TagDefinition definition = change.tag.definition();
        const int first = definition.address.mid(2).toInt() - 1;
        if (now.quality == Quality::NeverRead || now.time == rtu::TimePoint())
            return;
        for (int i = 0; i < now.count(); ++i) {
            ++valuesSeen;
            if (!FaultySlaves::belongsTo(now.raw()[static_cast<std::size_t>(i)], definition.station, first + i))
                ADD_FAILURE() << "station " << definition.station << " " << definition.address.toStdString()
                              << " value " << i << " is " << std::hex << now.raw()[static_cast<std::size_t>(i)];
        }
    }

    void ask()
    {
        if (random.chance(75)) { // else to the same place as the last one, which may still wait
            place.station = random.between(1, FaultySlaves::Stations);
            place.count = random.chance(20) ? random.between(2, 24) : 1;
            place.first = random.below(FaultySlaves::BroadcastRegister - place.count);
        } else {
            place.count = 1; // the reply carries the value: those to as many registers twice are the same
        }
        const bool toAll = random.chance(5);
        std::unique_ptr<Asked> next(new Asked);
        Asked *const asked = next.get();
        asked->station = toAll ? 0 : place.station;
        asked->first = toAll ? int(FaultySlaves::BroadcastRegister) : place.first;
        const int values = toAll ? 1 : place.count;
        std::vector<double> numbers;
        ++version;
        for (int i = 0; i < values; ++i) {
            asked->values.push_back(FaultySlaves::value(place.station, asked->first + i, version));
            slaves.forget(asked->station, asked->first + i, asked->values.back());
            numbers.push_back(asked->values.back());
        }
        rtu::WriteOptions options;
        options.keep = random.chance(30);
        options.readBack = values == 1 && !toAll && random.chance(20);
        options.done = [this, asked](const rtu::WriteResult &result) { judge(*asked, result); };
        asked->handle = link->write(registers(asked->station, "4x", asked->first, values), numbers, options);
        writes.push_back(std::move(next));
        if (random.chance(5))
            asked->handle.cancel();
    }

    /** The first and the last value tell: pieces of a write go out in order. */
    bool reached(const Asked &asked) const
    {
        return slaves.carriedOut(asked.station, asked.first, asked.values.front());
    }
    bool reachedWhole(const Asked &asked) const
    {
        const int last = asked.first + static_cast<int>(asked.values.size()) - 1;
        return reached(asked) && slaves.carriedOut(asked.station, last, asked.values.back());
    }

    void judge(Asked &asked, const rtu::WriteResult &result)
    {
        ++asked.ends;
        ++ends[result.end];
        const bool none = result.end == WriteEnd::NotSent || result.end == WriteEnd::Replaced
                          || result.end == WriteEnd::Cancelled
                          || (result.end == WriteEnd::Refused && result.acknowledged == 0);
        EXPECT_FALSE(none && reached(asked)) << "end " << static_cast<int>(result.end) << ", but a slave has it";
        EXPECT_FALSE(result.end == WriteEnd::Acknowledged && !reachedWhole(asked))
            << "acknowledged by nobody: station " << asked.station << " register " << asked.first << " values "
            << asked.values.size() << ", acknowledged " << result.acknowledged;
    }

    /** Stations and the port come and go. */
    void mishaps(long turn)
    {
        if (turn % 700 == 0)
            slaves.switchStation(random.between(1, FaultySlaves::Stations), random.chance(50));
        if (turn % 9000 == 4500)
            line->plugged = false;
        if (turn % 9000 == 4520)
            line->plugged = true;
    }

    void trouble(long turn)
    {
        if (writes.size() - told < 20 && random.chance(12)) {
            ask();
            if (random.chance(30))
                ask();
        }
        if (random.chance(2)) {
            const int from = random.between(1, FaultySlaves::Stations);
            link->read(registers(from, "3x", random.below(8), 3 + ++reads % 6));
        }
        mishaps(turn);
        step();
    }

    void step()
    {
        if (link->step() != LinkStep::Done)
            line->advance(std::max(rtu::Duration(milliseconds(1)),
                                   std::min(rtu::Duration(milliseconds(300)), link->nextStep() - line->now())));
        for (; told < writes.size() && writes[told]->handle.ended(); ++told)
            EXPECT_EQ(1, writes[told]->ends);
        while (told > 100) { // kept for a while: a second end would show
            EXPECT_EQ(1, writes.front()->ends);
            writes.pop_front();
            --told;
        }
    }

    void calmDown(rtu::Duration time)
    {
        slaves.setFaulty(false);
        line->plugged = true;
        for (int station = 1; station <= FaultySlaves::Stations; ++station)
            slaves.switchStation(station, true);
        const rtu::TimePoint end = line->now() + time;
        while (line->now() < end && !HasFailure())
            step();
    }

    const std::uint32_t seed;
    const long frames;
    support::Random random;
    FaultySlaves slaves;
    VirtualLine *line = nullptr;
    std::deque<std::unique_ptr<Asked>> writes;
    std::size_t told = 0; ///< of the writes, from the front: ended
    struct
    {
        int station = 1;
        int first = 0;
        int count = 1;
    } place; ///< of the last write
    int version = 0;
    int reads = 0; ///< one-off
    long sent = 0; ///< frames
    long valuesSeen = 0;
    std::map<WriteEnd, long> ends;
    std::vector<rtu::Tag> tags;
    std::unique_ptr<rtu::Link> link; ///< goes first: it calls back until then
};

TEST_P(LinkSoak, BringsNoForeignValueAndTellsEachWriteItsEndOnce)
{
    SCOPED_TRACE("MODBUS_SEED=" + std::to_string(seed));
    calmDown(std::chrono::seconds(1)); // reads show the echo before the first write
    slaves.setFaulty(true);
    for (long turn = 1; sent < frames && !HasFailure(); ++turn)
        trouble(turn);
    calmDown(std::chrono::minutes(10));
    for (const rtu::Tag &tag : tags) {
        const rtu::TagValue value = tag.value();
        EXPECT_EQ(Quality::Good, value.quality)
            << "station " << tag.definition().station << " " << tag.definition().address.toStdString();
    }
    EXPECT_GT(slaves.faults, frames / 20);
    EXPECT_GT(valuesSeen, frames / 10);
    for (const WriteEnd end : {WriteEnd::Acknowledged, WriteEnd::Refused, WriteEnd::Unconfirmed, WriteEnd::NotSent,
                               WriteEnd::Replaced, WriteEnd::Cancelled, WriteEnd::Broadcast})
        EXPECT_GT(ends[end], 0) << "no write ended so: " << static_cast<int>(end);
    link.reset();
    for (const std::unique_ptr<Asked> &asked : writes)
        EXPECT_EQ(1, asked->ends);
}

INSTANTIATE_TEST_SUITE_P(Echoes, LinkSoak, testing::Values(rtu::Echo::Never, rtu::Echo::Detect, rtu::Echo::Always),
                         [](const testing::TestParamInfo<rtu::Echo> &named) {
                             return named.param == rtu::Echo::Never    ? "None"
                                    : named.param == rtu::Echo::Detect ? "Detected"
                                                                       : "Known";
                         });

} // namespace
