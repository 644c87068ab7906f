/**
 * @file
 * Programs, run as their users run them.
 */
#ifndef TESTS_SUPPORT_RUN_PROGRAM_H
#define TESTS_SUPPORT_RUN_PROGRAM_H

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace support {

/** What became of a program. */
struct Outcome
{
    int status;         ///< exit status, -1 when it did not end by itself
    std::string output; ///< both streams
};

/** Runs a command line and waits for its end. */
inline Outcome run(const std::string &command)
{
    FILE *pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return {-1, "cannot start " + command};
    std::string output;
    char piece[256];
    while (const std::size_t count = std::fread(piece, 1, sizeof(piece), pipe))
        output.append(piece, count);
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

} // namespace support

#endif
