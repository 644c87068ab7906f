/**
 * @file
 * Who is inside the driver, since when, and in which callback.
 *
 * Not locked: the caller serialises the calls.
 */
#ifndef CHECKER_ACTIVE_CALLS_H
#define CHECKER_ACTIVE_CALLS_H

#include "checker/clock.h"
#include "checker/entry_point.h"

#include <list>
#include <string>
#include <thread>

namespace checker {

/** The value that a callback is reporting. */
struct Report
{
    int station;
    std::string type;
    int address;
};

struct ActiveCall
{
    EntryPoint call;
    std::thread::id thread;
    TimePoint since;
    int callBacks; ///< callbacks under way in this call: 0 or 1
    TimePoint callBackSince;
    Report report;   ///< of the callback under way
    bool storedLate; ///< what this call reports is stored after the report
    bool told;       ///< a stall of it has been told
};

class ActiveCalls
{
public:
    typedef std::list<ActiveCall> List;

    List::iterator enter(EntryPoint call);
    void leave(List::iterator call) { calls.erase(call); }

    /** The innermost call of this thread, or null. */
    ActiveCall *innermost();

    /** The innermost call of this thread that is in a callback, or null. */
    ActiveCall *callBackHere();

    /** A poll call of another thread, or null. */
    const ActiveCall *pollCallElsewhere() const;

    /** Any call at all, or null. */
    const ActiveCall *any() const { return calls.empty() ? nullptr : &calls.front(); }

    List &all() { return calls; }

private:
    List calls;
};

inline bool isPollCall(EntryPoint call)
{
    return call == getSendFrameCall || call == dealRcvFrameCall;
}

} // namespace checker

#endif
