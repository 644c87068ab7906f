/**
 * @file
 * A row of a recipe.
 */
#ifndef MODBUS_RTU_HOST_RECIPE_ROW_H
#define MODBUS_RTU_HOST_RECIPE_ROW_H

#include <modbus_rtu_host/tag_definition.h>

#include <vector>

namespace rtu {

/** Values of one station that belong to a recipe. "4x" and "4x_double"; only to be saved, "3x" and "3x_double" too. */
struct RecipeRow
{
    TagDefinition where;
    /** The numbers to load or to compare with, where.values of them; not looked at when saving. */
    std::vector<double> numbers;
};

} // namespace rtu

#endif
