// Memory that one cached area takes, index included: what the heap grew by
// while the driver cached half a million of them.

#include "bench/plant_keys.h"

#include <malloc.h>

#include <cstdio>

namespace {

std::size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace

int main()
{
    // Counted from the empty driver on: what a smaller cache left behind is reused.
    initialiseDriver(100);
    const std::size_t before = heapInUse();
    std::printf("%10s %14s\n", "areas", "bytes per area");
    for (const int areas : {10000, 100000, 300000, 500000}) {
        initialiseDriver(100);
        cacheAreas(areas);
        std::printf("%10d %14.1f\n", areas, static_cast<double>(heapInUse() - before) / areas);
    }
    return 0;
}
