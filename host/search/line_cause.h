/**
 * @file
 * Why a line does not work: what came back, what that means, and the words for it.
 */
#ifndef RTU_HOST_SEARCH_LINE_CAUSE_H
#define RTU_HOST_SEARCH_LINE_CAUSE_H

#include "kit/line/port_line.h"

#include <modbus_rtu_host/transaction.h>

#include <string>

namespace rtu {

enum class Cause {
    None,
    Echo,          ///< requests come back, and nothing behind them
    EchoDropped,   ///< requests come back, and replies behind them
    Ascii,         ///< replies as those of Modbus ASCII
    Garbage,       ///< bytes that are no reply
    Noise,         ///< replies that begin as they should, and are damaged
    OtherStation,  ///< replies of a station that was not asked
    OtherFunction, ///< replies to another request
    Stray,         ///< bytes that nobody asked for
    Exception,     ///< the station refuses
    Late,          ///< replies behind the time-out
    Silent,        ///< nothing at all
    StationSilent, ///< nothing, while others answer
    PortLost,
    NoParameters, ///< the port takes none of the line parameters
    Ended,        ///< the user did not want to know any more
    PortMissing,
    NoPermission,
    PortBusy,
};

/** What programs know the cause by: "echo", "other_station". */
const char *causeName(Cause cause);

/** The cause in words, with what to do about it. */
std::string causeText(Cause cause);

/** What one exception code says about what was asked, and what to do. */
std::string exceptionAdvice(int code);

/** A cause with what was seen of it. */
struct Diagnosis
{
    Cause cause = Cause::None;
    int station = 0; ///< 0: of the line or the port
    int attempts = 0;
    int exceptionCode = 0;
    LineErrors errors; ///< of the port, meanwhile
    std::string text;
};

/** "station 3: not one byte came back in 3 attempts: ..." */
std::string diagnosisText(const Diagnosis &diagnosis);

/** The members time (where one is given), station, cause, text, and those of the others that mean something. */
std::string diagnosisJson(const Diagnosis &diagnosis, const std::string &time = std::string());

/** What came back, beside good answers. */
struct LineSigns
{
    int garbage = 0;           ///< bytes that are no reply
    int damaged = 0;           ///< replies that begin as they should
    int echoes = 0;            ///< requests that came back
    int ascii = 0;             ///< replies that begin as those of Modbus ASCII do
    int foreignStations = 0;   ///< whole replies of others
    int foreignFunctions = 0;  ///< whole replies to other requests
    int strays = 0;            ///< times when bytes came unasked
    int late = 0;              ///< replies to requests that were given up before
    std::string foreignAnswer; ///< the last of those in words

    void note(const Transaction &transaction);
    /** The likeliest of what was seen; Cause::Silent for nothing. */
    Cause cause() const;
};

} // namespace rtu

#endif
