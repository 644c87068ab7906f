/**
 * @file
 * Simulation files: the text form of a plant. README.md here describes it.
 */
#ifndef RTU_PLANT_SIM_FILE_H
#define RTU_PLANT_SIM_FILE_H

#include "plant/plant.h"

namespace plant {

/**
 * Adds what a text describes to a plant.
 *
 * @param name stands before the line number in messages
 * @return false with the place and the reason in @p error; what stood before it has been added
 */
bool readSimulation(const std::string &text, const std::string &name, Plant &plant, std::string *error);

} // namespace plant

#endif
