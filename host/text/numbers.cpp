#include "host/text/numbers.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>

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

/** 16 behind 0x, 2 behind 0b; 0: no such prefix. */
int baseOf(const std::string &text)
{
    if (text.size() < 3 || text[0] != '0')
        return 0;
    return text[1] == 'x' || text[1] == 'X' ? 16 : text[1] == 'b' || text[1] == 'B' ? 2 : 0;
}

/** A prefixed number, with its sign where it has one. */
bool readSignedPrefixed(const std::string &text, std::int64_t *value)
{
    const bool minus = !text.empty() && text[0] == '-';
    const bool sign = minus || (!text.empty() && text[0] == '+');
    std::uint64_t magnitude = 0;
    if (!readPrefixed(text.substr(sign ? 1 : 0), &magnitude) || magnitude > std::numeric_limits<std::uint32_t>::max())
        return false;
    *value = static_cast<std::int64_t>(magnitude) * (minus ? -1 : 1);
    return true;
}

} // namespace

bool readPrefixed(const std::string &text, std::uint64_t *value)
{
    const int base = baseOf(text);
    return base != 0 && readWhole(text.data() + 2, text.data() + text.size(), value, base);
}

bool readNumber(const std::string &text, int *value)
{
    std::int64_t prefixed = 0;
    if (!readSignedPrefixed(text, &prefixed))
        return readWhole(behindPlus(text), text.data() + text.size(), value);
    if (prefixed < std::numeric_limits<int>::min() || prefixed > std::numeric_limits<int>::max())
        return false;
    *value = static_cast<int>(prefixed);
    return true;
}

bool readNumber(const std::string &text, double *value)
{
    std::int64_t prefixed = 0;
    if (!readSignedPrefixed(text, &prefixed))
        return readWhole(behindPlus(text), text.data() + text.size(), value);
    *value = static_cast<double>(prefixed);
    return true;
}

std::string fixed(double number, int digits)
{
    return fmt::format("{:.{}f}", number, digits);
}

std::string general(double number, int digits)
{
    return fmt::format("{:.{}g}", number, digits);
}

std::string shortest(double number)
{
    return fmt::format("{}", number);
}

std::string zeroPadded(int number, int digits)
{
    return fmt::format("{:0{}}", number, digits);
}

std::string hexadecimal(std::uint32_t number, int digits)
{
    return fmt::format("0x{:0{}X}", number, digits);
}

std::string quantity(std::uint64_t count, const std::string &one, const std::string &more)
{
    return std::to_string(count) + " " + (count == 1 ? one : more.empty() ? one + "s" : more);
}

} // namespace rtu
