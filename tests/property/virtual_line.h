/**
 * @file
 * A line on virtual time: requests and replies take as long as their bytes, the
 * slaves behind it fail in all the ways slaves and wires do, and a reply that
 * comes too late is what the next request finds.
 */
#ifndef PROPERTY_VIRTUAL_LINE_H
#define PROPERTY_VIRTUAL_LINE_H

#include "support/random.h"
#include "support/rtu_frames.h"
#include "support/scripted_slave.h"

#include <deque>
#include <map>

namespace property {

class VirtualLine
{
public:
    explicit VirtualLine(std::uint32_t seed);

    /** Sends a request; what was received until the time-out. */
    QByteArray exchange(const FRAME_PRO &request);

    /** True when the last exchange was the right reply to its request. */
    bool lastWasGenuine() const { return genuine; }

    /** Lets a value in some slave change by itself. */
    void moveSomething();

    /** Raises or lowers how much goes wrong, in percent of the usual. */
    void setFaultLevel(int percent) { faultLevel = percent; }

    support::SlaveTables &station(int address) { return slaves.station(address); }
    int malformedRequests() const { return slaves.malformedRequests; }
    long long now() const { return microseconds; }

private:
    struct LateReply
    {
        long long arrival;
        QByteArray bytes;
    };

    void pass(int bytes);
    bool isDead(int address);
    support::SlaveFault randomFault();

    support::Random random;
    support::ScriptedSlave slaves;
    std::map<int, long long> deadUntil;
    std::deque<LateReply> late;
    long long microseconds;
    int faultLevel;
    bool genuine;
};

} // namespace property

#endif
