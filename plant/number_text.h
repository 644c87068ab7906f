/**
 * @file
 * Numbers as they stand in simulation files and faults: the same in every locale.
 */
#ifndef PLANT_NUMBER_TEXT_H
#define PLANT_NUMBER_TEXT_H

#include <charconv>
#include <string>

namespace plant {

/** Takes the whole text, or leaves the value alone and returns false. @param how a base, for whole numbers */
template <typename Number, typename... How>
bool readNumber(const std::string &text, Number *value, How... how)
{
    const char *const end = text.data() + text.size();
    Number read{};
    const std::from_chars_result result = std::from_chars(text.data(), end, read, how...);
    if (result.ec != std::errc() || result.ptr != end)
        return false;
    *value = read;
    return true;
}

} // namespace plant

#endif
