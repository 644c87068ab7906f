/**
 * @file
 * Simulated slaves for --sim and --serve.
 */
#ifndef RTU_HOST_SIMULATION_H
#define RTU_HOST_SIMULATION_H

#include "host/cli/options.h"
#include "plant/plant.h"

#include <memory>
#include <ostream>
#include <string>

namespace rtu {

/** Reads the plant of a file with the faults of the command line. @throws std::invalid_argument */
std::unique_ptr<plant::Plant> makePlant(const std::string &file, const Options &options);

/**
 * Makes host and slaves of --sim agree on the pace: that of -b where it is given,
 * else that of the file.
 */
LineParameters agreeOnPace(plant::Plant &plant, const Options &options);

/** --serve: answers on the port until a signal comes. Result: exit status. */
int serve(const Options &options, std::ostream &out, std::ostream &err);

} // namespace rtu

#endif
