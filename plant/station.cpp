#include "plant/station.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <sys/socket.h>
#include <unistd.h>

namespace plant {

// --- tables ---------------------------------------------------------------------

Tables::Tables() : m_mapping(modbus_mapping_new(TableSize, TableSize, TableSize, TableSize))
{
    if (!m_mapping)
        throw std::bad_alloc();
    for (std::vector<bool> &exists : m_exists)
        exists.assign(TableSize, false);
}

Tables::~Tables()
{
    modbus_mapping_free(m_mapping);
}

void Tables::define(Table table, int first, int count, bool exists)
{
    std::vector<bool> &marks = m_exists[static_cast<int>(table)];
    const int last = std::min(first + count, static_cast<int>(TableSize));
    for (int address = std::max(first, 0); address < last; ++address)
        marks[static_cast<std::size_t>(address)] = exists;
    stopMotions(table, first, last);
}

/** Also that of a 32-bit value which only reaches into the range. */
void Tables::stopMotions(Table table, int first, int end)
{
    std::map<int, Mover> &movers = m_movers[static_cast<int>(table)];
    for (auto mover = movers.lower_bound(first - 1); mover != movers.end() && mover->first < end;)
        mover = mover->first + mover->second.registers > first ? movers.erase(mover) : std::next(mover);
}

bool Tables::covers(Table table, int first, int count) const
{
    if (first < 0 || first + count > TableSize)
        return false;
    const std::vector<bool> &marks = m_exists[static_cast<int>(table)];
    return std::all_of(marks.begin() + first, marks.begin() + first + count, [](bool exists) { return exists; });
}

std::uint16_t Tables::value(Table table, int address) const
{
    if (!covers(table, address, 1))
        return 0;
    switch (table) {
    case Table::Coils:
        return m_mapping->tab_bits[address];
    case Table::DiscreteInputs:
        return m_mapping->tab_input_bits[address];
    case Table::InputRegisters:
        return m_mapping->tab_input_registers[address];
    case Table::HoldingRegisters:
        return m_mapping->tab_registers[address];
    }
    return 0;
}

void Tables::setValue(Table table, int address, std::uint16_t value)
{
    if (!covers(table, address, 1))
        return;
    switch (table) {
    case Table::Coils:
        m_mapping->tab_bits[address] = value ? 1 : 0;
        return;
    case Table::DiscreteInputs:
        m_mapping->tab_input_bits[address] = value ? 1 : 0;
        return;
    case Table::InputRegisters:
        m_mapping->tab_input_registers[address] = value;
        return;
    case Table::HoldingRegisters:
        m_mapping->tab_registers[address] = value;
        return;
    }
}

void Tables::setMotion(Table table, int address, const Motion &motion, int registers)
{
    m_movers[static_cast<int>(table)][address] = Mover{motion, registers};
}

void Tables::moveTo(std::chrono::nanoseconds elapsed)
{
    for (int number = 0; number < TableCount; ++number) {
        const Table table = static_cast<Table>(number);
        for (const auto &[address, mover] : m_movers[number]) {
            const std::uint32_t value = valueAt(mover.motion, elapsed);
            if (mover.registers == 2)
                setValue(table, address, static_cast<std::uint16_t>(value >> 16));
            setValue(table, address + mover.registers - 1, static_cast<std::uint16_t>(value & 0xFFFF));
        }
    }
}

// --- answers --------------------------------------------------------------------

namespace {

/** What a request touches: for the functions of the driver's kind of master. */
struct Access
{
    bool known;
    Table table;
    int count;
};

int word(const Bytes &request, std::size_t at)
{
    return request[at] * 256 + request[at + 1];
}

Access accessOf(const Bytes &request)
{
    switch (request[1]) {
    case MODBUS_FC_READ_COILS:
    case MODBUS_FC_WRITE_MULTIPLE_COILS:
        return {true, Table::Coils, word(request, 4)};
    case MODBUS_FC_READ_DISCRETE_INPUTS:
        return {true, Table::DiscreteInputs, word(request, 4)};
    case MODBUS_FC_READ_INPUT_REGISTERS:
        return {true, Table::InputRegisters, word(request, 4)};
    case MODBUS_FC_READ_HOLDING_REGISTERS:
    case MODBUS_FC_WRITE_MULTIPLE_REGISTERS:
        return {true, Table::HoldingRegisters, word(request, 4)};
    case MODBUS_FC_WRITE_SINGLE_COIL:
        return {true, Table::Coils, 1};
    case MODBUS_FC_WRITE_SINGLE_REGISTER:
    case MODBUS_FC_MASK_WRITE_REGISTER:
        return {true, Table::HoldingRegisters, 1};
    default:
        return {false, Table::HoldingRegisters, 0};
    }
}

/** libmodbus believes the quantity of a multiple write; the bytes must be there. */
bool carriesItsData(const Bytes &request)
{
    if (request[1] == MODBUS_FC_WRITE_MULTIPLE_COILS)
        return request[6] == (word(request, 4) + 7) / 8;
    if (request[1] == MODBUS_FC_WRITE_MULTIPLE_REGISTERS)
        return request[6] == word(request, 4) * 2;
    if (request[1] == MODBUS_FC_WRITE_AND_READ_REGISTERS)
        return request[10] == word(request, 8) * 2;
    return true;
}

} // namespace

Station::Station(int number) : m_protocol(modbus_new_rtu("/dev/null", 19200, 'N', 8, 2))
{
    if (!m_protocol)
        throw std::bad_alloc();
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, m_ends) != 0) {
        modbus_free(m_protocol);
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    modbus_set_slave(m_protocol, number);
    modbus_set_socket(m_protocol, m_ends[0]);
    // libmodbus sleeps this long before some exception answers.
    modbus_set_response_timeout(m_protocol, 0, 1);
}

Station::~Station()
{
    ::close(m_ends[0]);
    ::close(m_ends[1]);
    modbus_free(m_protocol);
}

bool Station::touchesHole(const Bytes &request) const
{
    const Access access = accessOf(request);
    if (!access.known)
        return false;
    const bool bits = access.table == Table::Coils || access.table == Table::DiscreteInputs;
    const int most = bits ? MODBUS_MAX_READ_BITS : MODBUS_MAX_READ_REGISTERS;
    if (access.count < 1 || access.count > most)
        return false; // a wrong quantity comes first, and libmodbus says so
    return !tables.covers(access.table, word(request, 2), access.count);
}

Bytes Station::answer(const Bytes &request)
{
    const bool broadcast = request[0] == MODBUS_BROADCAST_ADDRESS;
    if (!carriesItsData(request))
        return broadcast ? Bytes() : exceptionAnswer(request, MODBUS_EXCEPTION_ILLEGAL_DATA_VALUE);
    if (touchesHole(request))
        return broadcast ? Bytes() : exceptionAnswer(request, MODBUS_EXCEPTION_ILLEGAL_DATA_ADDRESS);
    const int written = modbus_reply(m_protocol, request.data(), static_cast<int>(request.size()), tables.mapping());
    if (written < 0 && !broadcast)
        return exceptionAnswer(request, MODBUS_EXCEPTION_ILLEGAL_FUNCTION);
    return takeAnswer();
}

Bytes Station::exceptionAnswer(const Bytes &request, unsigned code)
{
    modbus_reply_exception(m_protocol, request.data(), code);
    return takeAnswer();
}

Bytes Station::takeAnswer()
{
    Bytes answer(MODBUS_MAX_ADU_LENGTH);
    const ssize_t size = ::read(m_ends[1], answer.data(), answer.size());
    answer.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return answer;
}

} // namespace plant
