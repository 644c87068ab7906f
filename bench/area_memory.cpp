// Memory that one cached area takes, index included: what the heap grew by while
// the driver cached areas, and while it polled them until every request had been
// answered, the plan's own records included. Requests are as long as the protocol
// allows.

#include "bench/plant_keys.h"
#include "bench/poll_scenarios.h"
#include "bench/polled_blocks.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {

double heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

/** Caches as many areas as there are in so many registers. */
bool cacheRegisters(int registers)
{
    initialiseDriver(100);
    cacheAreas(registers);
    return true;
}

/** Plans such blocks, one at each station, and answers every request twice. */
bool pollBlocks(PolledBlock (*block)(int station), int blocks)
{
    initialiseDriver(1);
    QList<KEY_ADDRESS> keys;
    for (int station = 1; station <= blocks; ++station)
        keys << block(station).key;
    if (intf_addrMerge(&keys) != blocks)
        return false;
    for (int i = 0; i < 2 * blocks; ++i) {
        FRAME_PRO frame;
        QString information;
        if (intf_getSendFrame(&frame) != 1)
            return false;
        QByteArray reply = block(frame.var.station).replies[0];
        if (intf_dealRcvFrame(&reply, &information) != 1)
            return false;
    }
    return true;
}

bool pollRegisters(int registers)
{
    return pollBlocks(steadyRegisters, registers / 125);
}

bool pollCoils(int coils)
{
    return pollBlocks(steadyCoils, coils / 2000);
}

/** One line of the table, measured in a process of its own: nothing is left over from the line before. */
bool measure(const char *what, bool (*fill)(int areas), int areas)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const double before = heapInUse();
        const bool filled = fill(areas);
        std::printf("%10d %-36s %14.1f\n", areas, what, (heapInUse() - before) / areas);
        std::fflush(stdout);
        _exit(filled ? 0 : 1);
    }
    int status = 1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

int main()
{
    initialiseDriver(1); // the buffers of the benchmark itself do not count
    cacheAreas(0);
    std::printf("%10s %-36s %14s\n", "areas", "", "bytes per area");
    bool done = true;
    for (const int areas : {10000, 100000, 300000, 500000})
        done = measure("registers cached", cacheRegisters, areas) && done;
    for (const int areas : {10000, 100000, 300000, 500000})
        done = measure("registers planned, requests answered", pollRegisters, areas) && done;
    for (const int areas : {10000, 100000, 300000, 500000})
        done = measure("coils planned, requests answered", pollCoils, areas) && done;
    return done ? 0 : 1;
}
