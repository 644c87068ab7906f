/**
 * The soak: the driver library under a host that polls twenty slaves over a
 * faulty line, on virtual time.
 *
 *   soak [--transactions N] [--seed N] [--without drain|check|refresh]
 *
 * One in a hundred requests each is lost, answered with corrupted bits, cut
 * short, answered late or answered by the wrong station; now and then a station
 * is off for a while, so that requests are given up. At the end the cache,
 * the slaves and what was reported must agree, every write, one-off read and
 * recipe must have ended, and the memory in use must be what it was after the
 * first tenth. Exit status 0 when all of this holds.
 *
 * --without leaves out a precaution of the host, to show what it is for: see
 * soak::Precautions.
 */
#include "host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <malloc.h>

namespace {

struct Options
{
    long transactions = 1000000;
    std::uint32_t seed = 1;
    soak::Precautions precautions = {true, true, true};
};

bool leaveOut(const std::string &name, soak::Precautions *precautions)
{
    if (name == "drain")
        precautions->drain = false;
    else if (name == "check")
        precautions->check = false;
    else if (name == "refresh")
        precautions->refresh = false;
    else
        return false;
    return true;
}

bool readOptions(int argc, char **argv, Options *options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (++i == argc)
            return false;
        if (word == "--transactions")
            options->transactions = std::strtol(argv[i], nullptr, 10);
        else if (word == "--seed")
            options->seed = static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 10));
        else if (word != "--without" || !leaveOut(argv[i], &options->precautions))
            return false;
    }
    return options->transactions >= 10;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const bool memoryIsMeasured = false; // a sanitizer keeps freed memory on purpose
#else
const bool memoryIsMeasured = true;
#endif

/** Memory of this process in KiB. */
struct Memory
{
    long heap;     ///< handed out by malloc and not freed
    long resident; ///< VmRSS
};

Memory memoryNow()
{
    Memory memory = {static_cast<long>(mallinfo2().uordblks / 1024), 0};
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "VmRSS:") == 0)
            memory.resident = std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return memory;
}

/** Runs the transactions; the memory after each tenth. */
std::vector<Memory> runTenths(soak::Host &host, long transactions)
{
    std::vector<Memory> tenths;
    for (int tenth = 1; tenth <= 10; ++tenth) {
        while (host.books.transactions < transactions / 10 * tenth)
            host.step();
        host.rest(); // what waits in a queue is no leak
        tenths.push_back(memoryNow());
        std::printf("%10ld transactions: heap %ld KiB, resident %ld KiB\n", host.books.transactions, tenths.back().heap,
                    tenths.back().resident);
        std::fflush(stdout);
    }
    return tenths;
}

// What malloc keeps in its per-thread cache counts as handed out, and so do the
// longest lengths that lists have had; both come to rest. The smallest leak of
// every hundredth transaction would be several times as much after a million.
const long heapTolerance = 64;
const long residentTolerance = 1024;

bool isFlat(const std::vector<Memory> &tenths)
{
    const long heapGrowth = tenths.back().heap - tenths.front().heap;
    const long residentGrowth = tenths.back().resident - tenths.front().resident;
    std::printf("memory from the first tenth to the last: heap %+ld KiB, resident %+ld KiB\n", heapGrowth,
                residentGrowth);
    return !memoryIsMeasured || (heapGrowth <= heapTolerance && residentGrowth <= residentTolerance);
}

void print(const soak::Books &books, const soak::Line &line)
{
    std::printf("virtual time:     %.1f hours\n", static_cast<double>(line.now()) / 3.6e9);
    std::printf("transactions:     %ld: accepted %ld, sent again %ld, given up %ld\n", books.transactions,
                books.accepted, books.sentAgain, books.givenUp);
    std::printf("faults:           lost %ld, corrupted %ld, truncated %ld, late %ld, wrong station %ld\n",
                line.faultsOf(soak::Lost), line.faultsOf(soak::Corrupted), line.faultsOf(soak::Truncated),
                line.faultsOf(soak::Late), line.faultsOf(soak::WrongStation));
    std::printf("replies dropped:  %ld by the host\n", line.dropped());
    std::printf("reports:          %ld\n", books.reports);
    std::printf("writes:           %ld: acknowledged %ld, failed %ld, replaced %ld\n", books.writesIssued,
                books.writesAcknowledged, books.writesFailed, books.writesReplaced);
    std::printf("one-off reads:    %ld: ended %ld, of them failed %ld\n", books.readsAsked, books.readsEnded,
                books.readsFailed);
    std::printf("recipe transfers: %ld: ended %ld, of them failed %ld\n", books.recipesAsked, books.recipesEnded,
                books.recipesFailed);
    for (const std::string &disagreement : books.disagreements)
        std::printf("DISAGREEMENT at %s\n", disagreement.c_str());
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!readOptions(argc, argv, &options)) {
        std::fprintf(stderr, "usage: soak [--transactions N] [--seed N] [--without drain|check|refresh]\n");
        return 2;
    }
    soak::Plant plant(options.seed);
    soak::Line line(plant, options.precautions, options.seed + 1);
    soak::Host host(plant, line, options.precautions, options.seed + 2);
    const std::vector<Memory> tenths = runTenths(host, options.transactions);
    host.settle();
    host.judge();
    print(host.books, line);
    const bool flat = isFlat(tenths);
    const bool agreed = host.books.disagreementCount == 0;
    std::printf("soak: %s, memory %s\n",
                agreed ? "cache, slaves and reports agree"
                       : (std::to_string(host.books.disagreementCount) + " disagreements").c_str(),
                flat ? "flat" : "GROWN");
    return agreed && flat ? 0 : 1;
}
