/**
 * @file
 * What happened to a line besides its values: the port or a station went or came back.
 */
#ifndef RTU_HOST_LINE_EVENT_H
#define RTU_HOST_LINE_EVENT_H

#include <modbus_rtu_host/line.h>

#include <string>

namespace rtu {

enum class LineChange { Lost, Silent, Back };

struct LineEvent
{
    TimePoint time;
    int station = 0; ///< 0: the port
    LineChange change = LineChange::Back;
    std::string error; ///< the driver's text, where there is one
};

} // namespace rtu

#endif
