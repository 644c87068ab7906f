/**
 * @file
 * Where findings go: counted, told once, and on request the end of the program.
 *
 * Environment, read when the checker is loaded:
 *   MODBUS_RTU_CHECK_OUTPUT   "stderr", or the path of a file that is appended to
 *   MODBUS_RTU_CHECK_IGNORE   names of findings that are not told, between commas
 *   MODBUS_RTU_CHECK_ABORT    "hint", "warning" or "error": abort at the first
 *                             finding that matters as much
 *
 * Without MODBUS_RTU_CHECK_OUTPUT findings go to the host's
 * modbus_rtu_check_finding() where there is one, else to standard error.
 *
 * Threads: all functions may be called from any thread.
 */
#ifndef CHECKER_REPORTER_H
#define CHECKER_REPORTER_H

#include "checker/findings.h"

#include <mutex>
#include <string>

namespace checker {

class Reporter
{
public:
    Reporter();
    ~Reporter();

    void tell(const Findings &findings);

    /** Names the line in what is told from now on. */
    void setLink(int link);

    /** Tells how often the findings came that came more than once. */
    void summarise();

private:
    Reporter(const Reporter &);
    Reporter &operator=(const Reporter &);

    void tell(const Finding &finding);
    bool ignores(const char *name) const;
    std::string prefix() const;
    void print(const std::string &line) const;

    std::mutex mutex;
    int counts[FindingCount][CallCount];
    int link;
    bool linkKnown;
    int output;                      ///< file descriptor, -1 for none
    bool ownsOutput;                 ///< the descriptor is closed at the end
    int abortFrom;                   ///< severity from which the program is aborted
    std::string ignored;             ///< names between commas, with commas around
    ModbusRtuCheckFunction listener; ///< the host's function, null for none
};

} // namespace checker

#endif
