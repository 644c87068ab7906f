/**
 * @file
 * Recipes: sets of register values that are saved from slaves to a file and
 * loaded from a file into slaves, through the driver's block transfers.
 */
#ifndef RTU_HOST_RECIPE_H
#define RTU_HOST_RECIPE_H

#include "driver_session.h"

#include <QtCore/QVector>

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

void writeRecipe(std::ostream &out, const Recipe &recipe);

/** Writes the file anew; the old one stays until the new one is whole. @throws std::runtime_error */
void writeRecipeFile(const std::string &path, const Recipe &recipe);

/** The rows of the driver's recipe table, laid out one behind the other in the word buffer. */
QVector<_RCP_VAR_PRO> recipeRows(const std::vector<TagRange> &tags, const DriverProperty &property);

/** Values into the word buffer, and back. */
void fillWords(const Recipe &recipe, std::vector<unsigned short> &words);
void takeWords(const std::vector<unsigned short> &words, Recipe &recipe);

} // namespace rtu

#endif
