#include "line_bench_common.h"

#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace line_bench {

namespace {

[[noreturn]] void usage(const char *program, const std::string &reason)
{
    std::fprintf(
        stderr,
        "%s: %s\n"
        "usage: %s --port P --baud B --plan F (--seconds T | --cycles N) [--timeout-ms M]\n"
        "          [--parity N|E|O] [--stop-bits 1|2] [--silence MS] [--driver PATH]\n"
        "  plan lines: station type start count, addresses from 0; types as the driver names them\n"
        "  baud 0: no pace and no silences; a pseudo-terminal takes 8N2 whatever the parity\n"
        "  silence: milliseconds kept before each request, such as 1.75 or 0; else as the baud rate asks for\n",
        program, reason.c_str(), program);
    std::exit(2);
}

double toSeconds(const timeval &time)
{
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void take(Arguments &arguments, const std::string &name, const std::string &value, const char *program)
{
    if (name == "--port")
        arguments.port = value;
    else if (name == "--baud")
        arguments.line.baud = std::atoi(value.c_str());
    else if (name == "--plan")
        arguments.planFile = value;
    else if (name == "--seconds")
        arguments.seconds = std::atof(value.c_str());
    else if (name == "--cycles")
        arguments.cycles = std::atol(value.c_str());
    else if (name == "--timeout-ms")
        arguments.timeoutMilliseconds = std::atoi(value.c_str());
    else if (name == "--parity")
        arguments.line.parity = value[0];
    else if (name == "--stop-bits")
        arguments.line.stopBits = std::atoi(value.c_str());
    else if (name == "--silence")
        arguments.silence = std::chrono::microseconds(std::lround(1000 * std::atof(value.c_str())));
    else if (name == "--driver")
        arguments.driver = value;
    else
        usage(program, "unknown option " + name);
}

/** Ends the program with status 2 on misuse. */
Arguments parseArguments(int argc, char **argv)
{
    Arguments arguments;
    bool baudGiven = false;
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 == argc || !argv[i + 1][0])
            usage(argv[0], std::string(argv[i]) + " needs a value");
        take(arguments, argv[i], argv[i + 1], argv[0]);
        baudGiven = baudGiven || std::string(argv[i]) == "--baud";
    }
    if (arguments.port.empty() || arguments.planFile.empty() || !baudGiven)
        usage(argv[0], "--port, --baud and --plan are needed");
    if ((arguments.seconds > 0) == (arguments.cycles > 0))
        usage(argv[0], "one of --seconds and --cycles is needed");
    return arguments;
}

} // namespace

int runProgram(int argc, char **argv, int (*run)(const Arguments &))
{
    const Arguments arguments = parseArguments(argc, argv);
    try {
        return run(arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}

std::vector<Block> readPlan(const std::string &file)
{
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error("cannot read the plan " + file);
    std::vector<Block> blocks;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::istringstream fields(line.substr(0, line.find('#')));
        Block block;
        std::string rest;
        if (!(fields >> block.station))
            continue;
        if (!(fields >> block.type >> block.start >> block.count) || fields >> rest || block.count < 1)
            throw std::runtime_error(file + ":" + std::to_string(number) + ": wanted: station type start count");
        blocks.push_back(block);
    }
    if (blocks.empty())
        throw std::runtime_error(file + " plans nothing");
    return blocks;
}

Meter::Reading Meter::read()
{
    rusage use;
    ::getrusage(RUSAGE_SELF, &use);
    const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
    return Reading{now.count(), toSeconds(use.ru_utime), toSeconds(use.ru_stime)};
}

void Meter::start()
{
    m_start = read();
}

void Meter::stop()
{
    m_stop = read();
}

bool Meter::finished(const Arguments &arguments, long cycles) const
{
    if (arguments.cycles > 0)
        return cycles >= arguments.cycles;
    const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
    return now.count() - m_start.wall >= arguments.seconds;
}

void Meter::print(unsigned long transactions, unsigned long errors, const Checksum &checksum) const
{
    std::printf("{\"transactions\":%lu,\"errors\":%lu,\"wall_s\":%.6f,\"user_s\":%.6f,\"sys_s\":%.6f,"
                "\"checksum\":\"%08x\"}\n",
                transactions, errors, m_stop.wall - m_start.wall, m_stop.user - m_start.user,
                m_stop.system - m_start.system, checksum.sum());
}

} // namespace line_bench
