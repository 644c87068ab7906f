#include "recipe.h"

#include "tag_table.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace rtu {

namespace {

const int BufferWords = 65536;

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

void refuseTooLong(const Recipe &recipe)
{
    int words = 0;
    for (const TagRange &tag : recipe.tags) {
        words += tag.count();
        if (words > BufferWords)
            throw std::invalid_argument("the recipe has more than the " + std::to_string(BufferWords)
                                        + " registers that there is room for");
    }
}

/** The driver wants each 32-bit value in a row of its own; registers go in rows of up to a whole request. */
int valuesPerRow(const TagRange &tag, int maxWords)
{
    return tag.type.isDouble() ? 1 : std::max(1, maxWords);
}

_RCP_VAR_PRO rowOf(const TagRange &tag, int firstValue, int values, int linkId, int hostOffset)
{
    _RCP_VAR_PRO row = _RCP_VAR_PRO();
    row.userData = linkId;
    row.station = tag.station;
    row.regType = tag.qtType();
    row.startAddr = tag.addressOf(firstValue);
    row.count = values * tag.type.unitsPerValue();
    row.hostOffset = hostOffset;
    return row;
}

} // namespace

Recipe readRecipe(DriverLibrary &driver, const RegisterCatalog &catalog, std::istream &in, const std::string &source,
                  Access access)
{
    Recipe recipe;
    for (const TagRow &row : readTagRows(driver, catalog, in, source)) {
        try {
            refuseUnfit(row.tag, access);
            recipe.values.push_back(parseValues(row, access));
        } catch (const std::invalid_argument &error) {
            throw std::invalid_argument(row.place + ": " + error.what());
        }
        recipe.tags.push_back(row.tag);
    }
    if (recipe.tags.empty())
        throw std::invalid_argument(source + ": the recipe has no registers");
    refuseTooLong(recipe);
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
    refuseTooLong(recipe);
}

void writeRecipe(std::ostream &out, const Recipe &recipe)
{
    out << "name,station,type,address,count,format,scale,unit,values\n";
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        const TagRange &tag = recipe.tags[i];
        char scale[32];
        std::snprintf(scale, sizeof(scale), "%.15g", tag.format.scale);
        out << csvField(tag.name) << ',' << tag.station << ',' << tag.type.name << ','
            << addressText(tag.type, tag.address) << ',' << tag.values << ','
            << formatName(tag.format.format, tag.format.width) << ',' << scale << ',' << csvField(tag.unit) << ',';
        for (std::size_t k = 0; k < recipe.values[i].size(); ++k)
            out << (k ? " " : "") << valueText(recipe.values[i][k], tag.format);
        out << '\n';
    }
}

void writeRecipeFile(const std::string &path, const Recipe &recipe)
{
    const std::string draft = path + ".new";
    std::ofstream out(draft);
    writeRecipe(out, recipe);
    out.close();
    if (!out || std::rename(draft.c_str(), path.c_str()) != 0) {
        std::remove(draft.c_str());
        throw std::runtime_error("cannot write the recipe file " + path);
    }
}

QVector<_RCP_VAR_PRO> recipeRows(const std::vector<TagRange> &tags, const DriverProperty &property)
{
    QVector<_RCP_VAR_PRO> rows;
    int offset = 0;
    for (const TagRange &tag : tags) {
        const int most = valuesPerRow(tag, property.maxWords);
        for (int first = 0; first < tag.values; first += most) {
            rows << rowOf(tag, first, std::min(most, tag.values - first), property.linkId, offset);
            offset += rows.last().count;
        }
    }
    return rows;
}

void fillWords(const Recipe &recipe, std::vector<unsigned short> &words)
{
    std::size_t offset = 0;
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        for (std::uint32_t raw : recipe.values[i]) {
            words[offset++] = static_cast<unsigned short>(raw & 0xFFFF);
            if (recipe.tags[i].type.isDouble())
                words[offset++] = static_cast<unsigned short>(raw >> 16);
        }
    }
}

void takeWords(const std::vector<unsigned short> &words, Recipe &recipe)
{
    std::size_t offset = 0;
    recipe.values.assign(recipe.tags.size(), std::vector<std::uint32_t>());
    for (std::size_t i = 0; i < recipe.tags.size(); ++i) {
        const TagRange &tag = recipe.tags[i];
        for (int k = 0; k < tag.values; ++k) {
            std::uint32_t raw = words[offset++];
            if (tag.type.isDouble())
                raw |= static_cast<std::uint32_t>(words[offset++]) << 16;
            recipe.values[i].push_back(raw);
        }
    }
}

} // namespace rtu
