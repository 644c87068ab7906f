/**
 * @file
 * Fields of CSV.
 */
#ifndef RTU_HOST_CSV_H
#define RTU_HOST_CSV_H

#include <string>
#include <vector>

namespace rtu {

/** Without the blanks at both ends. */
std::string trimmed(const std::string &text);

/** What separates the fields of a line, where it is not known: comma, semicolon or tab, whichever is there most. */
char separatorOf(const std::string &line);

/**
 * Splits one line of CSV; fields may be quoted, a doubled quote stands for one.
 *
 * @throws std::invalid_argument when a quote is not closed
 */
std::vector<std::string> splitCsv(const std::string &line, char separator = ',');

/** Quotes a field where it needs it. */
std::string csvField(const std::string &text);

} // namespace rtu

#endif
