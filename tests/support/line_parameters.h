/**
 * @file
 * Line parameters in the order in which people write them: 19200 8N1.
 */
#ifndef TESTS_SUPPORT_LINE_PARAMETERS_H
#define TESTS_SUPPORT_LINE_PARAMETERS_H

#include <modbus_rtu_host/line_parameters.h>

namespace test_line {

inline rtu::LineParameters parameters(int baud, int dataBits, char parity, int stopBits)
{
    rtu::LineParameters result;
    result.baud = baud;
    result.dataBits = dataBits;
    result.parity = parity;
    result.stopBits = stopBits;
    return result;
}

/** Those of a pseudo-terminal: no pace, no parity. */
inline rtu::LineParameters unpaced()
{
    return parameters(0, 8, 'N', 1);
}

} // namespace test_line

#endif
