// Memory that runs out at each place of a poll cycle, one after the other: std::bad_alloc
// comes out of the call, which ends a process that does not catch it. A host that does
// finds no half record, and the driver goes on.

#include "support/driver_fixture.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *block, std::size_t size);

namespace {

const long NoLimit = -1;
long allocationsLeft = NoLimit; ///< until one fails

bool fails()
{
    if (allocationsLeft == NoLimit || allocationsLeft-- > 0)
        return false;
    allocationsLeft = NoLimit; // the next one succeeds
    errno = ENOMEM;
    return true;
}

} // namespace

// In front of the allocator of every library of the program.
extern "C" void *malloc(std::size_t size)
{
    return fails() ? nullptr : __libc_malloc(size);
}

extern "C" void *calloc(std::size_t count, std::size_t size)
{
    return fails() ? nullptr : __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, std::size_t size)
{
    return fails() ? nullptr : __libc_realloc(block, size);
}

namespace {

using namespace support;

enum Outcome { Whole, Thrown, Ended, Broken, MemoryLasted };

class OutOfMemory : public DriverFixture
{
protected:
    /** Everything that a poll cycle does: a plan, a write, a one-off read, a recipe, replies, values. */
    void pollCycle()
    {
        plan(Keys() << key(1, "4x", 0, 10) << key(1, "0x", 3, 20) << key(2, "3x_bit", 16, 4));
        QVector<_RCP_VAR_PRO> rows;
        rows << row(1, 1, "4x", 100, 3, 0) << row(1, 1, "4x_double", 103, 2, 3);
        intf_setRcpAddress(&rows);
        KEY_ADDRESS once = key(1, "4x", 50, 2);
        intf_addConditionRead(&once, 7);
        setData(1, "4x", 2, 2, "01 02 03 04", 9);
        setData(1, "4x_bit", 35, 1, "01");
        hostArea[BlockReadRequest] = 1;
        for (int step = 0; step < 12; ++step)
            exchangeZeros();
        getData(1, "4x", 0, 10, 20);
        getData(3, "4x", 7, 1, 2);
    }

    /** Answers the next request as it wants to be answered. */
    void exchangeZeros()
    {
        const FRAME_PRO frame = nextFrame();
        if (frame.frameLen == 0)
            return;
        QByteArray reply(frame.replyLen - 2, '\0');
        reply[0] = static_cast<char>(frame.frame[0]);
        reply[1] = static_cast<char>(frame.frame[1]);
        deal(withCrc(reply));
    }

    bool recordsAreWhole() const
    {
        return unitsAreWhole(driver.cyclicReadList) && unitsAreWhole(driver.writeList)
               && unitsAreWhole(driver.conditionReadList) && areasAreWhole();
    }

    /** A registration that ran out of memory may have got to some of the blocks, each of them whole. */
    static bool blocksAreWhole(bool registered)
    {
        return registered ? driver.rcpBlocks.size() == driver.rcpBlockStarts.size()
                          : driver.rcpBlocks.size() <= driver.rcpBlockStarts.size();
    }

    /** After what happened: a cycle with enough memory does what it always does, and leaves nothing waiting. */
    bool goesOn()
    {
        pollCycle();
        for (int step = 0; step < 60; ++step)
            exchangeZeros();
        return recordsAreWhole() && blocksAreWhole(true)
               && getData(1, "4x", 0, 10, 20) == std::vector<unsigned char>(20, 0) && driver.cyclicReadList.size() == 3
               && driver.writeList.isEmpty() && driver.conditionReadList.isEmpty() && hostArea[BlockReadRequest] == 0;
    }

    /** What becomes of a process in which the allocation of this number fails. */
    Outcome outcomeOf(long number)
    {
        bool thrown = false;
        allocationsLeft = number;
        try {
            pollCycle();
        } catch (const std::bad_alloc &) {
            thrown = true;
        }
        const bool lasted = allocationsLeft != NoLimit;
        allocationsLeft = NoLimit;
        if (!recordsAreWhole() || !blocksAreWhole(!thrown) || !goesOn())
            return Broken;
        return lasted ? MemoryLasted : thrown ? Thrown : Whole;
    }

    /** An Outcome, or minus the number of a signal. */
    int outcomeInAChild(long number)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            std::set_terminate([] { ::_exit(Ended); });
            ::alarm(60); // only a lock that is never let go takes as long
            ::_exit(outcomeOf(number));
        }
        int status = 0;
        ::waitpid(child, &status, 0);
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        // A shared list of Qt 6 that is about to be changed writes its copy without a look at whether there
        // is memory for it: the process ends there.
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV)
            return Ended;
#endif
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    static bool unitsAreWhole(const QList<VARIABLE> &units)
    {
        for (const VARIABLE &unit : units) {
            if (unit.regType.isEmpty() || unit.station < 1 || unit.count < 1)
                return false;
        }
        return true;
    }

    static bool areasAreWhole()
    {
        for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i) {
            const _DATA_ data = driver.dataAreas.at(i);
            if (data.regType.isEmpty() || data.station < 1
                || driver.getIndexOfDataArea(data.station, data.regType, data.areaIndex, driver.dataAreas) != i)
                return false;
        }
        return true;
    }
};

TEST_F(OutOfMemory, LeavesNoHalfRecord)
{
    int times[MemoryLasted + 1] = {0};
    for (long number = 0; times[MemoryLasted] == 0; ++number) {
        const int outcome = outcomeInAChild(number);
        ASSERT_GE(outcome, 0) << "allocation " << number << " ends in signal " << -outcome;
        EXPECT_NE(Broken, outcome) << "allocation " << number;
        ++times[outcome];
    }
    std::printf("of the failed allocations %d were overcome, %d came out of the call, %d ended the process\n",
                times[Whole], times[Thrown], times[Ended]);
    EXPECT_GT(times[Whole] + times[Thrown] + times[Ended], 50) << "a poll cycle allocates";
    EXPECT_TRUE(goesOn()) << "as without any failure";
}

} // namespace
