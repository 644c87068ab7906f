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
// A text is the same number wherever it stands: 16 and 0x10 and 0b10000.

bool readNumber(const std::string &text, int *value);
/** Also "inf" and "nan". */
bool readNumber(const std::string &text, double *value);
/** 0x10 and 0b10 alone, without a sign: bit patterns. */
bool readPrefixed(const std::string &text, std::uint64_t *value);

/** So many digits behind the point. */
std::string fixed(double number, int digits);
/** So many digits that count, and an exponent where it is shorter. */
std::string general(double number, int digits);
/** As many digits as it takes to be this number again when it is read. */
std::string shortest(double number);
/** With zeros in front until there are so many digits. */
std::string zeroPadded(int number, int digits);
/** "0x00FF" for 255 and four digits; none is cut off. */
std::string hexadecimal(std::uint32_t number, int digits);
/** "1 reply", "2 replies"; @param more by default with an s */
std::string quantity(std::uint64_t count, const std::string &one, const std::string &more = std::string());

} // namespace rtu

#endif
