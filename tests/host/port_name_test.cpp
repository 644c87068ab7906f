#include "host/cli/port_name.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

std::string refusal(const std::string &name)
{
    try {
        rtu::judgePortName(name);
    } catch (const std::invalid_argument &error) {
        return error.what();
    }
    return "";
}

TEST(PortName, IsLetThroughWhereItMayBeAPort)
{
    for (const char *name : {"/dev/ttyUSB0", "./slaves", "/nowhere/port", "/dev/serial/by-id/usb-1a86:00", "p",
                             "tcp:192.168.1.5:4001", "tcp:[fe80::1]:4001", "tcp:gateway:4001"})
        EXPECT_EQ("", refusal(name)) << name;
}

TEST(PortName, IsRefusedWithTheOneThatIsMeant)
{
    struct Case
    {
        const char *name;
        const char *hint;
    };
    const Case cases[] = {
        {"ttyUSB0", "did you mean /dev/ttyUSB0?"},
        {"null", "did you mean /dev/null?"},
        {"COM3", "/dev/ttyUSB0"},
        {"12", "\"12\" is a number, and stands where the port is named"},
        {"192.168.0.5", "did you mean tcp:192.168.0.5:PORT, such as"},
        {"192.168.0.5:502", "did you mean tcp:192.168.0.5:502?"},
        {"plc.local:502", "did you mean tcp:plc.local:502?"},
        {"tcp:", "names no host"},
        {"tcp::502", "names no host"},
        {"tcp:plc.local", "names no port of the host"},
        {"tcp:plc.local:", "names no port of the host"},
        {"tcp:[fe80::1]", "names no port of the host"},
        {"tcp://plc.local:502", "write tcp:plc.local:502"},
        {"tcp:fe80::1:502", "brackets go around a host with colons"},
        {"tcp:plc.local:99999", "\"99999\" is no port of a host, which is from 1 to 65535"},
        {"tcp:plc.local:modbus", "\"modbus\" is no port of a host"},
    };
    for (const Case &each : cases)
        EXPECT_NE(std::string::npos, refusal(each.name).find(each.hint)) << each.name << ": " << refusal(each.name);
}

} // namespace
