/**
 * @file
 * Numbers as text, the same in every locale.
 */
#ifndef RTU_HOST_NUMBERS_H
#define RTU_HOST_NUMBERS_H

#include <cstdint>
#include <string>

namespace rtu {

// Each takes the whole text, with or without a sign, and leaves the value alone where it returns false.

bool readNumber(const std::string &text, int *value);
/** Also "inf" and "nan". */
bool readNumber(const std::string &text, double *value);
/** Digits alone. @param base 2 or 16 */
bool readDigits(const std::string &text, int base, std::uint64_t *value);

/** So many digits behind the point. */
std::string fixed(double number, int digits);
/** So many digits that count, and an exponent where it is shorter. */
std::string general(double number, int digits);

} // namespace rtu

#endif
