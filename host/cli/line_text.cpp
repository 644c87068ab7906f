#include "host/cli/line_text.h"

namespace rtu {

const char *parityName(char parity)
{
    return parity == 'N' ? "none" : parity == 'E' ? "even" : "odd";
}

std::string parameterOptions(const LineParameters &parameters)
{
    return "-b " + std::to_string(parameters.baud) + " -P " + parityName(parameters.parity) + " -s "
           + std::to_string(parameters.stopBits);
}

} // namespace rtu
