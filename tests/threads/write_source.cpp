#include "threads/write_source.h"

#include "threads/panel.h"

#include <algorithm>
#include <cstring>

namespace threads {

int WriteSource::Places::take(int count)
{
    if (next < watchedEnd && next + count > watchedEnd)
        next = unwatched;
    const int taken = next;
    next += count;
    return taken;
}

WriteSource::WriteSource(int slave, int firstTag, std::uint32_t seed)
    : station(slave)
    , tag(firstTag)
    , turn(0)
    , random(seed)
    , coils{0, 64, 1000}
    , words{0, 60, 300}
    , bits{100 * 16, 110 * 16, 50000 * 16}
    , doubles{200, 240, 30000}
{
}

HostWrite WriteSource::next()
{
    const int limit = RequestLimit;
    int count = 0;
    switch (turn++ % 4) {
    case 0:
        count = random.pick({1, 2, 17});
        return write("0x", coils.take(count), count);
    case 1:
        count = random.pick({1, 2, 7, limit, limit + 5, 2 * limit + 1});
        return write("4x", words.take(count), count);
    case 2:
        count = random.pick({1, 1, 3, 9, 20});
        return write("4x_bit", bits.take(count), count);
    default:
        count = random.pick({2, 4, limit + 2});
        return write("4x_double", doubles.take(count), count);
    }
}

HostWrite WriteSource::nextSmall()
{
    return write("4x", words.take(1), 1);
}

HostWrite WriteSource::write(const char *regType, int address, int count)
{
    const bool bitwise = std::strcmp(regType, "0x") == 0 || std::strcmp(regType, "4x_bit") == 0;
    HostWrite made = {tag++, station, regType, address, count, std::vector<unsigned char>()};
    made.data.assign(static_cast<size_t>(2 * count), 0);
    for (int i = 0; i < (bitwise ? count : 2 * count); ++i)
        made.data[static_cast<size_t>(i)] = bitwise ? static_cast<unsigned char>(random.below(2)) : random.byte();
    return made;
}

} // namespace threads
