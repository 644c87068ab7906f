/**
 * @file
 * The poll loop of line_bench over libmodbus: the same plan, the same silences,
 * the same output.
 */
#include "line_bench_common.h"

#include <modbus.h>

#include <sched.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace {

using namespace line_bench;

/** The same exact sleeps and the same priority that the driver's poll loop asks for. */
void askForPunctuality()
{
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    sched_param priority;
    std::memset(&priority, 0, sizeof(priority));
    priority.sched_priority = 1;
    (void)::sched_setscheduler(0, SCHED_FIFO, &priority);
}

struct Context
{
    explicit Context(const Arguments &arguments)
    {
        const int baud = arguments.line.baud > 0 ? arguments.line.baud : 115200;
        // A pseudo-terminal refuses parity; 8N2 has the same 11 bits as 8E1.
        handle = modbus_new_rtu(arguments.port.c_str(), baud, arguments.line.parity, 8, arguments.line.stopBits);
        if (!handle || modbus_connect(handle) != 0) {
            modbus_free(handle);
            handle = modbus_new_rtu(arguments.port.c_str(), baud, 'N', 8, 2);
            if (!handle || modbus_connect(handle) != 0)
                throw std::runtime_error("cannot open " + arguments.port + ": " + modbus_strerror(errno));
        }
        modbus_set_response_timeout(handle, static_cast<std::uint32_t>(arguments.timeoutMilliseconds / 1000),
                                    static_cast<std::uint32_t>(arguments.timeoutMilliseconds % 1000) * 1000);
    }

    ~Context()
    {
        modbus_close(handle);
        modbus_free(handle);
    }
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;

    modbus_t *handle;
};

class Loop
{
public:
    Loop(const Arguments &arguments, modbus_t *handle) : m_handle(handle), m_timing(arguments.line)
    {
        if (arguments.silence >= rtu::Duration(0))
            m_timing.setSilence(arguments.silence);
    }

    void read(const Block &block, Checksum *checksum)
    {
        waitForSilence();
        ++transactions;
        modbus_set_slave(m_handle, block.station);
        if (block.type == "0x" || block.type == "1x")
            readBits(block, checksum);
        else
            readRegisters(block, checksum);
        m_quietSince = rtu::SteadyClock::now();
    }

    unsigned long transactions = 0;
    unsigned long errors = 0;

private:
    void waitForSilence() const
    {
        const auto target = (m_quietSince + m_timing.silence()).time_since_epoch();
        const std::int64_t nanoseconds = std::chrono::nanoseconds(target).count();
        const timespec when = {static_cast<time_t>(nanoseconds / 1000000000),
                               static_cast<long>(nanoseconds % 1000000000)};
        if (m_timing.silence() > rtu::Duration(0))
            ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &when, nullptr);
    }

    bool judge(int result)
    {
        if (result >= 0)
            return true;
        ++errors;
        modbus_flush(m_handle);
        return false;
    }

    void readBits(const Block &block, Checksum *checksum)
    {
        std::uint8_t bits[MODBUS_MAX_READ_BITS];
        const int result = block.type == "0x" ? modbus_read_bits(m_handle, block.start, block.count, bits)
                                              : modbus_read_input_bits(m_handle, block.start, block.count, bits);
        if (!judge(result) || !checksum)
            return;
        for (int i = 0; i < block.count; ++i)
            checksum->add(bits[i]);
    }

    void readRegisters(const Block &block, Checksum *checksum)
    {
        std::uint16_t words[MODBUS_MAX_READ_REGISTERS];
        const bool bits = block.type.find("_bit") != std::string::npos;
        const int start = bits ? block.start / 16 : block.start;
        const int count = bits ? (block.start % 16 + block.count + 15) / 16 : block.count;
        const int result = block.type[0] == '3' ? modbus_read_input_registers(m_handle, start, count, words)
                                                : modbus_read_registers(m_handle, start, count, words);
        if (!judge(result) || !checksum)
            return;
        if (bits) {
            for (int i = block.start % 16; i < block.start % 16 + block.count; ++i)
                checksum->add(words[i / 16] >> i % 16 & 1u);
        } else if (block.type.find("_double") != std::string::npos) {
            for (int i = 0; i + 1 < count; i += 2)
                checksum->add(static_cast<std::uint32_t>(words[i]) << 16 | words[i + 1]);
        } else {
            for (int i = 0; i < count; ++i)
                checksum->add(words[i]);
        }
    }

    modbus_t *m_handle;
    rtu::LineTiming m_timing;
    rtu::TimePoint m_quietSince;
};

int run(const Arguments &arguments)
{
    const std::vector<Block> blocks = readPlan(arguments.planFile);
    const Context context(arguments);
    askForPunctuality();
    Loop loop(arguments, context.handle);
    Meter meter;
    Checksum checksum;
    meter.start();
    for (long cycles = 0; !meter.finished(arguments, cycles); ++cycles) {
        for (const Block &block : blocks)
            loop.read(block, cycles == 0 ? &checksum : nullptr);
    }
    meter.stop();
    meter.print(loop.transactions, loop.errors, checksum);
    return loop.errors == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    return line_bench::runProgram(argc, argv, run);
}
