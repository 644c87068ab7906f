/**
 * @file
 * Values on standard output: lines for people, JSON or CSV for programs.
 */
#ifndef RTU_HOST_VALUE_PRINTER_H
#define RTU_HOST_VALUE_PRINTER_H

#include "host/report/tag_board.h"

#include <ostream>
#include <string>

namespace rtu {

enum class OutputForm { Lines, Json, Csv };

class ValuePrinter
{
public:
    ValuePrinter(std::ostream &out, OutputForm form) : m_out(out), m_form(form) {}

    /** The column names of CSV; nothing otherwise. */
    void printHeader();

    /** All values of the tag. */
    void print(const TagRange &tag, const TagState &state, TimePoint now);

private:
    void printLine(const TagRange &tag, int value, std::uint32_t raw, const TagState &state);
    void printJson(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint now);
    void printCsv(const TagRange &tag, int value, std::uint32_t raw, const TagState &state, TimePoint now);

    std::ostream &m_out;
    OutputForm m_form;
};

} // namespace rtu

#endif
