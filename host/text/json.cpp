#include "host/text/json.h"

#include <cmath>

namespace rtu {

std::string jsonText(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json jsonNumber(double number, int digits)
{
    const double scale = std::pow(10.0, digits);
    return std::round(number * scale) / scale;
}

} // namespace rtu
