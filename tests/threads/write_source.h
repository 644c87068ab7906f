/**
 * @file
 * Host writes of every writable type, none of them twice to the same place: so
 * none replaces another one in the queue and each can be counted.
 */
#ifndef THREADS_WRITE_SOURCE_H
#define THREADS_WRITE_SOURCE_H

#include "support/random.h"
#include "threads/write_ledger.h"

namespace threads {

class WriteSource
{
public:
    /** @param firstTag the tags of this source's writes count from here */
    WriteSource(int station, int firstTag, std::uint32_t seed);

    /** The next write: coils, registers, bits and 32-bit values in turns. */
    HostWrite next();

    /** One register a write; no write takes more than one request. */
    HostWrite nextSmall();

private:
    /** Places of one type: first those that Panel::planReads() watches, then unwatched ones. */
    struct Places
    {
        int next;
        int watchedEnd;
        int unwatched;

        int take(int count);
    };

    HostWrite write(const char *regType, int address, int count);

    const int station;
    int tag;
    int turn;
    support::Random random;
    Places coils;
    Places words;
    Places bits;
    Places doubles;
};

} // namespace threads

#endif
