/**
 * @file
 * Line parameters as options.
 */
#ifndef RTU_HOST_LINE_TEXT_H
#define RTU_HOST_LINE_TEXT_H

#include <modbus_rtu_host/line_parameters.h>

#include <string>

namespace rtu {

/** As -P takes it: "none", "even", "odd". */
const char *parityName(char parity);

/** "-b 9600 -P none -s 1" */
std::string parameterOptions(const LineParameters &parameters);

} // namespace rtu

#endif
