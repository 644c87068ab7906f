/**
 * @file
 * How the transfer of a recipe ended, row by row.
 */
#ifndef RTU_HOST_TRANSFER_REPORT_H
#define RTU_HOST_TRANSFER_REPORT_H

#include "host/report/value_printer.h"
#include "host/tags/recipe.h"

#include <ostream>
#include <string>

namespace rtu {

enum class TransferKind { Read, Write, Compare };

class TransferReport
{
public:
    /**
     * @param file the recipe's
     * @param quiet in lines, what went as it should is not told
     */
    TransferReport(std::ostream &out, std::ostream &err, OutputForm form, const std::string &file, bool quiet);

    /** Lines for people tell the rows of a comparison, and of other transfers those that went wrong. */
    void print(const Recipe &recipe, const TransferResult &result, TransferKind kind);

private:
    void printComparison(const TagRange &tag, const std::vector<std::uint32_t> &values, const RowResult &row);
    void printLines(const Recipe &recipe, const TransferResult &result, TransferKind kind);
    void printJson(const Recipe &recipe, const TransferResult &result, TransferKind kind);
    void printCsv(const Recipe &recipe, const TransferResult &result, TransferKind kind);

    std::ostream &m_out;
    std::ostream &m_err;
    const OutputForm m_form;
    const std::string m_file;
    const bool m_quiet;
};

} // namespace rtu

#endif
