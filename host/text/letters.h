/**
 * @file
 * Small and capital letters.
 */
#ifndef RTU_HOST_LETTERS_H
#define RTU_HOST_LETTERS_H

#include <string>

namespace rtu {

/** With small letters for A to Z; other letters, bytes of UTF-8, stay as they are. */
std::string lowered(std::string text);

} // namespace rtu

#endif
