/**
 * @file
 * What the demo shows, one scene after the other.
 */
#ifndef RTU_DEMO_SCENES_H
#define RTU_DEMO_SCENES_H

#include "host/demo/stage.h"

namespace demo {

/** A picture stands for so long before the next one. */
const rtu::Duration ReadingTime = std::chrono::milliseconds(1200);

/** Words, bits, 32-bit values, coils and inputs of both slaves, polled while they move. */
void showPolling(Stage &stage);

/** Writes to a coil, a register, a 32-bit value and a bit of a register. */
void showWrites(Stage &stage);

/** Station 2 falls silent and comes back; station 1 is polled on. */
void showDeadSlave(Stage &stage);

/**
 * A recipe from the slaves into a file and back, for both orders of the words of
 * 32-bit values.
 *
 * @param folder has recipe.csv, the list of the recipe's values
 */
void showRecipes(Stage &stage, const std::string &folder);

} // namespace demo

#endif
