/**
 * @file
 * Listening in on a line, and reading captures of one.
 */
#ifndef RTU_HOST_LISTEN_PROGRAM_H
#define RTU_HOST_LISTEN_PROGRAM_H

#include "host/listen/replay_line.h"
#include "host/cli/options.h"

#include <ostream>
#include <vector>

namespace rtu {

/** Listens until a signal or a key comes, and never sends. Result: exit status. */
int listenIn(const Options &options, std::ostream &out, std::ostream &err);

/** The transactions of the capture that --replay names. @throws std::invalid_argument, std::runtime_error */
std::vector<ReplayEntry> readCaptureFile(const Options &options);

/** Tells what a capture holds as listening would have told it. Result: exit status. */
int tellCapture(const Options &options, std::ostream &out, std::ostream &err);

} // namespace rtu

#endif
