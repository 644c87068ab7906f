/**
 * @file
 * All registers and coils that were seen in the traffic of others.
 */
#ifndef RTU_HOST_LISTEN_HEARD_REGISTERS_H
#define RTU_HOST_LISTEN_HEARD_REGISTERS_H

#include <modbus_rtu_host/transaction.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace rtu {

/** One register or coil of a station. */
struct HeardPlace
{
    int station = 0;
    std::string type; ///< "0x", "1x", "3x" or "4x"
    int address = 0;  ///< counted from 0

    bool operator<(const HeardPlace &other) const;
    /** "2:4x100", counted from 1. */
    std::string label() const;
};

struct HeardRegister
{
    bool known = false; ///< false: asked for, and no value has come
    int value = 0;
    TimePoint time;           ///< at which the value arrived
    std::uint64_t asked = 0;  ///< how often it was read or written
    std::uint64_t failed = 0; ///< how often that brought an exception or nothing
    Duration interval{0};     ///< between the last two requests for it; 0: there was one only
    TimePoint lastAsked;
};

class HeardRegisters
{
public:
    /** More are not kept: a line with so many is not watched by eye. */
    enum { MostKept = 20000 };

    void note(const Transaction &transaction);

    const std::map<HeardPlace, HeardRegister> &all() const { return m_registers; }
    /** How often one was left out because there were too many. */
    std::uint64_t leftOut() const { return m_leftOut; }

private:
    std::map<HeardPlace, HeardRegister> m_registers;
    std::uint64_t m_leftOut = 0;
};

} // namespace rtu

#endif
