#include "host/cli/negative_values.h"

#include "host/tags/address_hint.h"
#include "host/text/numbers.h"

#include <stdexcept>

namespace rtu {

namespace {

const char Mark = '\x01'; ///< nobody types it

bool isNumber(const std::string &text)
{
    double number = 0;
    return readNumber(text, &number);
}

bool isNegative(const std::string &text)
{
    const bool looksLikeIt =
        text.size() > 1 && text[0] == '-' && (text[1] == '.' || (text[1] >= '0' && text[1] <= '9'));
    return looksLikeIt && isNumber(text);
}

/** "4x211", and what may stand behind it; not "4x211=5", which has its values. */
bool awaitsValues(const std::string &text)
{
    return beginsWithTable(text) && text.find('=') == std::string::npos;
}

bool isOption(const std::string &text)
{
    return text == "-1" || text == "-0";
}

/** @param address whose value it might be; empty when one of -r's it might be */
[[noreturn]] void refuse(const std::string &text, const std::string &address, const std::string &before)
{
    const std::string meaning = text == "-1" ? "to read once" : "to count from 0";
    const std::string spelling =
        address.empty() ? "or -- in front of the values" : "write " + address + "=" + text + " or -- " + text;
    throw std::invalid_argument(text + " behind " + (address.empty() ? before : address)
                                + " could be an option or a value: put " + text + " in front " + meaning + ", "
                                + spelling + " to write it");
}

} // namespace

std::vector<std::string> markNegativeValues(const std::vector<std::string> &arguments,
                                            const std::function<bool(const std::string &)> &takesArgument)
{
    std::vector<std::string> marked;
    std::string address; ///< that this argument may be a value of
    std::string value;   ///< directly in front of this argument
    bool belongs = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &text = arguments[i];
        if (text == "--") {
            marked.insert(marked.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            break;
        }
        if (!belongs && isOption(text) && !(address.empty() && value.empty()))
            refuse(text, address, value);
        const bool number = !belongs && isNumber(text) && !isOption(text);
        const bool negative = number && isNegative(text);
        marked.push_back(negative ? Mark + text : text);
        value = number ? text : std::string();
        if (!belongs && awaitsValues(text))
            address = text;
        else if (!number)
            address.clear();
        belongs = !belongs && !negative && takesArgument(text);
    }
    return marked;
}

std::string unmarked(const std::string &argument)
{
    return !argument.empty() && argument[0] == Mark ? argument.substr(1) : argument;
}

} // namespace rtu
