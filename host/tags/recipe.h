/**
 * @file
 * Recipes: sets of register values that are saved from slaves to a file and
 * loaded from a file into slaves.
 */
#ifndef RTU_HOST_RECIPE_H
#define RTU_HOST_RECIPE_H

#include "host/tags/driver_property.h"
#include "host/tags/tag.h"

#include <modbus_rtu_host/recipe_row.h>
#include <modbus_rtu_host/transfer_result.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace rtu {

struct Recipe
{
    std::vector<TagRange> tags;
    std::vector<std::vector<std::uint32_t>> values; ///< of each tag; empty when the file has none
};

/**
 * Reads a recipe file: a tag table with the column "values".
 *
 * @param access to write, each row must have its values
 * @throws std::invalid_argument "file:line: what is wrong"
 */
Recipe readRecipe(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in, const std::string &source,
                  Access access);
Recipe readRecipeFile(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &path, Access access);

/** @throws std::invalid_argument for tags that block transfers cannot carry */
void refuseUnfit(const Recipe &recipe, Access access);

/** The values of a row as they stand in the file. */
std::string valuesText(const TagRange &tag, const std::vector<std::uint32_t> &raw);

void writeRecipe(std::ostream &out, const Recipe &recipe);

/** Writes the file anew; the old one stays until the new one is whole. @throws std::runtime_error */
void writeRecipeFile(const std::string &path, const Recipe &recipe);

/** What the link is to move. @param property says which stations have the low word of 32-bit values first */
std::vector<RecipeRow> recipeRows(const Recipe &recipe, const DriverProperty &property);

/** The values that a transfer has read; all rows must have been. */
void takeValues(const TransferResult &result, Recipe &recipe);

} // namespace rtu

#endif
