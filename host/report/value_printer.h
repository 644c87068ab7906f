/**
 * @file
 * Values as rows: lines for people, JSON or CSV for programs.
 */
#ifndef RTU_HOST_VALUE_PRINTER_H
#define RTU_HOST_VALUE_PRINTER_H

#include "host/report/tag_board.h"

#include <ostream>
#include <string>

namespace rtu {

enum class OutputForm { Lines, Json, Csv };

/** Some of the values of a tag. */
struct ValueSpan
{
    int first = 0; ///< zero-based
    int count = 0;

    int end() const { return first + count; }
};

class ValuePrinter
{
public:
    ValuePrinter(std::ostream &out, OutputForm form) : m_out(out), m_form(form) {}

    /** The column names of CSV; nothing otherwise. */
    void printHeader();

    /** @param time at which the values came, or it was known that they do not */
    void print(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time);

private:
    void printLine(const TagRange &tag, int value, std::uint32_t raw, const TagState &state);
    void printJson(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint time);
    void printCsv(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint time);

    std::ostream &m_out;
    OutputForm m_form;
};

} // namespace rtu

#endif
