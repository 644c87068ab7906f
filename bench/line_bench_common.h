/**
 * @file
 * What the line benchmarks share: arguments, plan, measuring and the result line.
 */
#ifndef LINE_BENCH_COMMON_H
#define LINE_BENCH_COMMON_H

#include "kit/line/line_timing.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace line_bench {

/** A line of the plan file: "station type start count", addresses from zero. */
struct Block
{
    int station;
    std::string type; ///< one of the driver's register types
    int start;
    int count; ///< bits or registers, as the driver counts
};

struct Arguments
{
    std::string port;
    rtu::LineParameters line;
    std::string planFile;
    double seconds = 0;
    long cycles = 0;
    int timeoutMilliseconds = 1000;
    rtu::Duration silence{-1}; ///< before each request; below 0: what the baud rate asks for
    std::string driver;
};

/**
 * The whole of main(): @p run with the arguments of the command line.
 * @return exit status: what @p run returns, 1 with a line on standard error when
 *         it throws, 2 with the usage on misuse
 */
int runProgram(int argc, char **argv, int (*run)(const Arguments &));

/** @throws std::runtime_error with file and line */
std::vector<Block> readPlan(const std::string &file);

/** c = c x 31 + v over the values of the first round. */
class Checksum
{
public:
    void add(std::uint32_t value) { m_sum = m_sum * 31u + value; }
    std::uint32_t sum() const { return m_sum; }

private:
    std::uint32_t m_sum = 0;
};

/** Time and CPU of the calling process from start to stop. */
class Meter
{
public:
    void start();
    void stop();
    /** True once the seconds or cycles of the arguments are used up. */
    bool finished(const Arguments &arguments, long cycles) const;
    void print(unsigned long transactions, unsigned long errors, const Checksum &checksum) const;

private:
    struct Reading
    {
        double wall;
        double user;
        double system;
    };

    static Reading read();

    Reading m_start{0, 0, 0};
    Reading m_stop{0, 0, 0};
};

} // namespace line_bench

#endif
