/**
 * @file
 * What became of writes, on standard output: old and new value of each, and how it ended.
 */
#ifndef RTU_HOST_WRITE_REPORT_H
#define RTU_HOST_WRITE_REPORT_H

#include "host/report/value_printer.h"

#include <modbus_rtu_host/write_result.h>

namespace rtu {

/** One value of a write. */
struct Written
{
    const TagRange &tag;
    int value; ///< zero-based
    std::uint32_t raw;
    bool oldKnown;
    std::uint32_t oldRaw;
    std::string end;
    bool whole; ///< all of the write was acknowledged
    std::string error;
    TimePoint time;
};

class WriteReport
{
public:
    /** @param verified acknowledged writes were read back as well */
    WriteReport(std::ostream &out, OutputForm form, bool verified) : m_out(out), m_form(form), m_verified(verified) {}

    /** A line or row for each value. @param old what was there; not known where it could not be read */
    void print(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint now);

private:
    void printLine(const Written &written);
    void printJson(const Written &written);
    void printCsv(const Written &written);

    std::ostream &m_out;
    OutputForm m_form;
    bool m_verified;
};

/** What became of the first value of a write: "1:4x211: 7 -> -12, acknowledged". */
std::string writeText(const TagWrite &write, const TagState &old, const WriteResult &result, bool verified);

/** "1:4x211 was not written: no answer"; empty where it went as the user wanted. */
std::string writeError(const TagWrite &write, const WriteResult &result);

} // namespace rtu

#endif
