/**
 * @file
 * What was heard, as lines for people and as JSON for programs.
 */
#ifndef RTU_HOST_LISTEN_HEARD_TEXT_H
#define RTU_HOST_LISTEN_HEARD_TEXT_H

#include "host/listen/heard_registers.h"
#include "host/listen/traffic_reader.h"

#include <map>
#include <string>
#include <vector>

namespace rtu {

/** Names that tags give to registers. */
using RegisterNames = std::map<HeardPlace, std::string>;

/** Request and reply in words, a line each. */
std::vector<std::string> heardLines(const Transaction &transaction, const RegisterNames &names);
/** The request alone: nobody knows what became of it. */
std::string openLine(const Transaction &request, const RegisterNames &names);
/** "14:03:07.125 ?  55 AA FF  3 bytes of no frame" */
std::string garbageLine(const HeardBytes &garbage);
/** A reply to nothing that was heard, in words. */
std::string strayLine(const HeardBytes &reply);

/**
 * One JSON object, without a line's end: time (of the end, RFC 3339), station, function,
 * type, address (counted from 1), count, values, names, exception, answer ("good",
 * "exception", "silent", "broadcast") and reply_ms. What there is none of is null.
 */
std::string heardJson(const Transaction &transaction, const RegisterNames &names);
/** The same keys; answer is "open". */
std::string openJson(const Transaction &request, const RegisterNames &names);
/** The same keys as far as a reply alone tells them; answer is "stray". */
std::string strayJson(const HeardBytes &reply);
/** time, answer ("garbage") and bytes in hexadecimal. */
std::string garbageJson(const HeardBytes &garbage);

/** Lines of a table that is @p columns wide: place, name, value, age, how often asked. */
std::vector<std::string> registerTable(const HeardRegisters &registers, const RegisterNames &names, TimePoint now,
                                       int columns);

} // namespace rtu

#endif
