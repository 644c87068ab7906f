/**
 * @file
 * Book-keeping over host writes, one by one: each is opened before the driver
 * is told of it and closed when the poll loop learns what became of it.
 */
#ifndef THREADS_WRITE_LEDGER_H
#define THREADS_WRITE_LEDGER_H

#include "support/driver_fixture.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace threads {

/** What became of one request of a host write. */
enum WriteEnd { StillOpen, Acknowledged, ReportedFailed };

/** One write as the host asked for it. */
struct HostWrite
{
    int tag; ///< the user data of the write; every write has its own
    int station;
    const char *regType;
    int address;
    int count;
    std::vector<unsigned char> data; ///< in the layout of intf_setData()
};

/** One request that the driver makes of a write; a long write takes several. */
struct LedgerEntry
{
    HostWrite write; ///< the part of the host's write that this request carries
    WriteEnd end;
    int timesClosed;
};

class WriteLedger
{
public:
    /** @param requestLimit most elements of one request, as the driver cuts register writes */
    explicit WriteLedger(int requestLimit);

    /** Waits until @p write fits into a queue of @p room requests, then opens it. False: the poll loop has ended. */
    bool openWhenRoom(const HostWrite &write, int room);

    /** Opens @p write if it fits into @p room requests. */
    bool tryOpen(const HostWrite &write, int room);

    /** Closes the request that @p unit stands for. */
    void close(const VARIABLE &unit, WriteEnd end);

    /** No write will be closed any more: whoever waits for room gives up. */
    void stop();

    int openRequests() const;

    /** All entries; to be read when every thread has ended. */
    std::vector<LedgerEntry> entries() const;

    /** How many entries ended so. */
    int number(WriteEnd end) const;

    int closedUnknown() const { return unknown; } ///< requests closed that were never opened

private:
    typedef std::pair<int, int> Key; ///< tag and first address: one request

    std::vector<HostWrite> requestsOf(const HostWrite &write) const;
    bool fits(const std::vector<HostWrite> &requests, int room) const;
    void add(const std::vector<HostWrite> &requests);

    const int limit;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<Key, LedgerEntry> book;
    int open;
    int unknown;
    bool stopped;
};

/** intf_setData() with the members of @p write. */
void handToDriver(const HostWrite &write);

} // namespace threads

#endif
