// Whole call sequences. Inputs are mutated by the record: what libFuzzer does to
// single bytes is done inside one record, and records are added, dropped,
// repeated and swapped as a whole.

#include "call_player.h"

#include <algorithm>
#include <cstring>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *bytes, std::size_t size, std::size_t room);

namespace {

using fuzz::RecordBytes;

/** A buffer of whole records. */
class Records
{
public:
    Records(std::uint8_t *buffer, std::size_t size, std::size_t room)
        : bytes(buffer)
        , count(size / RecordBytes)
        , most(room / RecordBytes)
    {
    }

    std::uint8_t *at(std::size_t i) { return bytes + i * RecordBytes; }
    std::size_t size() const { return count * RecordBytes; }
    bool full() const { return count >= most; }

    /** Makes room for a record in front of record @p i. */
    void open(std::size_t i)
    {
        std::memmove(at(i + 1), at(i), (count - i) * RecordBytes);
        ++count;
    }

    void drop(std::size_t i)
    {
        --count;
        std::memmove(at(i), at(i + 1), (count - i) * RecordBytes);
    }

    std::uint8_t *bytes;
    std::size_t count;
    const std::size_t most;
};

void insertRandom(Records &records, std::size_t at, std::minstd_rand &random)
{
    if (records.full())
        return;
    records.open(at);
    for (int i = 0; i < RecordBytes; ++i)
        records.at(at)[i] = static_cast<std::uint8_t>(random() >> 8);
    // Mostly outside callbacks, of a known kind and with everyday sizes.
    // Every other one polls, as hosts do most of the time.
    if (random() % 4 != 0)
        records.at(at)[0] = static_cast<std::uint8_t>(random() % 2 != 0 ? fuzz::CallPoll : random() % fuzz::CallKinds);
    if (random() % 2 != 0)
        records.at(at)[3] &= 0x40;
}

void repeat(Records &records, std::size_t from, std::size_t to)
{
    if (records.full())
        return;
    std::uint8_t copy[RecordBytes];
    std::memcpy(copy, records.at(from), RecordBytes);
    records.open(to);
    std::memcpy(records.at(to), copy, RecordBytes);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *bytes, std::size_t size, std::size_t room,
                                               unsigned int seed)
{
    std::minstd_rand random(seed);
    Records records(bytes, size, room);
    if (records.count == 0) {
        insertRandom(records, 0, random);
        return records.size();
    }
    const std::size_t one = random() % records.count;
    const std::size_t other = random() % records.count;
    switch (random() % 8) {
    case 0:
        insertRandom(records, random() % (records.count + 1), random);
        break;
    case 1:
        records.drop(one);
        break;
    case 2:
        repeat(records, one, other);
        break;
    case 3:
        if (one != other)
            std::swap_ranges(records.at(one), records.at(one) + RecordBytes, records.at(other));
        break;
    case 4:
        records.at(one)[0] ^= 0x80; // into or out of a callback
        break;
    default:
        LLVMFuzzerMutate(records.at(one), RecordBytes, RecordBytes);
        break;
    }
    return records.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    fuzz::CallPlayer(bytes, size).play();
    return 0;
}
