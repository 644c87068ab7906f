/**
 * @file
 * The program behind main(): what the options ask for, and the exit status.
 */
#ifndef RTU_HOST_PROGRAM_H
#define RTU_HOST_PROGRAM_H

#include <ostream>

namespace rtu {

enum ExitStatus { ExitGood = 0, ExitErrors = 1, ExitMisuse = 2 };

int runProgram(int argc, const char *const *argv, std::ostream &out, std::ostream &err);

} // namespace rtu

#endif
