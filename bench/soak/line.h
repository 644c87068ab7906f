/**
 * @file
 * A serial line on virtual time with faults, and the way in which a careful host
 * waits for replies on it.
 */
#ifndef SOAK_LINE_H
#define SOAK_LINE_H

#include "plant.h"

#include <deque>

namespace soak {

/** What befell a request or its reply; each happens to one in a hundred. */
enum Fault { NoFault, Lost, Corrupted, Truncated, Late, WrongStation, FaultKinds };

/** What a careful host does: the driver judges replies by length and CRC, and reports some changes of a value only. */
struct Precautions
{
    bool drain;   ///< after a time-out, listen until the latest late reply must have come, and drop it
    bool check;   ///< drop replies of another station or to another request
    bool refresh; ///< read anew what a write covers when that write ends
};

class Line
{
public:
    Line(Plant &plant, const Precautions &precautions, std::uint32_t seed);

    /** One request and what is received to it; empty on a time-out. Time goes on. */
    QByteArray exchange(const QByteArray &request);

    /** From now on nothing befalls a reply. */
    void stopFaults()
    {
        faulty = false;
        offStation = 0;
    }

    /** One station hears and says nothing, until another one does; 0: all are there. */
    void switchOff(int station) { offStation = station; }

    long long now() const { return time; }
    long faultsOf(Fault fault) const { return struck[fault]; }
    long dropped() const { return droppedReplies; } ///< by the precautions

private:
    /** Bytes that arrive at the host in one piece. */
    struct Arrival
    {
        long long when;
        QByteArray bytes;
    };

    Fault chooseFault();
    void send(const QByteArray &request);
    void arrive(long long when, const QByteArray &bytes);
    QByteArray corrupted(QByteArray bytes);
    QByteArray receive(const QByteArray &request, long long deadline);
    void drainUntil(long long until);

    Plant &plant;
    const Precautions precautions;
    Random random;
    bool faulty;
    int offStation;
    long long time;               ///< microseconds
    std::deque<Arrival> arrivals; ///< in the order of their times
    long struck[FaultKinds];
    long droppedReplies;
};

} // namespace soak

#endif
