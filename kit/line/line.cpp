#include <modbus_rtu_host/line.h>

namespace rtu {

// Here, so that the class's tables are in the library once and not in every user of it.
Line::~Line() = default;

} // namespace rtu
