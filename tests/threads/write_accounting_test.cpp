// Where writes to the same place replace each other in the queue, and where the
// queue is full: which writes of many threads reach the line, counted one by one.

#include "threads/panel.h"
#include "threads/write_source.h"

#include <atomic>
#include <memory>

namespace {

using threads::HostWrite;
using threads::Panel;

// --- replaced writes ------------------------------------------------------------------

/** One place that several threads write to again and again. */
struct Place
{
    int station;
    const char *regType;
    int address;
    int count;
    std::mutex order;        ///< the host's: who holds it gives out the next tag and calls the driver
    std::vector<int> issued; ///< tags in the order of the calls; under order
    std::vector<int> ended;  ///< tags in the order in which they ended; the poll loop's
    threads::WriteEnd lastEnd;

    Place(int slave, const char *type, int first, int elements)
        : station(slave)
        , regType(type)
        , address(first)
        , count(elements)
        , lastEnd(threads::StillOpen)
    {
    }
};

class ReplacedWrites : public ::testing::Test
{
protected:
    enum { Threads = 4, WritesBefore = 50, WritesDuring = 600 };

    ReplacedWrites() : panel(15), acknowledged(0), failed(0)
    {
        for (int station = 1; station <= 3; ++station) {
            panel.slaves.station(station);
            add(station, "0x", 0, 1);
            add(station, "0x", 10, 5);
            add(station, "4x", 0, 1);
            add(station, "4x", 10, 6);
            add(station, "4x_bit", 100 * 16 + 3, 1);
            add(station, "4x_bit", 101 * 16 + 9, 12);
            add(station, "4x_double", 200, 4);
        }
        panel.planReads({1, 2, 3});
        panel.onWriteEnd = [this](const VARIABLE &unit, threads::WriteEnd end) { noteEnd(unit.userData, end); };
    }

    void add(int station, const char *regType, int address, int count)
    {
        places.emplace_back(new Place(station, regType, address, count));
    }

    int placeCount() const { return static_cast<int>(places.size()); }

    // A tag is the place plus a multiple of the number of places.
    Place &placeOf(int tag) { return *places[static_cast<size_t>(tag % placeCount())]; }

    HostWrite writeOf(int tag);
    void writeTo(int number);
    void writeMany(int seed, int number);
    void noteEnd(int tag, threads::WriteEnd end);

