/**
 * @file
 * Negative numbers on a command line on which -1 and -0 are options.
 */
#ifndef RTU_HOST_NEGATIVE_VALUES_H
#define RTU_HOST_NEGATIVE_VALUES_H

#include <functional>
#include <string>
#include <vector>

namespace rtu {

/**
 * Marks the arguments that are negative numbers, so that no parser of options takes
 * them apart into -1, -0 and the rest.
 *
 * @param takesArgument whether what follows this argument belongs to it
 * @throws std::invalid_argument for -1 and -0 where they might be either, with both spellings
 */
std::vector<std::string> markNegativeValues(const std::vector<std::string> &arguments,
                                            const std::function<bool(const std::string &)> &takesArgument);

/** The argument as it was typed. */
std::string unmarked(const std::string &argument);

} // namespace rtu

#endif
