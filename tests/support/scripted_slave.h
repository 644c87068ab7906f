/**
 * @file
 * Simulated RTU slaves: a table of elements per station and faults on demand.
 * Nothing here knows time: a late reply is one that is handed over later.
 */
#ifndef TESTS_SUPPORT_SCRIPTED_SLAVE_H
#define TESTS_SUPPORT_SCRIPTED_SLAVE_H

#include <QtCore/QByteArray>

#include <deque>
#include <map>
#include <vector>

namespace support {

/** Consecutive elements of a table; what was never set is 0. */
std::vector<int> valuesOf(const std::map<int, int> &table, int first, int count);

/** The elements of one station by zero-based address. */
struct SlaveTables
{
    std::map<int, int> coils;
    std::map<int, int> discreteInputs;
    std::map<int, int> inputRegisters;
    std::map<int, int> holdingRegisters;

    /** Sets consecutive holding registers. */
    void setHolding(int first, const std::vector<int> &values);
    std::vector<int> holding(int first, int count) const;

    /** The elements that requests of this function read or write. */
    std::map<int, int> &tableOf(int function);

    /** Does what a request asks for, its check sum not looked at; the reply, empty where its length does not fit. */
    QByteArray carryOut(const QByteArray &request);

private:
    QByteArray writeMany(const QByteArray &request);
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

    void carryOutBroadcast(const QByteArray &request);
    SlaveFault nextFault();

    Stations stations;
    std::deque<SlaveFault> faults;
};

} // namespace support

#endif
