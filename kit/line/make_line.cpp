#include "kit/line/make_line.h"

#include "kit/line/serial_line.h"
#include "kit/line/tcp_line.h"

namespace rtu {

std::unique_ptr<PortLine> makeLine(const std::string &port, const LineParameters &parameters)
{
    if (isTcpPort(port))
        return std::unique_ptr<PortLine>(new TcpLine(port));
    return std::unique_ptr<PortLine>(new SerialLine(port, parameters));
}

} // namespace rtu
