/**
 * @file
 * Simulated RTU slaves for tests: a table of elements per station and faults on
 * demand. Nothing here knows time: a late reply is one that the test hands over
 * later.
 *
 * Add `${CMAKE_SOURCE_DIR}/tests/support/scripted_slave.cpp` beside
 * driver_fixture.cpp to the sources of a test program.
 */
#ifndef SCRIPTED_SLAVE_H
#define SCRIPTED_SLAVE_H

#include "support/driver_fixture.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

namespace support {

/** The elements of one station by zero-based address; what was never set is 0. */
struct SlaveTables
{
    std::map<int, int> coils;
    std::map<int, int> discreteInputs;
    std::map<int, int> inputRegisters;
    std::map<int, int> holdingRegisters;

    /** Sets consecutive holding registers. */
    void setHolding(int first, const std::vector<int> &values);
    std::vector<int> holding(int first, int count) const;
};

/** What goes wrong with one reply. */
enum SlaveFault {
    NoFault,
    Silent,        ///< request lost: not carried out, not answered
    ReplyLost,     ///< carried out, not answered
    WrongCrc,      ///< last byte of the reply inverted
    Truncated,     ///< last byte of the reply missing
    TooLong,       ///< one byte more
    OtherStation,  ///< the reply names the next station, with a right CRC
    OtherFunction, ///< the reply names another function, with a right CRC
    Busy,          ///< not carried out, exception 6
    EchoOfRequest  ///< the request itself comes back, not carried out
};

/** All slaves of a line. Stations that were never named do not answer. */
class ScriptedSlave
{
public:
    ScriptedSlave();

    /** The tables of a station, which answers from now on. */
    SlaveTables &station(int address);

    /** The next @p times replies fail that way; calls queue up. */
    void failNext(SlaveFault fault, int times = 1);

    /** The reply to a request, empty where no slave answers. */
    QByteArray answer(const QByteArray &request);

    std::vector<QByteArray> requests; ///< every request that was on the line
    int malformedRequests;            ///< requests with a wrong CRC or a length that does not fit

private:
    typedef std::map<int, SlaveTables> Stations;

    QByteArray carryOut(SlaveTables &tables, const QByteArray &request);
    void carryOutBroadcast(const QByteArray &request);
    SlaveFault nextFault();

    Stations stations;
    std::deque<SlaveFault> faults;
};

/** A driver that polls scripted slaves. */
class SlaveFixture : public DriverFixture
{
protected:
    ~SlaveFixture() override;

    enum { NothingToSend = -1 };

    /** One request and its reply: the verdict, or NothingToSend. */
    int step();

    /**
     * Runs @p steps steps and names what was sent: W write, C condition read,
     * P cyclic read, S block write, L block read, - nothing; a lower-case letter
     * where the driver did not accept the reply.
     */
    std::string trace(int steps);

    /** Sets one of the two request bytes of the host area. */
    void raise(int requestByte, int value = 1);
    int raised(int requestByte) const;

    /** Raises a block request and polls until it is cleared; number of steps, 0 when it never was. */
    int transfer(int requestByte);

    ScriptedSlave slaves;
};

} // namespace support

#endif
