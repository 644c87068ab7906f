#include "host/report/value_json.h"

namespace rtu {

Json jsonValue(std::uint32_t raw, const ValueFormat &format)
{
    const std::string shown = valueText(raw, format);
    return isJsonNumber(shown) ? Json::parse(shown) : Json(shown);
}

} // namespace rtu
