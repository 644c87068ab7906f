/**
 * @file
 * Frames in words: what a request asks for, what a reply says, what the driver
 * made of it.
 */
#ifndef RTU_HOST_TRACE_H
#define RTU_HOST_TRACE_H

#include <modbus_rtu_host/transaction.h>

#include <string>
#include <vector>

namespace rtu {

struct TraceLine
{
    TimePoint time;
    int station = 0;
    char direction = '>'; ///< '>' request, '<' reply, '!' a warning
    std::string bytes;    ///< hexadecimal
    std::string meaning;
    std::string verdict; ///< of the driver, replies only
    bool bad = false;
};

/** "01 03 00 0A" */
std::string hexText(const QByteArray &bytes);

/** "exception 2: illegal data address" */
std::string exceptionText(int code);

/** "read holding registers 4x1..10" */
std::string requestMeaning(const QByteArray &request);

/** "10 registers: 1 2 3 ...", "exception 2: illegal data address", "no reply", ... */
std::string replyMeaning(const Transaction &transaction);

/** "good", "bad, send again", "given up: R,1#4x1(10)" */
std::string verdictText(const Transaction &transaction);

/** The request, its reply, and a warning where there is one. */
std::vector<TraceLine> traceLines(const Transaction &transaction);

/** One line of text: time, direction and station, bytes, meaning, verdict. */
std::string traceText(const TraceLine &line);

} // namespace rtu

#endif