    Panel panel;
    std::vector<std::unique_ptr<Place>> places;
    long acknowledged;
    long failed;
};

/** The data of a write tells its tag, as far as it has room for it. */
HostWrite ReplacedWrites::writeOf(int tag)
{
    const Place &place = placeOf(tag);
    HostWrite write = {tag, place.station, place.regType, place.address, place.count, std::vector<unsigned char>()};
    const std::string type = place.regType;
    const bool bits = type == "0x" || type == "4x_bit";
    const int sequence = tag / placeCount();
    for (int i = 0; i < 2 * place.count; ++i)
        write.data.push_back(
            static_cast<unsigned char>(bits ? sequence >> (i % place.count) & 1 : sequence >> (i % 2 * 8) & 0xFF));
    return write;
}

void ReplacedWrites::writeTo(int number)
{
    Place &place = *places[static_cast<size_t>(number)];
    const std::lock_guard<std::mutex> locked(place.order);
    const int tag = static_cast<int>(place.issued.size() + 1) * placeCount() + number;
    place.issued.push_back(tag);
    threads::handToDriver(writeOf(tag));
}

void ReplacedWrites::writeMany(int seed, int number)
{
    support::Random random(static_cast<std::uint32_t>(seed));
    for (int i = 0; i < number; ++i)
        writeTo(random.below(placeCount()));
}

void ReplacedWrites::noteEnd(int tag, threads::WriteEnd end)
{
    Place &place = placeOf(tag);
    place.ended.push_back(tag);
    place.lastEnd = end;
    ++(end == threads::Acknowledged ? acknowledged : failed);
}

TEST_F(ReplacedWrites, OnlyGiveWayToNewerOnesOfTheSamePlace)
{
    const auto writeFromThreads = [this](int number) {
        std::vector<std::thread> writers;
        for (int seed = 1; seed <= Threads; ++seed)
            writers.emplace_back([this, seed, number] { writeMany(seed, number); });
        for (std::thread &writer : writers)
            writer.join();
    };
    // Before anything is sent, all but the first and the newest of a place must give way.
    writeFromThreads(WritesBefore);
    panel.startPolling();
    writeFromThreads(WritesDuring);
    panel.finishPolling();

    long issued = 0;
    long replaced = 0;
    for (const std::unique_ptr<Place> &place : places) {
        SCOPED_TRACE(std::string(place->regType) + " " + std::to_string(place->address) + " of station "
                     + std::to_string(place->station));
        issued += static_cast<long>(place->issued.size());
        ASSERT_FALSE(place->ended.empty());
        // In order, none twice, the newest never lost: every other one was
        // replaced by a newer one that ended.
        for (size_t i = 1; i < place->ended.size(); ++i)
            ASSERT_LT(place->ended[i - 1], place->ended[i]);
        ASSERT_EQ(place->ended.back(), place->issued.back());
        replaced += static_cast<long>(place->issued.size() - place->ended.size());
    }
    EXPECT_EQ(issued, Threads * (WritesBefore + WritesDuring));
    EXPECT_EQ(acknowledged + failed + replaced, issued);
    EXPECT_GE(replaced, Threads * WritesBefore - 2 * placeCount());
    EXPECT_EQ(acknowledged, panel.counts.intactAcknowledgements);
    EXPECT_EQ(failed, panel.counts.writeFailureTexts);
}

TEST_F(ReplacedWrites, LeaveTheNewestValueInSlaveAndCache)
{
    panel.startPolling();
    std::vector<std::thread> writers;
    for (int seed = 1; seed <= Threads; ++seed)
        writers.emplace_back([this, seed] { writeMany(seed, WritesDuring); });
    for (std::thread &writer : writers)
        writer.join();
    panel.finishPolling();

    int checked = 0;
    for (const std::unique_ptr<Place> &place : places) {
        if (place->lastEnd != threads::Acknowledged || std::string(place->regType) != "4x")
            continue;
        ++checked;
        const HostWrite newest = writeOf(place->issued.back());
        std::vector<unsigned char> cached(newest.data.size(), 0);
        QString type = QString::fromLatin1("4x");
        intf_getData(place->station, &type, place->address, place->count, cached.data());
        EXPECT_EQ(cached, newest.data);
        const std::vector<int> held = panel.slaves.station(place->station).holding(place->address, place->count);
        for (size_t i = 0; i < held.size(); ++i)
            EXPECT_EQ(held[i], newest.data[2 * i] | newest.data[2 * i + 1] << 8);
    }
    EXPECT_GT(checked, 0);
}

// --- a full queue ---------------------------------------------------------------------

TEST(FullQueue, KeepsTheFirst512WritesAndTheNewest)
{
    const int numberOfWriters = 4;
    const int writesOfEach = 300;
    const int tagsOfEach = 1000;
    Panel panel(0);
    std::vector<int> ended;
    panel.onWriteEnd = [&ended](const VARIABLE &unit, threads::WriteEnd) { ended.push_back(unit.userData); };
    std::vector<std::thread> writers;
    for (int w = 1; w <= numberOfWriters; ++w) {
        panel.slaves.station(w);
        writers.emplace_back([w] {
            threads::WriteSource source(w, w * tagsOfEach, 1);
            for (int i = 0; i < writesOfEach; ++i)
                threads::handToDriver(source.nextSmall());
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    // Without a cyclic plan there is nothing to send after each ten writes, once.
    while (panel.step() || panel.step()) {
    }

    ASSERT_EQ(ended.size(), 513u);
    // Of each thread the writes come in its order and without a gap; only the
    // newest write of all stands alone at the end.
    std::vector<int> next(static_cast<size_t>(numberOfWriters + 1), 0);
    for (size_t i = 0; i < 512; ++i) {
        int &expected = next[static_cast<size_t>(ended[i] / tagsOfEach)];
        ASSERT_EQ(ended[i] % tagsOfEach, expected) << "position " << i;
        ++expected;
    }
    EXPECT_EQ(ended[512] % tagsOfEach, writesOfEach - 1);
}

} // namespace
