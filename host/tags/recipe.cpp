#include "host/tags/recipe.h"

#include "host/text/numbers.h"
#include "host/text/csv.h"
#include "host/text/output_path.h"
#include "host/tags/link_tags.h"
#include "host/tags/tag_table.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace rtu {

namespace {

std::vector<std::uint32_t> parseValues(const TagRow &row, Access access)
{
    std::vector<std::uint32_t> values;
    std::istringstream in(row.values);
    std::string word;
    while (in >> word)
        values.push_back(parseValue(word, row.tag.format));
    if (values.empty() && access == Access::Write)
        throw std::invalid_argument(row.tag.label() + " has no values to write");
    if (!values.empty() && values.size() != static_cast<std::size_t>(row.tag.values))
        throw std::invalid_argument(row.tag.label() + " has " + std::to_string(values.size()) + " values, its count is "
                                    + std::to_string(row.tag.values));
    return values;
}

void refuseUnfit(const TagRange &tag, Access access)
{
    if (tag.type.isBit())
        throw std::invalid_argument(tag.label() + ": recipes hold registers, not bits");
    if (tag.station == 0)
        throw std::invalid_argument(tag.label() + ": a recipe needs a station from 1 to 255");
    if (access == Access::Write && !tag.type.writable)
        throw std::invalid_argument(tag.label() + ": " + tag.type.name + " is read-only");
}

} // namespace

Recipe readRecipe(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in, const std::string &source,
                  Access access)
{
    Recipe recipe;
    std::string faults;
    for (const TagRow &row : readTagRows(driver, catalog, in, source)) {
        try {
            refuseUnfit(row.tag, access);
            recipe.values.push_back(parseValues(row, access));
        } catch (const std::invalid_argument &error) {
            faults += (faults.empty() ? "" : "\n") + row.place + ": " + error.what();
        }
        recipe.tags.push_back(row.tag);
    }
    if (!faults.empty())
        throw std::invalid_argument(faults);
    if (recipe.tags.empty())
        throw std::invalid_argument(source + ": the recipe has no registers");
    return recipe;
}

Recipe readRecipeFile(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &path, Access access)
{
    std::ifstream in = openTable(path, "recipe file");
    return readRecipe(driver, catalog, in, path, access);
}

void refuseUnfit(const Recipe &recipe, Access access)
{
    for (const TagRange &tag : recipe.tags)
        refuseUnfit(tag, access);
}

std::string valuesText(const TagRange &tag, const std::vector<std::uint32_t> &raw)
{
    std::string text;
    for (std::uint32_t value : raw)
        text += (text.empty() ? "" : " ") + storedText(value, tag.format);
    return text;
}

void writeRecipe(std::ostream &out, const Recipe &recipe)
{
    out << "name,station,type,address,count,format,scale,unit,values\n";
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        const TagRange &tag = recipe.tags[i];
        out << csvField(tag.name) << ',' << tag.station << ',' << tag.type.name << ','
            << addressText(tag.type, tag.address) << ',' << tag.values << ','
            << formatName(tag.format.format, tag.format.width) << ',' << shortest(tag.format.scale) << ','
            << csvField(tag.unit) << ',' << valuesText(tag, recipe.values[i]) << '\n';
    }
}

namespace {

bool writeTo(const std::string &path, const Recipe &recipe)
{
    std::ofstream out(path);
    writeRecipe(out, recipe);
    out.close();
    return !out.fail();
}

/** A recipe that was whole stays so until the new one is. */
bool replaceBy(const std::string &path, const Recipe &recipe)
{
    const std::string draft = path + ".new";
    if (writeTo(draft, recipe) && std::rename(draft.c_str(), path.c_str()) == 0)
        return true;
    std::remove(draft.c_str());
    return false;
}

} // namespace

void writeRecipeFile(const std::string &path, const Recipe &recipe)
{
    const std::string replaceable = replaceablePath(path);
    if (!(replaceable.empty() ? writeTo(path, recipe) : replaceBy(replaceable, recipe)))
        throw std::runtime_error("cannot write the recipe file " + path);
}

std::vector<RecipeRow> recipeRows(const Recipe &recipe, const DriverProperty &property)
{
    std::vector<RecipeRow> rows;
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        RecipeRow row;
        row.where = definitionOf(recipe.tags[i]);
        row.where.wordOrder = property.swaps(recipe.tags[i].station) ? WordOrder::LowFirst : WordOrder::HighFirst;
        if (i < recipe.values.size())
            row.numbers = numbersOf(recipe.values[i]);
        rows.push_back(row);
    }
    return rows;
}

void takeValues(const TransferResult &result, Recipe &recipe)
{
    recipe.values.clear();
    for (const RowResult &row : result.rows)
        recipe.values.push_back(row.value.raw());
}

} // namespace rtu
