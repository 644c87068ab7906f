/**
 * @file
 * Finding who answers on a port.
 */
#ifndef RTU_HOST_SEARCH_PROGRAM_H
#define RTU_HOST_SEARCH_PROGRAM_H

#include "host/cli/options.h"

#include <ostream>

namespace rtu {

/** Asks until it can tell who answers with which parameters, or why nobody does. Result: exit status. */
int findStations(const Options &options, std::ostream &out, std::ostream &err);

} // namespace rtu

#endif
