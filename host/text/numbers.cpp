#include "host/text/numbers.h"

#include <fmt/format.h>

#include <charconv>

namespace rtu {

namespace {

template <typename Number, typename... How>
bool readWhole(const char *begin, const char *end, Number *value, How... how)
{
    Number read{};
    const std::from_chars_result result = std::from_chars(begin, end, read, how...);
    if (result.ec != std::errc() || result.ptr != end)
        return false;
    *value = read;
    return true;
}

/** A plus in front is as good as none; std::from_chars() knows minus alone. */
const char *behindPlus(const std::string &text)
{
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    return text.data() + (plus ? 1 : 0);
}

} // namespace

bool readNumber(const std::string &text, int *value)
{
    return readWhole(behindPlus(text), text.data() + text.size(), value);
}

bool readNumber(const std::string &text, double *value)
{
    return readWhole(behindPlus(text), text.data() + text.size(), value);
}

bool readDigits(const std::string &text, int base, std::uint64_t *value)
{
    return readWhole(text.data(), text.data() + text.size(), value, base);
}

std::string fixed(double number, int digits)
{
    return fmt::format("{:.{}f}", number, digits);
}

std::string general(double number, int digits)
{
    return fmt::format("{:.{}g}", number, digits);
}

} // namespace rtu
